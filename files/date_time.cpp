// What a time says of its day, and times moved and scheduled.
#include "files/date_time.h"

#include "files/broken_time.h"
#include "files/calendar.h"

#include <algorithm>

LDayTime LDateTime::GetDayTime() const noexcept {
    std::tm oFields;
    if (nTime == 0 || !LBreakTime(nTime, LZone::Local, oFields))
        return 0;
    return oFields.tm_hour * 3600 + oFields.tm_min * 60 + oFields.tm_sec;
}

LWeekDay LDateTime::GetWeekDay() const noexcept {
    std::tm oFields;
    return LBreakTime(nTime, LZone::Local, oFields) ? LWeekDay{1} << oFields.tm_wday : 0;
}

LDateTime LDateTime::AdjustByMonths(int nMonths) const noexcept {
    std::tm oFields;
    if (!LBreakTime(nTime, LZone::Local, oFields))
        return LDateTime(-1);
    long nYear = oFields.tm_year + 1900L;
    long nMonth = oFields.tm_mon + 1L + nMonths;
    if (nMonth > 12) {
        nYear += (oFields.tm_mon + static_cast<long>(nMonths)) / 12;
        nMonth = (oFields.tm_mon + static_cast<long>(nMonths)) % 12 + 1;
    } else if (nMonth < 1) {
        nYear -= -nMonth / 12 + 1;
        nMonth = 12 - -nMonth % 12;
    }
    if (nYear != static_cast<int>(nYear))
        return LDateTime(-1);
    int const nLastDay = GetNumberOfDaysInMonth(static_cast<int>(nYear), static_cast<int>(nMonth));
    long nIgnored = 0;
    return LDateTime(SetDateTime(nIgnored, static_cast<int>(nYear), static_cast<int>(nMonth),
                                 std::min(oFields.tm_mday, nLastDay), oFields.tm_hour, oFields.tm_min, oFields.tm_sec));
}

bool LDateTime::TestScheduleDetails(LDateTime oNow, LDayTime nNowTime, LWeekDay nNowDay, LDateTime oStart,
                                    LDateTime oEnd, LDayTime nStartTime, LDayTime nEndTime, LWeekDay nDays) noexcept {
    if (oStart.nTime > oNow.nTime || (oEnd.nTime >= 1 && oEnd.nTime <= oNow.nTime))
        return false;
    bool const bOverMidnight = nStartTime > nEndTime;
    bool const bStarted = nStartTime <= nNowTime;
    bool const bEnded = nEndTime <= nNowTime;
    if (bOverMidnight ? !bStarted && bEnded : !bStarted || bEnded)
        return false;
    return (nDays & nNowDay & 0xFF) != 0;
}
