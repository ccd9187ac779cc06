#include "files/date_time.h"

#include "base/fixed_text.h"

#include <langinfo.h>

namespace {

// Where the first of the directives found is, -1 for none.
long FindDirective(char const* szFormat, std::initializer_list<char const*> lDirectives) noexcept {
    for (char const* const szDirective : lDirectives)
        if (char const* const pFound = std::strstr(szFormat, szDirective))
            return pFound - szFormat;
    return -1;
}

// The one of two spellings that comes first, -1 for none.
long FindEitherCase(char const* szFormat, char const* szLower, char const* szUpper) noexcept {
    long const nLower = FindDirective(szFormat, {szLower});
    long const nUpper = FindDirective(szFormat, {szUpper});
    return nLower < 0 || (nUpper >= 0 && nUpper < nLower) ? nUpper : nLower;
}

} // namespace

std::int32_t LDateTime::DateOrderOfFormat(char const* szFormat) noexcept {
    if (std::strstr(szFormat, "%D"))
        return kDateOrderMDY;
    long nMonth = FindDirective(szFormat, {"%m"});
    if (nMonth < 0)
        nMonth = FindEitherCase(szFormat, "%b", "%B");
    if (nMonth < 0)
        nMonth = FindDirective(szFormat, {"%h"});
    long const nDay = FindDirective(szFormat, {"%d", "%e"});
    long const nYear = FindEitherCase(szFormat, "%y", "%Y");
    if (nYear < nMonth && nYear < nDay)
        return kDateOrderYMD;
    return nMonth < nDay ? kDateOrderMDY : kDateOrderDMY;
}

std::int32_t LDateTime::DateFormatOrder() noexcept {
    std::int32_t nOrder = nCachedDateFormatOrder.load(std::memory_order_relaxed);
    if (nOrder < 0) {
        char szFormat[kLNameSize];
        LCopyFixed(szFormat, nl_langinfo(D_FMT));
        nOrder = DateOrderOfFormat(szFormat);
        nCachedDateFormatOrder.store(nOrder, std::memory_order_relaxed);
    }
    return nOrder;
}
