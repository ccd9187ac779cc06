// Times written as text.
#include "files/date_time.h"

#include "files/broken_time.h"
#include "files/number_fields.h"

namespace {

enum class Form { Date, Time, DateTime, YearMonth, HourMinute, TimeHyphens, DateHourMinute, LocalShort };

long FullYear(std::tm const& o) noexcept {
    return o.tm_year + 1900L;
}

char* WriteThree(char* p, int nFirst, int nFirstDigits, int nSecond, int nThird, char cSeparator) noexcept {
    p = LWriteNumber(p, nFirst, nFirstDigits);
    *p++ = cSeparator;
    p = LWriteNumber(p, nSecond, 2);
    *p++ = cSeparator;
    return LWriteNumber(p, nThird, 2);
}

char* WriteYear(char* p, std::tm const& o) noexcept {
    return LWriteNumber(p, static_cast<int>(FullYear(o)), 4);
}

char* WriteDate(char* p, std::tm const& o) noexcept {
    return WriteThree(p, static_cast<int>(FullYear(o)), 4, o.tm_mon + 1, o.tm_mday, '-');
}

char* WriteTime(char* p, std::tm const& o, char cSeparator) noexcept {
    return WriteThree(p, o.tm_hour, 2, o.tm_min, o.tm_sec, cSeparator);
}

char* WriteHourMinute(char* p, std::tm const& o) noexcept {
    p = LWriteNumber(p, o.tm_hour, 2);
    *p++ = ':';
    return LWriteNumber(p, o.tm_min, 2);
}

char* WriteLocalShort(char* p, std::tm const& o) noexcept {
    int const nYear = static_cast<int>(FullYear(o) % 100);
    int const nMonth = o.tm_mon + 1;
    switch (LDateTime::DateFormatOrder()) {
    case kDateOrderYMD: return WriteThree(p, nYear, 2, nMonth, o.tm_mday, '/');
    case kDateOrderDMY: return WriteThree(p, o.tm_mday, 2, nMonth, nYear, '/');
    default: return WriteThree(p, nMonth, 2, o.tm_mday, nYear, '/');
    }
}

char* WriteForm(char* p, std::tm const& o, Form nForm) noexcept {
    switch (nForm) {
    case Form::Date: return WriteDate(p, o);
    case Form::Time: return WriteTime(p, o, ':');
    case Form::TimeHyphens: return WriteTime(p, o, '-');
    case Form::HourMinute: return WriteHourMinute(p, o);
    case Form::LocalShort: return WriteLocalShort(p, o);
    case Form::YearMonth:
        p = WriteYear(p, o);
        *p++ = '-';
        return LWriteNumber(p, o.tm_mon + 1, 2);
    case Form::DateTime:
        p = WriteDate(p, o);
        *p++ = ' ';
        return WriteTime(p, o, ':');
    case Form::DateHourMinute:
        p = WriteDate(p, o);
        *p++ = ' ';
        return WriteHourMinute(p, o);
    }
    return p;
}

void WriteFields(char* szOut, std::tm const* pFields, Form nForm) noexcept {
    *(pFields ? WriteForm(szOut, *pFields, nForm) : szOut) = '\0';
}

// Points at `oFields` filled in, null when there is nothing to write.
std::tm const* Break(long nSeconds, LZone nZone, std::tm& oFields) noexcept {
    return nSeconds != 0 && LBreakTime(nSeconds, nZone, oFields) && FullYear(oFields) <= INT32_MAX ? &oFields : nullptr;
}

void Write(long nSeconds, char* szOut, Form nForm, LZone nZone = LZone::Local) noexcept {
    std::tm oFields;
    WriteFields(szOut, Break(nSeconds, nZone, oFields), nForm);
}

void WriteTwo(long nSeconds, char* szFirst, Form nFirst, char* szSecond, Form nSecond) noexcept {
    std::tm oFields;
    std::tm const* const pFields = Break(nSeconds, LZone::Local, oFields);
    WriteFields(szFirst, pFields, nFirst);
    WriteFields(szSecond, pFields, nSecond);
}

} // namespace

void LDateTime::GetDateTime(long nSeconds, char* szDate, char* szTime) noexcept {
    WriteTwo(nSeconds, szDate, Form::Date, szTime, Form::Time);
}
void LDateTime::GetDateYYYYHMMHDD(long nSeconds, char* szDate) noexcept {
    Write(nSeconds, szDate, Form::Date);
}
void LDateTime::GetDateYYYYHMMHDDTimeHHCMM(long nSeconds, char* szDate, char* szTime) noexcept {
    WriteTwo(nSeconds, szDate, Form::Date, szTime, Form::HourMinute);
}
void LDateTime::GetTimeHHCMM(long nSeconds, char* szTime) noexcept {
    Write(nSeconds, szTime, Form::HourMinute);
}
void LDateTime::GetTimeHHHMMHSS(long nSeconds, char* szTime) noexcept {
    Write(nSeconds, szTime, Form::TimeHyphens);
}

void LDateTime::GetDateTime(char* szDateTime) const noexcept {
    Write(nTime, szDateTime, Form::DateTime);
}
void LDateTime::GetDateTimeInLocalFormat(char* szDateTime) const noexcept {
    GetDateTime(szDateTime);
}
void LDateTime::GetDateInLocalFormat(char* szDate) const noexcept {
    Write(nTime, szDate, Form::Date);
}
void LDateTime::GetTimeInLocalFormat(char* szTime) const noexcept {
    Write(nTime, szTime, Form::Time);
}
void LDateTime::_GetTextTime(char* szTime) const noexcept {
    Write(nTime, szTime, Form::Time);
}
void LDateTime::GetDateYYYYHMM(char* szDate) const noexcept {
    Write(nTime, szDate, Form::YearMonth);
}
void LDateTime::GetDateYYYYHMMHDDTimeHHCMM(char* szDateTime) const noexcept {
    Write(nTime, szDateTime, Form::DateHourMinute);
}
void LDateTime::GetDateLocalFormat(char* szDate) const noexcept {
    Write(nTime, szDate, Form::LocalShort);
}

void LDateTime::GetDateTimeUTC(char* szDateTime) const noexcept {
    Write(nTime, szDateTime, Form::DateTime, LZone::UTC);
}
void LDateTime::GetDateUTC(char* szDate) const noexcept {
    Write(nTime, szDate, Form::Date, LZone::UTC);
}
void LDateTime::GetDateTimeNowUTC(char* szDateTime) noexcept {
    LDateTime(std::time(nullptr)).GetDateTimeUTC(szDateTime);
}
void LDateTime::GetDateNowUTC(char* szDate) noexcept {
    LDateTime(std::time(nullptr)).GetDateUTC(szDate);
}
