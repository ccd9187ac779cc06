// One report of a crash, read.
#pragma once

#include "base/fixed_text.h"

#include <array>
#include <optional>

// Year, month, day, hour, minute, second, in the time of wherever the report was written. Later dates compare greater.
using LCrashReportDate = std::array<int, 6>;

// What a report has to name as the program that crashed.
struct LCrashReportProgram {
    char szBundleName[kLNameSize]; // the bundle's folder
    char szExecutable[kLNameSize]; // the whole path
};

// Whether the report is of this product, this version of it and this program, and has a date. The date is stored in
// any case in which it is found before that is known. A report that can't be opened, locked within a second, or read,
// or that is no regular file, is none. Any thread.
bool LReadCrashReport(char const* szPath, LCrashReportProgram const& oProgram,
                      std::optional<LCrashReportDate>& oDate) noexcept;
