// `lumora settings`: the settings of the product's programs, from the command line.
#pragma once

#include "tools/settings/settings_store.h"

#include <optional>
#include <string>

struct SettingsOptions {
    SettingsPlace nPlace = SettingsPlace::Shared;
    std::optional<std::string> szSection, szItem, szValue;
    bool bPassword = false; // it is about the item's password; for a list, show them
    bool bForce = false;    // change a file that has an error as well
};

// Each prints its result on standard output and returns the exit status; each throws Failure. A change that was made is
// read back before it counts.
int RunSettingsGet(SettingsOptions const& oOptions);
int RunSettingsList(SettingsOptions const& oOptions);
int RunSettingsSet(SettingsOptions const& oOptions); // without a value, reads it from standard input
int RunSettingsDelete(SettingsOptions const& oOptions);
