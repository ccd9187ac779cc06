// Steps between the seconds of LDateTime and the C library's broken-down time, for date_*.cpp only. Any thread.
#pragma once

#include <ctime>

enum class LZone { Local, UTC };

// False when the year does not fit.
bool LBreakTime(long nSeconds, LZone nZone, std::tm& oFields) noexcept;

// Stores the time that the fields name, normalised, unless it is -1; returns it in any case. Daylight saving is the
// platform's to find.
long LStoreTime(long& nSeconds, std::tm& oFields, LZone nZone) noexcept;

// Fields as people write them: month from 1, the year by LDateTime's rule.
std::tm LMakeFields(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond) noexcept;
