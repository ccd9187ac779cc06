#include "tools/settings/preferences_store.h"

#include "platform/host/preferences.h"
#include "settings/preference_keys.h"
#include "settings/preferences.h"
#include "settings/user_settings.h"
#include "tools/process/failure.h"

#include <algorithm>

namespace {

constexpr std::size_t kLongestPart = kLNameSize - 1 - 2; // with the "__" of a password, it is still one

void CheckText(std::string const& szWhat, std::string const& szText) {
    LCFOwner<CFStringRef> const text(CFStringCreateWithCString(nullptr, szText.c_str(), kCFStringEncodingUTF8));
    if (!text)
        throw Failure(ExitCode::Usage, szWhat + " is not valid UTF-8, which the preferences are kept in.");
    if (!LCFOwner<CFDataRef>(CFPropertyListCreateData(nullptr, text.Get(), kCFPropertyListXMLFormat_v1_0, 0, nullptr)))
        throw Failure(ExitCode::Usage, szWhat + " has a control character in it, or another one, that the preferences "
                                                "can't keep. Take it out.");
}

void CheckPart(std::string const& szWhat, std::string const& szName) {
    if (szName.empty())
        throw Failure(ExitCode::Usage, "the name of " + szWhat + " is empty. Say which one is meant.");
    CheckText("the name of " + szWhat, szName);
    if (szName.size() > kLongestPart)
        throw Failure(ExitCode::Usage, "the name of " + szWhat + " is longer than " + std::to_string(kLongestPart) +
                                           " bytes. Choose a shorter one.");
}

bool HasKey(std::string const& szSection, std::string const& szItem) {
    return LUserSettingTestExists(szSection.c_str(), szItem.c_str());
}

} // namespace

void PreferencesStore::CheckSection(std::string const& szSection) const {
    CheckPart("a section", szSection);
    if (szSection.back() == '/')
        throw Failure(ExitCode::Usage, "'" + szSection + "' ends with a slash. Leave that out.");
}

void PreferencesStore::CheckItem(std::string const& szItem) const {
    CheckPart("an item", szItem);
    if (szItem.find('/') != std::string::npos)
        throw Failure(ExitCode::Usage, "'" + szItem +
                                           "' has a slash in it. What is before the slash belongs to the "
                                           "section.");
    CheckIsNoPasswordItem(szItem);
}

void PreferencesStore::CheckValue(std::string const& szValue) const {
    CheckText("the value", szValue);
}

std::string PreferencesStore::Damage() const {
    if (!LPreferenceSynchronize(kCFPreferencesCurrentUser))
        throw Failure(ExitCode::Input,
                      "the preferences can't be read. See that Library/Preferences in the home folder, "
                      "and what is in it, may be read.");
    std::string const szFile =
        DamagedPreferenceFile(LPreferenceApplication(), kCFPreferencesCurrentUser, kCFPreferencesCurrentHost);
    return szFile.empty()
               ? ""
               : szFile + " is no property list, and counts as empty. Replaced, it stays beside as .unreadable.";
}

std::string PreferencesStore::WhyNotWritten() const {
    return "the disk may be full, or Library/Preferences in the home folder may not be writable";
}

std::vector<Setting> PreferencesStore::List() const {
    LPreferenceKeys oKeys(kCFPreferencesCurrentUser);
    std::vector<std::string> lNames;
    for (unsigned long n = 0; n < oKeys.GetCount(); ++n)
        lNames.emplace_back(oKeys.GetName(n));
    std::sort(lNames.begin(), lNames.end());
    std::vector<Setting> lSettings;
    for (std::string const& szName : lNames) {
        std::size_t const nSlash = szName.rfind('/');
        LStringLong szValue;
        if (nSlash == std::string::npos)
            continue; // no section, and so none of the product's
        std::string const szSection = szName.substr(0, nSlash), szItem = szName.substr(nSlash + 1);
        if (_LUserSettingGetString(szSection.c_str(), szItem.c_str(), "", szValue))
            lSettings.push_back(FromStored(szSection, szItem, szValue.GetString()));
    }
    return lSettings;
}

bool PreferencesStore::Has(std::string const& szSection, std::optional<std::string> const& szItem) const {
    if (szItem)
        return HasKey(szSection, *szItem) || HasKey(szSection, kPasswordPrefix + *szItem);
    LPreferenceKeys oKeys(kCFPreferencesCurrentUser);
    LKeyText const oInside(szSection + '/');
    for (unsigned long n = 0; n < oKeys.GetCount(); ++n)
        if (LKeyBeginsWith(oKeys.GetText(n), oInside.View()))
            return true;
    return false;
}

bool PreferencesStore::IsIn(std::string const& szSection, Setting const& oSetting) const {
    return LKeyBeginsWith(LKeyText(oSetting.szSection + '/').View(), LKeyText(szSection + '/').View());
}

bool PreferencesStore::Set(Setting const& oSetting) {
    char const *szSection = oSetting.szSection.c_str(), *szItem = oSetting.szItem.c_str();
    if (oSetting.bPassword)
        LUserSettingSetPassword(szSection, szItem, oSetting.szValue.c_str());
    else
        LUserSettingSetString(szSection, szItem, oSetting.szValue.c_str());
    // Reading back is no proof: this process sees what it has set, whether that was written or not.
    return LPreferenceSynchronize(kCFPreferencesCurrentUser);
}

bool PreferencesStore::Delete(std::string const& szSection, std::optional<std::string> const& szItem) {
    if (szItem)
        LUserSettingDeleteItem(szSection.c_str(), szItem->c_str());
    else
        LUserSettingDeleteSection(szSection.c_str());
    return LPreferenceSynchronize(kCFPreferencesCurrentUser);
}
