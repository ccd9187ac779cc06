#include "files/date_time.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

namespace {

constexpr char const* kZones[] = {"UTC0", "Europe/Berlin", "Asia/Kolkata", "America/St_Johns"};

// The process's time zone for one scope.
class Zone {
public:
    explicit Zone(char const* szZone) { Set(szZone); }
    ~Zone() { Set("UTC0"); }

private:
    static void Set(char const* szZone) {
        setenv("TZ", szZone, 1);
        tzset();
    }
};

class Order {
public:
    explicit Order(int nOrder) { LDateTime::nCachedDateFormatOrder = nOrder; }
    ~Order() { LDateTime::nCachedDateFormatOrder = -1; }
};

std::string Format(char const* szFormat, long nSeconds, bool bUTC = false) {
    std::tm oFields;
    bUTC ? gmtime_r(&nSeconds, &oFields) : localtime_r(&nSeconds, &oFields);
    char szText[64];
    return {szText, std::strftime(szText, sizeof szText, szFormat, &oFields)};
}

std::string Text(LDateTime oTime, void (LDateTime::*Get)(char*) const noexcept) {
    char szText[32] = "left over";
    (oTime.*Get)(szText);
    return szText;
}

std::string LocalText(long nSeconds) {
    return Text(LDateTime(nSeconds), &LDateTime::GetDateTime);
}

long FromText(char const* szDate, char const* szTime) {
    long nSeconds = 77;
    LDateTime::SetDateTime(nSeconds, szDate, szTime);
    return nSeconds;
}

constexpr long kDay = 86400;

} // namespace

TEST(DateTime, ReadsAndWritesFrom1901To2999AsTheCLibraryDoesInEveryZone) {
    for (char const* const szZone : kZones) {
        Zone oZone(szZone);
        for (long nSeconds = -2'177'000'000; nSeconds < 32'500'000'000; nSeconds += 11 * kDay + 7) {
            LDateTime const oTime(nSeconds);
            ASSERT_EQ(LocalText(nSeconds), Format("%Y-%m-%d %H:%M:%S", nSeconds)) << szZone;
            ASSERT_EQ(Text(oTime, &LDateTime::GetDateTimeUTC), Format("%Y-%m-%d %H:%M:%S", nSeconds, true));
            ASSERT_EQ(oTime.GetWeekDay(), 1U << std::stoi(Format("%w", nSeconds)));
            char szDate[32], szTime[32];
            LDateTime::GetDateTime(nSeconds, szDate, szTime);
            ASSERT_EQ(LocalText(FromText(szDate, szTime)), LocalText(nSeconds)); // twice a year an hour has two names
            LDateTime oMidnight = oTime;
            oMidnight._SetTextTime("0");
            oMidnight.SetDayTime(oTime.GetDayTime());
            ASSERT_EQ(LocalText(oMidnight.nTime), LocalText(nSeconds)) << szZone;
        }
    }
}

TEST(DateTime, WritesEachForm) {
    Zone oZone("Asia/Kolkata");
    LDateTime const oTime(1704454509); // 2024-01-05 17:05:09 there, 11:35:09 UTC
    EXPECT_EQ(Text(oTime, &LDateTime::GetDateTimeInLocalFormat), "2024-01-05 17:05:09");
    EXPECT_EQ(Text(oTime, &LDateTime::GetDateInLocalFormat), "2024-01-05");
    EXPECT_EQ(Text(oTime, &LDateTime::GetTimeInLocalFormat), "17:05:09");
    EXPECT_EQ(Text(oTime, &LDateTime::_GetTextTime), "17:05:09");
    EXPECT_EQ(Text(oTime, &LDateTime::GetDateYYYYHMM), "2024-01");
    EXPECT_EQ(Text(oTime, &LDateTime::GetDateYYYYHMMHDDTimeHHCMM), "2024-01-05 17:05");
    EXPECT_EQ(Text(oTime, &LDateTime::GetDateUTC), "2024-01-05");
    char szDate[32], szTime[32];
    LDateTime::GetDateYYYYHMMHDDTimeHHCMM(oTime.nTime, szDate, szTime);
    EXPECT_STREQ(szDate, "2024-01-05");
    EXPECT_STREQ(szTime, "17:05");
    LDateTime::GetTimeHHHMMHSS(oTime.nTime, szTime);
    EXPECT_STREQ(szTime, "17-05-09");
    char const* const kShort[] = {"01/05/24", "05/01/24", "24/01/05"};
    for (int nOrder = 0; nOrder < 3; ++nOrder) {
        Order oOrder(nOrder);
        EXPECT_EQ(Text(oTime, &LDateTime::GetDateLocalFormat), kShort[nOrder]);
    }
}

