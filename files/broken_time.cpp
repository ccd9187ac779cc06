#include "files/broken_time.h"

#include <climits>

bool LBreakTime(long nSeconds, LZone nZone, std::tm& oFields) noexcept {
    std::time_t const nTime = nSeconds;
    return (nZone == LZone::UTC ? gmtime_r(&nTime, &oFields) : localtime_r(&nTime, &oFields)) != nullptr;
}

long LStoreTime(long& nSeconds, std::tm& oFields, LZone nZone) noexcept {
    oFields.tm_isdst = -1;
    long const nResult = nZone == LZone::UTC ? timegm(&oFields) : std::mktime(&oFields);
    if (nResult != -1)
        nSeconds = nResult;
    return nResult;
}

std::tm LMakeFields(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond) noexcept {
    std::tm oFields{};
    oFields.tm_year = nYear < 70 ? nYear + 100 : nYear >= 1900 ? nYear - 1900 : nYear;
    oFields.tm_mon = nMonth == INT_MIN ? INT_MIN : nMonth - 1;
    oFields.tm_mday = nDay;
    oFields.tm_hour = nHour;
    oFields.tm_min = nMinute;
    oFields.tm_sec = nSecond;
    return oFields;
}
