#include "settings/shared_settings.h"

#include "files/path.h"
#include "files/system_folders.h"
#include "settings/password_item.h"
#include "settings/setting_cipher.h"
#include "settings/setting_items.h"
#include "settings/xml_document.h"

namespace {

constexpr char kFolder[] = "Shared";
constexpr char kFile[] = "SharedSettings.xml";

// False when the document is not to be written back.
bool Load(LXMLDocument& oDocument) noexcept {
    char szPath[kLNameSize];
    LGetSharedSettingsPath(szPath); // no file is at ""
    return LLoadSettings(oDocument, szPath);
}

} // namespace

bool LGetSharedSettingsPath(char* szOut) noexcept {
    bool const bFound = LFile::GetUserDataFolderAppSubFolder(szOut, kFolder) &&
                        LFile::_MakeFilePath(szOut, szOut, kFile, "") < static_cast<int>(kLNameSize);
    if (!bFound)
        *szOut = '\0';
    return bFound;
}

bool LSharedSettingsLoad(LXMLDocument& oDocument) noexcept {
    Load(oDocument);
    return true;
}

void LSharedSettingsSave(LXMLDocument const& oDocument) noexcept {
    char szPath[kLNameSize];
    if (LGetSharedSettingsPath(szPath))
        oDocument.WriteToFile(szPath);
}

void LSharedSettingSetString(char const* szSection, char const* szItem, char const* szValue) noexcept {
    LXMLDocument oDocument;
    if (Load(oDocument) && LPutSetting(oDocument, szSection, szItem, szValue))
        LSharedSettingsSave(oDocument);
}

void _LSharedSettingGetString(char const* szSection, char const* szItem, char const* szDefault, char* szOut) noexcept {
    LXMLDocument oDocument;
    LSharedSettingsLoad(oDocument);
    char const* const szValue = LFindSetting(oDocument, szSection, szItem);
    LCopySetting(szOut, szValue ? szValue : szDefault);
}

void _LSharedSettingGetString(char const* szSection, char const* szItem, char const* szDefault,
                              LStringLongTemplate<char>& szOut) noexcept {
    LXMLDocument oDocument;
    LSharedSettingsLoad(oDocument);
    char const* const szValue = LFindSetting(oDocument, szSection, szItem);
    if (!szOut.Set(szValue ? szValue : szDefault))
        szOut.Empty();
}

void LSharedSettingSetPassword(char const* szSection, char const* szItem, char const* szPlain) noexcept {
    LStringLongTemplate<char> szProtected;
    LSettingEncrypt(szProtected, szPlain);
    if (szProtected.IsEmpty() && szPlain && *szPlain)
        return; // no memory: the old password stays
    if (LPasswordItem const oPassword(szItem); oPassword.GetName())
        LSharedSettingSetString(szSection, oPassword.GetName(), szProtected.GetString());
}

void LSharedSettingSetPassword(char const* szSection, char const* szItem,
                               LStringLongTemplate<char> const& szPlain) noexcept {
    LSharedSettingSetPassword(szSection, szItem, szPlain.GetString());
}

void LSharedSettingGetPassword(char const* szSection, char const* szItem, char const*, char* szOut) noexcept {
    LPasswordItem const oPassword(szItem);
    _LSharedSettingGetString(szSection, oPassword.GetName() ? oPassword.GetName() : "", "", szOut);
    LSettingDecrypt(szOut);
}

void LSharedSettingGetPassword(char const* szSection, char const* szItem, char const*,
                               LStringLongTemplate<char>& szOut) noexcept {
    LPasswordItem const oPassword(szItem);
    _LSharedSettingGetString(szSection, oPassword.GetName() ? oPassword.GetName() : "", "", szOut);
    LSettingDecrypt(szOut);
}

void LSharedSettingDeleteItem(char const* szSection, char const* szItem) noexcept {
    LXMLDocument oDocument;
    LXMLElement* const pSection = Load(oDocument) ? oDocument.GetElement(szSection) : nullptr;
    if (!pSection)
        return;
    pSection->DeleteElement(szItem);
    if (LPasswordItem const oPassword(szItem); oPassword.GetName())
        pSection->DeleteElement(oPassword.GetName());
    LSharedSettingsSave(oDocument);
}

void LSharedSettingDeleteSection(char const* szSection) noexcept {
    LXMLDocument oDocument;
    if (!Load(oDocument))
        return;
    oDocument.DeleteElement(szSection);
    LSharedSettingsSave(oDocument);
}

bool LSharedSettingTestKeyExists(char const* szSection) noexcept {
    LXMLDocument oDocument;
    LSharedSettingsLoad(oDocument);
    return oDocument.GetElement(szSection) != nullptr;
}

bool LSharedSettingTestExists(char const* szSection, char const* szItem) noexcept {
    LXMLDocument oDocument;
    LSharedSettingsLoad(oDocument);
    LXMLElement const* const pSection = oDocument.GetElement(szSection);
    return pSection && pSection->GetElement(szItem);
}
