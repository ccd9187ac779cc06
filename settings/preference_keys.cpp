#include "settings/preference_keys.h"

#include "files/separator.h"

#include <algorithm>

namespace {

constexpr char16_t Fold(char16_t c) {
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c;
}

// Halves of pairs above all else, as the characters are that they are halves of.
constexpr int Order(char16_t c) {
    return c >= 0xD800 && c < 0xE000 ? c + 0x10000 : Fold(c);
}

} // namespace

bool LJoinKey(char (&szOut)[kLFullKeySize], std::string_view szLeft, std::string_view szRight) noexcept {
    LFixedWriter oKey(szOut);
    oKey.Add(szLeft.data(), szLeft.size());
    if (!szLeft.empty() && !LIsPathSeparator(szLeft.back()))
        oKey.Add('/');
    oKey.Add(szRight.data(), szRight.size());
    if (oKey.WasCut())
        szOut[0] = '\0';
    return !oKey.WasCut();
}

int LCompareKeys(std::u16string_view szFirst, std::u16string_view szSecond) noexcept {
    std::size_t const nBoth = std::min(szFirst.size(), szSecond.size());
    for (std::size_t n = 0; n < nBoth; ++n)
        if (szFirst[n] != szSecond[n] && Fold(szFirst[n]) != Fold(szSecond[n]))
            return Order(szFirst[n]) - Order(szSecond[n]);
    return szFirst.size() == szSecond.size() ? 0 : szFirst.size() < szSecond.size() ? -1 : 1;
}

bool LKeyBeginsWith(std::u16string_view szKey, std::u16string_view szPrefix) noexcept {
    return szKey.starts_with(szPrefix) || // the usual case, at once
           (szKey.size() >= szPrefix.size() && LCompareKeys(szKey.substr(0, szPrefix.size()), szPrefix) == 0);
}

LPreferenceKeys::LPreferenceKeys(CFStringRef pUser) noexcept
    : oKeys(CFPreferencesCopyKeyList(LPreferenceApplication(), pUser, kCFPreferencesCurrentHost)) {
    if (oKeys)
        nCount = static_cast<unsigned long>(CFArrayGetCount(oKeys.Get()));
}

std::u16string_view LPreferenceKeys::GetText(unsigned long nIndex) noexcept {
    CFStringRef const pKey = GetKey(nIndex);
    CFIndex const nLength = CFStringGetLength(pKey);
    if (nLength >= static_cast<CFIndex>(kLFullKeySize))
        return {};
    CFStringGetCharacters(pKey, CFRangeMake(0, nLength), reinterpret_cast<UniChar*>(szText));
    return {szText, static_cast<std::size_t>(nLength)};
}

std::string_view LPreferenceKeys::GetName(unsigned long nIndex) noexcept {
    CFStringGetCString(GetKey(nIndex), szName, sizeof szName, kCFStringEncodingUTF8);
    return szName;
}

CFStringRef LPreferenceApplication() noexcept {
    return CFSTR("com.tarnwicksoftware.LumoraVADPlugin");
}

CFPropertyListRef LPreferenceCopy(CFStringRef pUser, CFStringRef pKey) noexcept {
    return CFPreferencesCopyValue(pKey, LPreferenceApplication(), pUser, kCFPreferencesCurrentHost);
}

void LPreferenceSet(CFStringRef pUser, CFStringRef pKey, CFPropertyListRef pValue) noexcept {
    CFPreferencesSetValue(pKey, pValue, LPreferenceApplication(), pUser, kCFPreferencesCurrentHost);
}

bool LPreferenceSynchronize(CFStringRef pUser) noexcept {
    return CFPreferencesSynchronize(LPreferenceApplication(), pUser, kCFPreferencesCurrentHost);
}
