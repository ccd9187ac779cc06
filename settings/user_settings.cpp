#include "settings/user_settings.h"

#include "base/utf.h"
#include "settings/password_item.h"
#include "settings/preference_keys.h"
#include "settings/preferences.h"
#include "settings/setting_cipher.h"

bool _LUserSettingGetString(char const* szSection, char const* szName, char const* szDefault, char* szOut) noexcept {
    return _LSettingGetString(kCFPreferencesCurrentUser, szSection, szName, szDefault, szOut);
}

bool _LUserSettingGetString(char const* szSection, char const* szName, char const* szDefault,
                            LStringLongTemplate<char>& szOut) noexcept {
    return _LSettingGetString(kCFPreferencesCurrentUser, szSection, szName, szDefault, szOut);
}

void LUserSettingSetString(char const* szSection, char const* szName, char const* szValue) noexcept {
    _LSettingSetString(kCFPreferencesCurrentUser, szSection, szName, szValue);
}

wchar_t* LSettingGetUnicodeString(char const* szSection, char const* szName, wchar_t const* szDefault,
                                  wchar_t* szOut) noexcept {
    _LSettingGetUnicodeString(kCFPreferencesCurrentUser, szSection, szName, szDefault, szOut);
    return szOut;
}

void LSettingSetUnicodeString(char const* szSection, char const* szName, wchar_t const* szValue) noexcept {
    _LSettingSetUnicodeString(kCFPreferencesCurrentUser, szSection, szName, szValue);
}

void LUserSettingSetPassword(char const* szSection, char const* szName, char const* szPlain) noexcept {
    LStringLong szProtected;
    LSettingEncrypt(szProtected, szPlain);
    if (szProtected.IsEmpty() && szPlain && szPlain[0])
        return; // no memory: the old password stays
    LUserSettingSetString(szSection, LPasswordItem(szName).GetName(), szProtected.GetString());
}

void LUserSettingSetPassword(char const* szSection, char const* szName,
                             LStringLongTemplate<char> const& szPlain) noexcept {
    LUserSettingSetPassword(szSection, szName, szPlain.GetString());
}

void LUserSettingGetPassword(char const* szSection, char const* szName, char const* szDefault, char* szOut) noexcept {
    LStringLong szPlain; // a protected text is longer than its plain one
    LUserSettingGetPassword(szSection, szName, szDefault, szPlain);
    LCopyUTF8(szOut, kLNameSize, szPlain.View());
}

void LUserSettingGetPassword(char const* szSection, char const* szName, char const*,
                             LStringLongTemplate<char>& szOut) noexcept {
    _LUserSettingGetString(szSection, LPasswordItem(szName).GetName(), "", szOut);
    LSettingDecrypt(szOut);
}

void LUserSettingDeleteItem(char const* szSection, char const* szName) noexcept {
    _LSettingDeleteItem(kCFPreferencesCurrentUser, szSection, szName);
    _LSettingDeleteItem(kCFPreferencesCurrentUser, szSection, LPasswordItem(szName).GetName());
}

void LUserSettingDeleteSection(char const* szSection) noexcept {
    _LSettingDeleteSection(kCFPreferencesCurrentUser, szSection);
}

bool LUserSettingTestKeyFullPathExists(CFStringRef pUser, char const* szKey) noexcept {
    return _LSettingTestKeyExists(pUser, szKey);
}

bool LUserSettingTestExists(CFStringRef pUser, char const* szSection, char const* szName) noexcept {
    char szKey[kLFullKeySize];
    _LSettingGetFullKeyName(szKey, szSection, szName);
    return szKey[0] && _LSettingTestKeyExists(pUser, szKey);
}

bool LUserSettingTestExists(char const* szSection, char const* szName) noexcept {
    return LUserSettingTestExists(kCFPreferencesCurrentUser, szSection, szName);
}

bool LUserSettingTestKeyExists(CFStringRef pUser, char const* szKey) noexcept {
    if (!szKey || _LSettingTestKeyExists(pUser, szKey))
        return szKey;
    char szRecord[kLFullKeySize];
    LFixedWriter oRecord(szRecord);
    oRecord.Add(szKey).Add('/');
    return !oRecord.WasCut() && _LSettingTestKeyExists(pUser, szRecord);
}

bool LUserSettingTestKeyExists(char const* szKey) noexcept {
    return LUserSettingTestKeyExists(kCFPreferencesCurrentUser, szKey);
}
