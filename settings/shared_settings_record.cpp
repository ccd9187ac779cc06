#include "settings/shared_settings_record.h"

#include "base/utf.h"
#include "settings/preference_keys.h"
#include "settings/preferences.h"
#include "settings/user_settings.h"

LSharedSettingsRecord::LSharedSettingsRecord(CFStringRef pTheUser, char const* szTheKeyPath) noexcept
    : pUser(pTheUser) {
    LCopyFixed(szKeyPath, LIsKeyPart(szTheKeyPath) ? szTheKeyPath : nullptr);
    _LSettingMakePrimaryKeyFromPath(szPrimaryKey, szKeyPath);
}

void LSharedSettingsRecord::SetString(char const* szField, char const* szValue) noexcept {
    if (LIsKeyPart(szField))
        _LSettingMakeParentKeyPath(pUser, szKeyPath);
    _LSettingSetString(pUser, szKeyPath, szField, szValue);
}

bool LSharedSettingsRecord::GetString(char const* szField, char const* szDefault, char* szOut) const noexcept {
    return _LSettingGetString(pUser, szKeyPath, szField, szDefault, szOut);
}

bool LSharedSettingsRecord::GetString(char const* szField, char* szOut) const noexcept {
    return GetString(szField, "", szOut);
}

bool LSharedSettingsRecord::GetString(char const* szField, char const* szDefault,
                                      LStringLongTemplate<char>& szOut) const noexcept {
    return _LSettingGetString(pUser, szKeyPath, szField, szDefault, szOut);
}

void LSharedSettingsRecord::SetPassword(char const* szField, char const* szValue) noexcept {
    _LSettingSetString(pUser, szKeyPath, szField, szValue);
}

bool LSharedSettingsRecord::GetPassword(char const* szField, char const* szDefault, char* szOut) const noexcept {
    return GetString(szField, szDefault, szOut);
}

bool LSharedSettingsRecord::SetPrimaryKey(char const* szNewPrimaryKey) noexcept {
    char szNewKeyPath[kLNameSize];
    bool const bThere = _LSettingTestKeyExists(pUser, szKeyPath);
    if (bThere && !_LSettingChangePrimaryKey(pUser, szKeyPath, szNewPrimaryKey, szNewKeyPath))
        return false;
    LCopyUTF8(szPrimaryKey, sizeof szPrimaryKey, szNewPrimaryKey ? szNewPrimaryKey : "");
    if (bThere) // behind the primary key, whose text it may have been
        LCopyFixed(szKeyPath, szNewKeyPath);
    return true;
}

bool LSharedSettingsRecord::TestFieldExists(char const* szField) const noexcept {
    return LUserSettingTestExists(pUser, szKeyPath, szField);
}

void LSharedSettingsRecord::DeleteField(char const* szField) noexcept {
    _LSettingDeleteItem(pUser, szKeyPath, szField);
}

bool LSharedSettingsRecord::TestSubRecordExists(char const* szName) const noexcept {
    char szChild[kLNameSize];
    unsigned long nIndex = 0;
    return szKeyPath[0] && _LSettingFindRecord(pUser, szChild, nIndex, szKeyPath, szName);
}

void LSharedSettingsRecord::DeleteRecord() noexcept {
    _LSettingDeleteSection(pUser, szKeyPath);
}

void LSharedSettingsRecord::DeleteSubRecord(char const* szName) noexcept {
    char szSection[kLFullKeySize];
    // Without a name it would be the record itself.
    if (szKeyPath[0] && LIsKeyPart(szName) && szName[0] && LJoinKey(szSection, szKeyPath, szName))
        _LSettingDeleteSection(pUser, szSection);
}