TEST(DateTime, WritesNothingForNoTimeAndForOnePastAnyCalendar) {
    for (long const nSeconds : {0L, LONG_MAX, LONG_MIN, INT_MAX * 366L * kDay}) {
        char szDate[32] = "x", szTime[32] = "x";
        LDateTime::GetDateTime(nSeconds, szDate, szTime);
        EXPECT_STREQ(szDate, "");
        EXPECT_STREQ(szTime, "");
        for (auto const Get : {&LDateTime::GetDateInLocalFormat, &LDateTime::GetDateUTC, &LDateTime::GetDateLocalFormat,
                               &LDateTime::GetDateYYYYHMM, &LDateTime::GetDateYYYYHMMHDDTimeHHCMM})
            EXPECT_EQ(Text(LDateTime(nSeconds), Get), "") << nSeconds;
    }
}

TEST(DateTime, ReadsTextsAsFarAsTheyGo) {
    Zone oZone("Europe/Berlin");
    struct {
        char const *szDate, *szTime, *szResult;
    } const kRows[] = {
        {"24-1-5", "", "2024-01-05 00:00:00"},
        {"99-1-5", "", "1999-01-05 00:00:00"},
        {"150-1-5", "", "2050-01-05 00:00:00"},
        {"69-1-5", "", "2069-01-05 00:00:00"},
        {"70-1-5", "", "1970-01-05 00:00:00"},
        {"1900-1-5", "", "1900-01-05 00:00:00"},
        {"2024", "", "2024-01-01 00:00:00"},
        {"2024-02", "7", "2024-02-01 07:00:00"},
        {"2024-02-30", "25:61:61", "2024-03-02 02:02:01"},
        {" 2024- 2-\t3x", " 1: 2: 3", "2024-02-03 01:02:03"},
        {"x", "y", "2000-01-01 00:00:00"},
        {"2024/02/03", "1.2", "2024-01-01 01:00:00"},
        {"2024--1-3", "", "2023-11-03 00:00:00"},
        {"2024-02-03", nullptr, "2024-02-03 00:00:00"},
    };
    for (auto const& oRow : kRows)
        EXPECT_EQ(LocalText(FromText(oRow.szDate, oRow.szTime)), oRow.szResult) << oRow.szDate;
    EXPECT_EQ(FromText("", "12:00:00"), 0);
    EXPECT_EQ(FromText("99999999999-99999999999-1", ""), 77) << "a time that there is not leaves the old one";
}

TEST(DateTime, IsNoonWhereNoTimeIsGiven) {
    Zone oZone("Europe/Berlin");
    long nSeconds = 0;
    LDateTime::SetDateTimeNoon(nSeconds, "2024-02-29");
    EXPECT_EQ(LocalText(nSeconds), "2024-02-29 12:00:00");
    LDateTime::SetDateYYYYHMMHDDTimeHHCMMCSS(nSeconds, "2024-02-28");
    EXPECT_EQ(LocalText(nSeconds), "2024-02-28 12:00:00");
    LDateTime::SetDateYYYYHMMHDDTimeHHCMMCSS(nSeconds, "2024-02-28 3:4");
    EXPECT_EQ(LocalText(nSeconds), "2024-02-28 03:04:00");
    LDateTime oTime;
    oTime.SetDateTimeUTC("2024-01-01");
    EXPECT_EQ(oTime.nTime, 1704110400);
    EXPECT_EQ(oTime.SetDateTimeUTC(2024, 1, 1, 0, 0, 1), 1704067201);
    LDateTime::SetDateYYYYHMMHDDTimeHHCMMCSS(nSeconds, nullptr);
    EXPECT_EQ(nSeconds, 0);
}

TEST(DateTime, ReadsAShortDateInTheOrderOfTheLocale) {
    struct {
        int nOrder;
        char const *szText, *szDate;
    } const kRows[] = {
        {0, "05/01/24", "2024-05-01"},  {1, "05/01/24", "2024-01-05"}, {2, "24/05/01", "2024-05-01"},
        {1, "5.1.2024", "2024-01-05"},  {0, "5\\1:99", "1999-05-01"},  {2, "2024-05-01", "2023-12-01"},
        {2, "2024/5-01", "2024-05-01"}, {2, "/5", "2000-05-01"},       {0, "1/2/3/4/5", "2003-01-02"},
        {0, "a1b2/3", "2000-12-03"},    {0, "-", "1999-12-01"},        {2, "2024", "2023-12-01"},
    };
    for (auto const& oRow : kRows) {
        Order oOrder(oRow.nOrder);
        LDateTime oTime;
        oTime._SetTextDate(oRow.szText);
        EXPECT_EQ(LocalText(oTime.nTime), std::string(oRow.szDate) + " 00:00:00") << oRow.szText;
    }
    Order oOrder(0);
    for (char const* szText : {"", "abc", "  "}) {
        LDateTime oTime(5);
        oTime._SetTextDate(szText);
        EXPECT_EQ(oTime.nTime, 0) << szText;
    }
}

