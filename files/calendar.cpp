#include "files/calendar.h"

#include "files/number_fields.h"

bool LCalendar::IsYearValid(int nYear) noexcept {
    return nYear >= 1970 && nYear < 3000;
}
bool LCalendar::IsMonthValid(int nMonth) noexcept {
    return nMonth >= 1 && nMonth <= 12;
}

bool LCalendar::IsLeapYear(int nYear) noexcept {
    return nYear % 400 == 0 || (nYear % 100 != 0 && nYear % 4 == 0);
}

int LCalendar::GetNumberOfDaysInMonth(int nYear, int nMonth) noexcept {
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (!IsMonthValid(nMonth))
        return 0;
    return kDays[nMonth - 1] + (nMonth == 2 && IsLeapYear(nYear));
}

bool LCalendar::IsDateValid(int nYear, int nMonth, int nDay) noexcept {
    return IsYearValid(nYear) && IsMonthValid(nMonth) && nDay >= 1 && nDay <= GetNumberOfDaysInMonth(nYear, nMonth);
}

bool LCalendar::IsTimeValid(int nHour, int nMinute, int nSecond, bool b12Hour) noexcept {
    auto const IsBelow = [](int nValue, int nLimit) { return nValue >= 0 && nValue < nLimit; };
    return IsBelow(nMinute, 60) && IsBelow(nSecond, 60) && IsBelow(nHour, b12Hour ? 13 : 24);
}

bool LCalendar::ValidateDateYYYYHMMHDD(char const* szDate) noexcept {
    if (!szDate || !*szDate)
        return true;
    int nYear = 0, nMonth = 0, nDay = 0;
    LReadNumberFields(szDate, "--", {&nYear, &nMonth, &nDay});
    return IsDateValid(nYear, nMonth, nDay);
}

bool LCalendar::ValidateDateTimeYYYYHMMHDDHHCMMCSS(char const* szDateTime) noexcept {
    if (!szDateTime || !*szDateTime)
        return false;
    int nYear = 0, nMonth = 0, nDay = 0, nHour = -1, nMinute = -1, nSecond = -1;
    LReadNumberFields(szDateTime, "-- ::", {&nYear, &nMonth, &nDay, &nHour, &nMinute, &nSecond});
    return IsDateValid(nYear, nMonth, nDay) && IsTimeValid(nHour, nMinute, nSecond, false);
}
