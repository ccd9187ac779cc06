#include "tools/settings/settings_store.h"

#include "base/fixed_text.h"
#include "settings/setting_cipher.h"
#include "settings/shared_settings.h"
#include "settings/user_hidden_settings.h"
#include "tools/process/failure.h"
#include "tools/settings/preferences_store.h"
#include "tools/settings/settings_file.h"

std::optional<std::string> SettingsStore::Get(std::string const& szSection, std::string const& szItem,
                                              bool bPassword) const {
    for (Setting const& oSetting : List())
        if (oSetting.szSection == szSection && oSetting.szItem == szItem && oSetting.bPassword == bPassword)
            return oSetting.szValue;
    return std::nullopt;
}

void SettingsStore::CheckIsNoPasswordItem(std::string const& szItem) {
    if (szItem.starts_with(kPasswordPrefix))
        throw Failure(ExitCode::Usage, "'" + szItem + "' begins with '__', as the items do that hold passwords. Give " +
                                           "the name without it and say --password.");
}

Setting SettingsStore::FromStored(std::string const& szSection, std::string const& szItem, char const* szStored) {
    if (!szItem.starts_with(kPasswordPrefix))
        return {szSection, szItem, szStored};
    LStringLong szText;
    szText.Set(szStored);
    LSettingDecrypt(szText);
    return {szSection, szItem.substr(sizeof kPasswordPrefix - 1), szText.GetString(), true};
}

std::unique_ptr<SettingsStore> OpenSettings(SettingsPlace nPlace) {
    if (nPlace == SettingsPlace::Preferences)
        return std::make_unique<PreferencesStore>();
    char szPath[kLNameSize];
    if (!(nPlace == SettingsPlace::Shared ? LGetSharedSettingsPath : LGetUserHiddenSettingsPath)(szPath))
        throw Failure(ExitCode::Output, "there is no folder for the settings, and it can't be made. See that the home "
                                        "folder, and Library/Application Support in it, can be written.");
    return std::make_unique<SettingsFile>(szPath);
}