TEST(DateTime, SetsTheTimeOfDayAndKeepsTheDate) {
    Zone oZone("Europe/Berlin");
    struct {
        char const *szText, *szResult;
    } const kRows[] = {{"7:08:09", "07:08:09"}, {"7", "07:00:00"}, {":x5 :6:7", "00:05:06"}, {"", "00:00:00"}};
    for (auto const& oRow : kRows) {
        LDateTime oTime(1720000000);
        oTime._SetTextTime(oRow.szText);
        EXPECT_EQ(LocalText(oTime.nTime), std::string("2024-07-03 ") + oRow.szResult) << oRow.szText;
    }
    LDateTime oTime;
    oTime._SetTextTime("7:08:09");
    EXPECT_EQ(oTime.nTime, 0);
    EXPECT_NE(oTime.SetDayTime(3 * 3600 + 62), -1); // today
    EXPECT_EQ(oTime.GetDayTime(), 3 * 3600 + 62);
    oTime.nTime = 1720000000;
    EXPECT_EQ(oTime.SetDayTime(86399), oTime.nTime);
    EXPECT_EQ(LocalText(oTime.nTime), "2024-07-03 23:59:59");
}

TEST(DateTime, FindsTheOrderInALocalesFormat) {
    struct {
        char const* szFormat;
        int nOrder;
    } const kRows[] = {
        {"%m/%d/%y", 0}, {"%d.%m.%Y", 1}, {"%Y-%m-%d", 2}, {"%D", 0},       {"%d %b %Y", 1}, {"%e. %B %y", 1},
        {"%b %e %Y", 0}, {"%h %d %Y", 0}, {"%y%d%m", 2},   {"%Y/%d", 0},    {"", 1},         {"%m-%Y", 1},
        {"%F", 1},       {"%d%Y%m", 1},   {"%m%Y%d", 0},   {"%B %m %d", 2},
    };
    for (auto const& oRow : kRows)
        EXPECT_EQ(LDateTime::DateOrderOfFormat(oRow.szFormat), oRow.nOrder) << oRow.szFormat;
    std::thread oOther([] { LDateTime::DateFormatOrder(); });
    EXPECT_EQ(LDateTime::DateFormatOrder(), kDateOrderMDY); // the C locale's
    oOther.join();
}

TEST(DateTime, ValidatesFieldsAndTexts) {
    struct {
        char const* szText;
        bool bDate, bDateTime;
    } const kRows[] = {
        {"", true, false},
        {"2023-02-29", false, false},
        {"2024-02-29", true, false},
        {"3000-01-01", false, false},
        {"2999-12-31 0:0:0", true, true},
        {"1969-12-31 0:0:0", false, false},
        {"2024-01-01 23:59:59", true, true},
        {"2024-01-01 24:00:00", true, false},
        {"2024-01-01 1:2", true, false},
        {"2024-01-01 1:2:60", true, false},
        {"2024-01-01 1:-2:3", true, false},
        {"2024-13-01", false, false},
        {"4294969320-01-01", false, false},
    };
    for (auto const& oRow : kRows) {
        EXPECT_EQ(LDateTime::ValidateDateYYYYHMMHDD(oRow.szText), oRow.bDate) << oRow.szText;
        EXPECT_EQ(LDateTime::ValidateDateTimeYYYYHMMHDDHHCMMCSS(oRow.szText), oRow.bDateTime) << oRow.szText;
    }
    EXPECT_FALSE(LDateTime::ValidateDateTimeYYYYHMMHDDHHCMMCSS(nullptr));
    EXPECT_TRUE(LDateTime::IsTimeValid(12, 0, 0, true));
    EXPECT_FALSE(LDateTime::IsTimeValid(13, 0, 0, true));
    EXPECT_TRUE(LDateTime::IsTimeValid(23, 59, 59, false));
    EXPECT_FALSE(LDateTime::IsTimeValid(-1, 0, 0, false));
    EXPECT_EQ(LDateTime::GetNumberOfDaysInMonth(1900, 2), 28);
    EXPECT_EQ(LDateTime::GetNumberOfDaysInMonth(2000, 2), 29);
    EXPECT_EQ(LDateTime::GetNumberOfDaysInMonth(2024, 13), 0);
}

