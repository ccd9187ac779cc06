#include "files/wildcard.h"

#include "base/fixed_text.h"

namespace {

// ASCII only: the bytes of other characters are compared as they are.
constexpr char Lower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

char const* SkipCharacter(char const* p, char const* pEnd) noexcept {
    for (++p; p != pEnd && (*p & 0xC0) == 0x80;)
        ++p;
    return p;
}

} // namespace

bool LMatchesWildcard(char const* szPattern, char const* szName) noexcept {
    char const* const pPatternEnd = szPattern + strnlen(szPattern, kLNameSize - 1);
    char const* const pNameEnd = szName + strnlen(szName, kLNameSize - 1);
    // Only the last "*" ever needs to give way: whatever an earlier one could still give, the last one can.
    char const* pAfterStar = nullptr;
    char const* pStarEnd = nullptr; // how far the last "*" reaches in the name
    while (szName != pNameEnd)
        if (szPattern != pPatternEnd && *szPattern == '*') {
            pAfterStar = ++szPattern;
            pStarEnd = szName;
        } else if (szPattern != pPatternEnd && *szPattern == '?') {
            ++szPattern;
            szName = SkipCharacter(szName, pNameEnd);
        } else if (szPattern != pPatternEnd && Lower(*szPattern) == Lower(*szName)) {
            ++szPattern;
            ++szName;
        } else if (pAfterStar) {
            szPattern = pAfterStar;
            szName = pStarEnd = SkipCharacter(pStarEnd, pNameEnd);
        } else
            return false;
    while (szPattern != pPatternEnd && *szPattern == '*')
        ++szPattern;
    return szPattern == pPatternEnd;
}
