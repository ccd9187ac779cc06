#include "settings/preferences.h"

#include "base/utf.h"
#include "settings/cf_string.h"
#include "settings/preference_keys.h"

#include <cwchar>

namespace {

char const* OrEmpty(char const* szText) {
    return szText ? szText : "";
}

// The item's key; none when there can't be one.
LCFString KeyOf(char const* szSection, char const* szName) {
    char szKey[kLFullKeySize];
    _LSettingGetFullKeyName(szKey, szSection, szName);
    return szKey[0] ? LCFString(szKey) : LCFString();
}

LCFString CopyValue(CFStringRef pUser, char const* szSection, char const* szName) {
    LCFString const oKey = KeyOf(szSection, szName);
    LCFOwner<CFPropertyListRef> oValue(oKey ? LPreferenceCopy(pUser, oKey.Get()) : nullptr);
    if (!oValue || CFGetTypeID(oValue.Get()) != CFStringGetTypeID())
        return {};
    return LCFString(static_cast<CFStringRef>(CFRetain(oValue.Get())));
}

void SetValue(CFStringRef pUser, LCFString const& oKey, LCFString const& oValue) {
    if (!oKey)
        return;
    LPreferenceSet(pUser, oKey.Get(), oValue.Get());
    LPreferenceSynchronize(pUser);
}

} // namespace

bool _LSettingGetString(CFStringRef pUser, char const* szSection, char const* szName, char const* szDefault,
                        char* szOut) noexcept {
    LCFString const oValue = CopyValue(pUser, szSection, szName);
    if (oValue)
        oValue.GetString(szOut, kLNameSize);
    else
        LCopyUTF8(szOut, kLNameSize, OrEmpty(szDefault));
    return static_cast<bool>(oValue);
}

bool _LSettingGetString(CFStringRef pUser, char const* szSection, char const* szName, char const* szDefault,
                        LStringLongTemplate<char>& szOut) noexcept {
    LCFString const oValue = CopyValue(pUser, szSection, szName);
    if (oValue)
        oValue.GetString(szOut);
    else
        szOut.Set(szDefault);
    return static_cast<bool>(oValue);
}

bool _LSettingGetUnicodeString(CFStringRef pUser, char const* szSection, char const* szName, wchar_t const* szDefault,
                               wchar_t* szOut) noexcept {
    LCFString const oValue = CopyValue(pUser, szSection, szName);
    if (oValue)
        oValue.GetString(szOut, kLNameSize);
    else if (szDefault)
        std::wmemmove(szOut, szDefault, std::wcslen(szDefault) + 1);
    else
        szOut[0] = L'\0';
    return static_cast<bool>(oValue);
}

void _LSettingSetString(CFStringRef pUser, char const* szSection, char const* szName, char const* szValue) noexcept {
    SetValue(pUser, KeyOf(szSection, szName), LCFString(OrEmpty(szValue)));
}

void _LSettingSetUnicodeString(CFStringRef pUser, char const* szSection, char const* szName,
                               wchar_t const* szValue) noexcept {
    SetValue(pUser, KeyOf(szSection, szName), LCFString(szValue ? szValue : L""));
}

void _LSettingDeleteItem(CFStringRef pUser, char const* szSection, char const* szName) noexcept {
    SetValue(pUser, KeyOf(szSection, szName), LCFString());
}

bool _LSettingTestKeyExists(CFStringRef pUser, char const* szKey) noexcept {
    LCFString const oKey(szKey);
    return oKey && LCFOwner<CFPropertyListRef>(LPreferenceCopy(pUser, oKey.Get()));
}

void _LSettingGetFullKeyName(char* szOut, char const* szSection, char const* szName) noexcept {
    LFixedWriter oKey(szOut, kLFullKeySize);
    if (!LIsKeyPart(szSection) || !LIsKeyPart(szName) || !szSection[0])
        return;
    oKey.Add(szSection);
    if (szOut[oKey.Length() - 1] != '/')
        oKey.Add('/');
    oKey.Add(szName);
}