TEST(DateTime, MovesByMonthsToTheLastDayAtTheLatest) {
    Zone oZone("Europe/Berlin");
    struct {
        char const* szFrom;
        int nMonths;
        char const* szTo;
    } const kRows[] = {
        {"2024-01-31 10:11:12", 1, "2024-02-29 10:11:12"},  {"2024-01-15 1:2:3", -1, "2023-12-15 01:02:03"},
        {"2024-01-15 0:0:0", -13, "2022-12-15 00:00:00"},   {"2024-05-31 0:0:0", -12, "2023-05-31 00:00:00"},
        {"2024-12-31 0:0:0", 2, "2025-02-28 00:00:00"},     {"2024-12-01 0:0:0", 0, "2024-12-01 00:00:00"},
        {"2024-01-01 0:0:0", 11999, "3023-12-01 00:00:00"}, {"2024-12-01 0:0:0", 12, "2025-12-01 00:00:00"},
    };
    for (auto const& oRow : kRows) {
        LDateTime oTime;
        LDateTime::SetDateYYYYHMMHDDTimeHHCMMCSS(oTime.nTime, oRow.szFrom);
        EXPECT_EQ(LocalText(oTime.AdjustByMonths(oRow.nMonths).nTime), oRow.szTo) << oRow.szFrom;
    }
    EXPECT_EQ(LDateTime(LONG_MAX).AdjustByMonths(1).nTime, -1);
    for (int const nMonths : {INT_MAX, INT_MIN})
        LDateTime(1720000000).AdjustByMonths(nMonths); // any answer will do that is no overflow
}

TEST(DateTime, SchedulesByDateIntervalAndDay) {
    constexpr LDayTime kHour = 3600;
    struct {
        long nNow;
        LDayTime nNowTime;
        LWeekDay nNowDay;
        long nStart, nEnd;
        LDayTime nStartTime, nEndTime;
        LWeekDay nDays;
        bool bRuns;
    } const kRows[] = {
        {100, 22 * kHour, 2, 0, 0, 22 * kHour, 6 * kHour, 2, true},
        {100, 5 * kHour, 2, 0, 0, 22 * kHour, 6 * kHour, 2, true},
        {100, 6 * kHour, 2, 0, 0, 22 * kHour, 6 * kHour, 2, false},
        {100, 12 * kHour, 2, 0, 0, 22 * kHour, 6 * kHour, 2, false},
        {100, 8 * kHour, 2, 0, 0, 8 * kHour, 9 * kHour, 2, true},
        {100, 9 * kHour, 2, 0, 0, 8 * kHour, 9 * kHour, 2, false},
        {100, 8 * kHour, 2, 0, 0, 8 * kHour, 8 * kHour, 2, false},
        {100, 5, 1, 0, 0, 0, 10, 2 | 32, false},
        {100, 5, 32, 0, 0, 0, 10, 2 | 32, true},
        {100, 5, 0x100, 0, 0, 0, 10, 0x1FF, false},
        {100, 5, 2, 101, 0, 0, 10, 2, false},
        {100, 5, 2, 100, 0, 0, 10, 2, true},
        {100, 5, 2, 0, 100, 0, 10, 2, false},
        {100, 5, 2, 0, 101, 0, 10, 2, true},
        {100, 5, 2, 0, -5, 0, 10, 2, true},
    };
    for (auto const& o : kRows)
        EXPECT_EQ(LDateTime::TestScheduleDetails(LDateTime(o.nNow), o.nNowTime, o.nNowDay, LDateTime(o.nStart),
                                                 LDateTime(o.nEnd), o.nStartTime, o.nEndTime, o.nDays),
                  o.bRuns)
            << "row " << &o - kRows;
}

TEST(DateTime, KnowsTheDayOfTheBuild) {
    Zone oZone("Asia/Kolkata");
    EXPECT_EQ(LocalText(LDateTime::GetDateOfBuildText("Feb  5 2024").nTime), "2024-02-05 00:00:00");
    EXPECT_EQ(LocalText(LDateTime::GetDateOfBuildText("Dec 31 2023").nTime), "2023-12-31 00:00:00");
    EXPECT_EQ(LocalText(LDateTime::GetDateOfBuildText("??? 10 2024").nTime), "2023-12-10 00:00:00");
    EXPECT_GT(LDateTime::GetBuildDate().nTime, 1704067200);
    EXPECT_EQ(LDateTime::GetBuildDate().GetDayTime(), 0);
}
