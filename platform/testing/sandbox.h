// Test door: access to granted files, and the user defaults.
#pragma once

#include <string>

// How many URLs of this process have access started and not stopped, counting each start. Any thread.
long PlatformStartedAccesses();

// Access to this path can't be started from now on; "" lets all through again. Any thread.
void PlatformRefuseAccess(std::string const& szPath);

// The user defaults forget what they hold in memory, as a restart would. Changes not synchronised are lost. Any thread.
void PlatformForgetUserDefaults();
