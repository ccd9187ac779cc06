// Times read from text and set from fields.
#include "files/date_time.h"

#include "files/broken_time.h"
#include "files/calendar.h"
#include "files/number_fields.h"

#include <cstring>
#include <iterator>

namespace {

struct Fields {
    int nYear = 0, nMonth = 1, nDay = 1, nHour = 0, nMinute = 0, nSecond = 0;

    long Store(long& nSeconds, LZone nZone) const noexcept {
        std::tm oFields = LMakeFields(nYear, nMonth, nDay, nHour, nMinute, nSecond);
        return LStoreTime(nSeconds, oFields, nZone);
    }
};

bool IsEmpty(char const* szText) noexcept {
    return !szText || !*szText;
}
bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// A date, and the time of day or else noon.
void ReadDateTime(long& nSeconds, char const* szDateTime, LZone nZone) noexcept {
    if (IsEmpty(szDateTime)) {
        nSeconds = 0;
        return;
    }
    Fields o{.nHour = 12};
    LReadNumberFields(szDateTime, "-- ::", {&o.nYear, &o.nMonth, &o.nDay, &o.nHour, &o.nMinute, &o.nSecond});
    o.Store(nSeconds, nZone);
}

// The three numbers of a short date as they stand in the text. False for a text without number and separator.
bool ReadShortDate(char const* szDate, int* const (&lFields)[3]) noexcept {
    unsigned int nState = 0; // even before a field, odd inside it; from 6 on nothing is taken
    for (; *szDate; ++szDate)
        if (*szDate == '-')
            nState = 6;
        else if (std::strchr("./:\\", *szDate))
            nState = (nState & ~1U) + 2;
        else if (IsDigit(*szDate) && nState < 6) {
            int& nField = *lFields[nState / 2];
            nField = LAppendDigit(nState & 1 ? nField : 0, *szDate);
            nState |= 1;
        }
    return nState != 0;
}

} // namespace

void LDateTime::SetDateTime(long& nSeconds, char const* szDate, char const* szTime) noexcept {
    if (IsEmpty(szDate)) {
        nSeconds = 0;
        return;
    }
    Fields o;
    LReadNumberFields(szDate, "--", {&o.nYear, &o.nMonth, &o.nDay});
    LReadNumberFields(szTime ? szTime : "", "::", {&o.nHour, &o.nMinute, &o.nSecond});
    o.Store(nSeconds, LZone::Local);
}

void LDateTime::SetDateTimeNoon(long& nSeconds, char const* szDate) noexcept {
    if (IsEmpty(szDate)) {
        nSeconds = 0;
        return;
    }
    Fields o{.nHour = 12};
    LReadNumberFields(szDate, "--", {&o.nYear, &o.nMonth, &o.nDay});
    o.Store(nSeconds, LZone::Local);
}

void LDateTime::SetDateYYYYHMMHDDTimeHHCMMCSS(long& nSeconds, char const* szDateTime) noexcept {
    ReadDateTime(nSeconds, szDateTime, LZone::Local);
}

void LDateTime::SetDateTimeUTC(long& nSeconds, char const* szDateTime) noexcept {
    ReadDateTime(nSeconds, szDateTime, LZone::UTC);
}

long LDateTime::SetDateTime(long& nSeconds, int nYear, int nMonth, int nDay, int nHour, int nMinute,
                            int nSecond) noexcept {
    return Fields{nYear, nMonth, nDay, nHour, nMinute, nSecond}.Store(nSeconds, LZone::Local);
}

long LDateTime::SetDateTimeUTC(long& nSeconds, int nYear, int nMonth, int nDay, int nHour, int nMinute,
                               int nSecond) noexcept {
    return Fields{nYear, nMonth, nDay, nHour, nMinute, nSecond}.Store(nSeconds, LZone::UTC);
}

void LDateTime::_SetTextDate(char const* szDate) noexcept {
    Fields o{.nMonth = 0};
    int* const lOrders[][3] = {
        {&o.nMonth, &o.nDay, &o.nYear}, {&o.nDay, &o.nMonth, &o.nYear}, {&o.nYear, &o.nMonth, &o.nDay}};
    if (szDate && ReadShortDate(szDate, lOrders[DateFormatOrder()]))
        o.Store(nTime, LZone::Local);
    else
        nTime = 0;
}

void LDateTime::_SetTextTime(char const* szTime) noexcept {
    std::tm oFields;
    if (nTime == 0 || !szTime || !LBreakTime(nTime, LZone::Local, oFields))
        return;
    int* const lFields[] = {&oFields.tm_hour, &oFields.tm_min, &oFields.tm_sec};
    for (int* const pField : lFields)
        *pField = 0;
    for (std::size_t nField = 0; *szTime && nField < std::size(lFields); ++szTime)
        if (*szTime == ':')
            ++nField;
        else if (IsDigit(*szTime))
            *lFields[nField] = LAppendDigit(*lFields[nField], *szTime);
    LStoreTime(nTime, oFields, LZone::Local);
}

long LDateTime::SetDayTime(LDayTime nDayTime) noexcept {
    std::tm oFields;
    if (nTime == 0)
        nTime = std::time(nullptr);
    if (!LBreakTime(nTime, LZone::Local, oFields))
        return -1;
    oFields.tm_hour = nDayTime / 3600;
    oFields.tm_min = nDayTime / 60 % 60;
    oFields.tm_sec = nDayTime % 60;
    return LStoreTime(nTime, oFields, LZone::Local);
}

LDateTime LDateTime::GetDateOfBuildText(char const* szMonthDayYear) noexcept {
    int nMonth = 0;
    for (int n = 0; n < 12; ++n)
        if (std::strncmp(szMonthDayYear, szMonths[n], 3) == 0)
            nMonth = n + 1;
    int nDay = 1, nYear = 0;
    if (std::strlen(szMonthDayYear) > 3)
        LReadNumberFields(szMonthDayYear + 3, " ", {&nDay, &nYear});
    LDateTime oDate;
    SetDateTime(oDate.nTime, nYear, nMonth, nDay, 0, 0, 0);
    return oDate;
}

LDateTime LDateTime::GetBuildDate() noexcept {
    return GetDateOfBuildText(__DATE__);
}
