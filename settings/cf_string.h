// LCFString: between CoreFoundation strings and the library's UTF-8 and UTF-32.
#pragma once

#include "base/string_long.h"

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

// Holds one CFStringRef, or none. Nothing throws. One thread at a time.
class LCFString {
public:
    constexpr LCFString() noexcept = default;
    // From UTF-8 and from UTF-32. What is ill-formed becomes U+FFFD (base/utf.h); null gives no string.
    explicit LCFString(char const* szText) noexcept { *this = szText; }
    explicit LCFString(wchar_t const* szText) noexcept { *this = szText; }
    // Takes over the reference that a function with Create or Copy in its name gave; null is no string.
    explicit LCFString(CFStringRef pToTake) noexcept : pString(pToTake) {}
    LCFString(LCFString&& oOther) noexcept : pString(std::exchange(oOther.pString, nullptr)) {}
    ~LCFString() { Replace(nullptr); }

    LCFString& operator=(LCFString&& oOther) noexcept {
        std::swap(pString, oOther.pString);
        return *this;
    }
    LCFString& operator=(char const* szText) noexcept;
    LCFString& operator=(wchar_t const* szText) noexcept;

    CFStringRef Get() const noexcept { return pString; } // stays this object's
    explicit operator bool() const noexcept { return pString; }

    // The text: in a buffer of `nSize` characters with its NUL as much of it as fits, never half of a UTF-8 sequence.
    // It ends at the string's first NUL in UTF-8; in UTF-32 that is a character like any other. False, with an empty
    // text, when there is no string or no memory.
    bool GetString(char* szOut, unsigned long nSize) const noexcept;
    bool GetString(LStringLongTemplate<char>& szOut) const noexcept;
    bool GetString(wchar_t* szOut, unsigned long nSize) const noexcept;
    bool GetString(LStringLongTemplate<wchar_t>& szOut) const noexcept;

private:
    void Replace(CFStringRef pWith) noexcept {
        if (CFStringRef const pOld = std::exchange(pString, pWith))
            CFRelease(pOld);
    }
    bool GetUnits(LStringLongTemplate<char16_t>& szOut) const noexcept;

    CFStringRef pString = nullptr;
};
