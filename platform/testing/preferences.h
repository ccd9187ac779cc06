// Test door: the preferences, and the user defaults, which are preferences too.
#pragma once

#include <string>

// All that is held in memory is forgotten, as a restart would; changes not synchronised are lost. While no other thread
// uses preferences.
void PlatformForgetPreferences();

// Where the preferences of any user are kept from now on; "" for where they are by themselves. Any thread.
void PlatformKeepAnyUserPreferencesIn(std::string const& szFolder);
