// Calendar time: its text forms, its fields, and schedules.
#pragma once

#include "files/calendar.h"

#include <atomic>
#include <cstdint>

// Seconds since local midnight.
using LDayTime = std::int32_t;

// A set of week days, bit n for day n, Sunday being day 0: Sunday 1, Monday 2 ... Saturday 64.
using LWeekDay = std::uint32_t;

// The order of day, month and year.
enum LDateOrder : std::int32_t { kDateOrderMDY = 0, kDateOrderDMY = 1, kDateOrderYMD = 2 };

// A point in time, in whole seconds since 1970-01-01 00:00:00 UTC; 0 means that no time is set. Local times are in the
// process's time zone (the C library's: a change of TZ takes effect with tzset), daylight saving as the zone has it.
//
// Text out: into the caller's buffer, at least 32 bytes unless said otherwise; the empty text for the time 0 and for
// one whose year no int holds. Text in: a text that can't be read is no error, the fields not found keep their start
// values; a null or empty text stores 0. A year below 70 is 2000 + year, one from 70 to 1899 is 1900 + year. A time
// that the platform can't convert (-1, and therefore also the second before the epoch) leaves the stored one as it is.
//
// Any thread may use the static operations, one thread at a time an object. Nothing allocates.
class LDateTime : public LCalendar {
public:
    constexpr LDateTime() noexcept = default;
    constexpr explicit LDateTime(long nSeconds) noexcept : nTime(nSeconds) {}

    long nTime = 0;

    // ---- Text out, local time unless named UTC. Dates are "YYYY-MM-DD", times "HH:MM:SS".
    static void GetDateTime(long nSeconds, char* szDate, char* szTime) noexcept;
    static void GetDateYYYYHMMHDD(long nSeconds, char* szDate) noexcept;
    static void GetDateYYYYHMMHDDTimeHHCMM(long nSeconds, char* szDate, char* szTime) noexcept; // the time "HH:MM"
    static void GetTimeHHCMM(long nSeconds, char* szTime) noexcept;                             // "HH:MM"
    static void GetTimeHHHMMHSS(long nSeconds, char* szTime) noexcept;                          // "HH-MM-SS"
    void GetDateTime(char* szDateTime) const noexcept;                                          // "YYYY-MM-DD HH:MM:SS"
    void GetDateTimeInLocalFormat(char* szDateTime) const noexcept;                             // the same
    void GetDateInLocalFormat(char* szDate) const noexcept;
    void GetTimeInLocalFormat(char* szTime) const noexcept;
    void _GetTextTime(char* szTime) const noexcept;                   // the same
    void GetDateYYYYHMM(char* szDate) const noexcept;                 // "YYYY-MM"
    void GetDateYYYYHMMHDDTimeHHCMM(char* szDateTime) const noexcept; // "YYYY-MM-DD HH:MM"
    // The day, the month and the last two digits of the year with slashes, in the order of the user's locale.
    void GetDateLocalFormat(char* szDate) const noexcept;
    void GetDateTimeUTC(char* szDateTime) const noexcept;
    void GetDateUTC(char* szDate) const noexcept;
    static void GetDateTimeNowUTC(char* szDateTime) noexcept;
    static void GetDateNowUTC(char* szDate) noexcept;

    // ---- Text in. Without a time: midnight for SetDateTime, noon for all others.
    static void SetDateTime(long& nSeconds, char const* szDate, char const* szTime) noexcept;
    static void SetDateTimeNoon(long& nSeconds, char const* szDate) noexcept;
    static void SetDateYYYYHMMHDDTimeHHCMMCSS(long& nSeconds, char const* szDateTime) noexcept;
    static void SetDateTimeUTC(long& nSeconds, char const* szDateTime) noexcept;
    void SetDateTimeUTC(char const* szDateTime) noexcept { SetDateTimeUTC(nTime, szDateTime); }
    // Numbers in the order of the user's locale, separated by ".", "/", ":" or "\"; a "-" ends the reading. Local
    // midnight. A text without number and separator stores 0.
    void _SetTextDate(char const* szDate) noexcept;
    // Hours, minutes and seconds separated by colons, on the same day. Nothing when no time is set.
    void _SetTextTime(char const* szTime) noexcept;

    // ---- Fields in: month and day from 1, any value carries over into the next field. All return the new time, or -1
    // when there is no such time.
    static long SetDateTime(long& nSeconds, int nYear, int nMonth, int nDay, int nHour, int nMinute,
                            int nSecond) noexcept;
    static long SetDateTimeUTC(long& nSeconds, int nYear, int nMonth, int nDay, int nHour, int nMinute,
                               int nSecond) noexcept;
    long SetDateTimeUTC(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond) noexcept {
        return SetDateTimeUTC(nTime, nYear, nMonth, nDay, nHour, nMinute, nSecond);
    }
    // The time of day on the same local day, today when no time is set.
    long SetDayTime(LDayTime nDayTime) noexcept;

    // ---- Calendar, local.
    LDayTime GetDayTime() const noexcept; // 0 when no time is set
    LWeekDay GetWeekDay() const noexcept; // one bit
    // The same day and time of day so many months later or, negative, earlier; the month's last day where it has no
    // such day. -1 as the time when there is none.
    LDateTime AdjustByMonths(int nMonths) const noexcept;

    // Whether a schedule runs now: from start until before end (no end: 0 or less), in the interval of the day from
    // startTime until before endTime (over midnight when that is the earlier one), on the given week days.
    static bool TestScheduleDetails(LDateTime oNow, LDayTime nNowTime, LWeekDay nNowDay, LDateTime oStart,
                                    LDateTime oEnd, LDayTime nStartTime, LDayTime nEndTime, LWeekDay nDays) noexcept;

    // Local midnight of the day on which this file was compiled.
    static LDateTime GetBuildDate() noexcept;
    // The same of a day as the compiler writes it: "Jan  5 2024". A month that is none counts as the one before
    // January.
    static LDateTime GetDateOfBuildText(char const* szMonthDayYear) noexcept;

    // ---- The user's locale.
    // The order of a short date, looked up once in a process.
    static std::int32_t DateFormatOrder() noexcept;
    // The order in a date format of strftime; a field that it lacks lies before every other.
    static std::int32_t DateOrderOfFormat(char const* szFormat) noexcept;
    // What DateFormatOrder found, -1 before its first call. Two threads that look it up at once store the same.
    static inline constinit std::atomic<std::int32_t> nCachedDateFormatOrder{-1};
};
