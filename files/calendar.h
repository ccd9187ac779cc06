// The calendar's own rules, and the names of its days and months. Any thread.
#pragma once

// What LDateTime knows without a time; its base, so that all of it is reached as LDateTime::IsLeapYear and so on.
struct LCalendar {
    // The years that dates may be in are 1970 to 2999.
    static bool IsYearValid(int nYear) noexcept;
    static bool IsMonthValid(int nMonth) noexcept; // 1 to 12
    static bool IsLeapYear(int nYear) noexcept;
    static int GetNumberOfDaysInMonth(int nYear, int nMonth) noexcept; // 28 to 31; 0 for a month outside 1 to 12
    static bool IsDateValid(int nYear, int nMonth, int nDay) noexcept;
    // Hours go to 12 on the clock of twelve hours (b12Hour), else to 23.
    static bool IsTimeValid(int nHour, int nMinute, int nSecond, bool b12Hour) noexcept;

    // "YYYY-MM-DD". The empty text is valid: no date.
    static bool ValidateDateYYYYHMMHDD(char const* szDate) noexcept;
    // "YYYY-MM-DD HH:MM:SS", all of it; null and the empty text are not valid.
    static bool ValidateDateTimeYYYYHMMHDDHHCMMCSS(char const* szDateTime) noexcept;

    // Days from Sunday on, months from January on.
    static constexpr char const* szWeekDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", nullptr};
    static constexpr char const* szWeekDaysAbbreviated[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", nullptr};
    static constexpr char const* szWeekDaysLong[] = {"Sunday",   "Monday", "Tuesday",  "Wednesday",
                                                     "Thursday", "Friday", "Saturday", nullptr};
    static constexpr char const* szMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    static constexpr char const* szMonthsAbbreviated[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    static constexpr char const* szMonthsLong[] = {"January",   "February", "March",    "April",
                                                   "May",       "June",     "July",     "August",
                                                   "September", "October",  "November", "December"};
};
