#include "settings/user_hidden_settings.h"

#include "files/path.h"
#include "files/system_folders.h"
#include "settings/setting_items.h"
#include "settings/xml_settings.h"

namespace {

constexpr char kFolder[] = ".tarnwicksoftware";
constexpr char kFile[] = "LumoraVADPlugin.xml";

} // namespace

bool LGetUserHiddenSettingsPath(char* szOut) noexcept {
    bool const bFound = LFile::GetUserDataFolderAppSubFolder(szOut, kFolder) &&
                        LFile::_MakeFilePath(szOut, szOut, kFile, "") < static_cast<int>(kLNameSize);
    if (!bFound)
        *szOut = '\0';
    return bFound;
}

void LUserHiddenSettingSetString(char const* szSection, char const* szItem, char const* szValue) noexcept {
    char szPath[kLNameSize];
    if (LGetUserHiddenSettingsPath(szPath))
        LXMLSettingSetString(szPath, szSection, szItem, szValue);
}

void _LUserHiddenSettingGetString(char const* szSection, char const* szItem, char const* szDefault,
                                  char* szOut) noexcept {
    char szPath[kLNameSize];
    if (LGetUserHiddenSettingsPath(szPath))
        LXMLSettingGetString(szPath, szSection, szItem, szDefault, szOut);
    else
        LCopySetting(szOut, szDefault);
}
