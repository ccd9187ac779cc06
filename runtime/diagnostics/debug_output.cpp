#include "runtime/diagnostics/debug_output.h"

#include "base/fixed_text.h"

#include <cstdarg>
#include <cstdio>

void OutputDebugStringF(char const* szFormat, ...) noexcept {
    char szLine[512];
    std::va_list oArguments;
    va_start(oArguments, szFormat);
    int const nLength = std::vsnprintf(szLine, sizeof szLine, szFormat, oArguments);
    va_end(oArguments);
    if (nLength < 0)
        return; // a character that the locale does not have
    std::fputs(szLine, stderr);
    std::fflush(stderr);
}

void LRDFAULT(char const*) noexcept {}

void LRDFAULT(char const* szText, int nNumber) noexcept {
    LRDFAULTF("%s: %d", szText, nNumber);
}

void LRDFAULTF(char const* szFormat, ...) noexcept {
    char szDiscarded[kLNameSize];
    std::va_list oArguments;
    va_start(oArguments, szFormat);
    std::vsnprintf(szDiscarded, sizeof szDiscarded, szFormat, oArguments);
    va_end(oArguments);
}
