// The user's preferences as a store: keys that look like paths. A setting's section is its key up to the last slash. To
// list or delete a section takes those below it along, and those that differ from it by the case of ASCII letters.
#pragma once

#include "tools/settings/settings_store.h"

class PreferencesStore : public SettingsStore {
public:
    std::string Where() const override { return "the preferences"; }
    void CheckSection(std::string const& szSection) const override;
    void CheckItem(std::string const& szItem) const override;
    void CheckValue(std::string const& szValue) const override;
    std::string Damage() const override;
    std::string WhyNotWritten() const override;
    std::vector<Setting> List() const override; // in order of the keys; what is no string is left out
    bool Has(std::string const& szSection, std::optional<std::string> const& szItem) const override;
    bool IsIn(std::string const& szSection, Setting const& oSetting) const override;
    bool Set(Setting const& oSetting) override;
    bool Delete(std::string const& szSection, std::optional<std::string> const& szItem) override;
};
