#include "settings/cf_string.h"

#include "base/utf.h"

namespace {

CFStringRef FromUnits(LStringLongTemplate<char16_t> const& szUnits) {
    // Not from bytes in UTF-16: a byte-order mark at the front is a character of the text.
    return CFStringCreateWithCharacters(nullptr, reinterpret_cast<UniChar const*>(szUnits.GetString()),
                                        static_cast<CFIndex>(szUnits.GetLength()));
}

} // namespace

LCFString& LCFString::operator=(char const* szText) noexcept {
    Replace(nullptr);
    if (!szText)
        return *this;
    pString = CFStringCreateWithBytes(nullptr, reinterpret_cast<UInt8 const*>(szText),
                                      static_cast<CFIndex>(std::strlen(szText)), kCFStringEncodingUTF8, false);
    if (!pString) // the OS's other reader, before our own
        pString = CFStringCreateWithCString(nullptr, szText, kCFStringEncodingUTF8);
    if (LStringLongTemplate<char16_t> szUnits; !pString && LCopyUnicodeFromUTF8(szUnits, szText))
        pString = FromUnits(szUnits);
    return *this;
}

LCFString& LCFString::operator=(wchar_t const* szText) noexcept {
    Replace(nullptr);
    if (LStringLongTemplate<char16_t> szUnits; szText && LCopyUnicodeFromUTF32(szUnits, szText))
        pString = FromUnits(szUnits);
    return *this;
}

bool LCFString::GetUnits(LStringLongTemplate<char16_t>& szOut) const noexcept {
    if (!pString)
        return false;
    CFIndex const nLength = CFStringGetLength(pString);
    if (!szOut.Reserve(static_cast<std::size_t>(nLength) + 1))
        return false;
    CFStringGetCharacters(pString, CFRangeMake(0, nLength), reinterpret_cast<UniChar*>(szOut.GetBuffer()));
    szOut.SetLength(static_cast<std::size_t>(nLength));
    return true;
}

bool LCFString::GetString(LStringLongTemplate<char>& szOut) const noexcept {
    constexpr std::size_t kMostBytesOfAUnit = 6;
    szOut.Empty();
    if (!pString)
        return false;
    auto const nLength = static_cast<std::size_t>(CFStringGetLength(pString));
    if (!szOut.Reserve(nLength * kMostBytesOfAUnit + 1))
        return false;
    if (CFStringGetCString(pString, szOut.GetBuffer(), static_cast<CFIndex>(szOut.GetCapacity()),
                           kCFStringEncodingUTF8)) {
        szOut.UpdateLength();
        return true;
    }
    // Half a surrogate pair, which the platform doesn't convert: one odd character is no reason to lose the others.
    LStringLongTemplate<char16_t> szUnits;
    if (!GetUnits(szUnits) || !LCopyUTF8FromUnicode(szOut, szUnits.View()))
        return false;
    szOut.UpdateLength();
    return true;
}

bool LCFString::GetString(char* szOut, unsigned long nSize) const noexcept {
    if (nSize == 0)
        return false;
    LStringLong szText;
    bool const bGot = GetString(szText);
    LCopyUTF8(szOut, nSize, szText.View());
    return bGot;
}

bool LCFString::GetString(LStringLongTemplate<wchar_t>& szOut) const noexcept {
    szOut.Empty();
    LStringLongTemplate<char16_t> szUnits;
    return GetUnits(szUnits) && LCopyUTF32FromUnicode(szOut, szUnits.View());
}

bool LCFString::GetString(wchar_t* szOut, unsigned long nSize) const noexcept {
    if (nSize == 0)
        return false;
    LStringLongTemplate<char16_t> szUnits;
    bool const bGot = GetUnits(szUnits);
    LCopyUTF32FromUnicode(szOut, nSize, szUnits.View());
    return bGot;
}
