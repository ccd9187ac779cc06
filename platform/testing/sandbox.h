// Test door: access to granted files.
#pragma once

#include <string>

// How many URLs of this process have access started and not stopped, counting each start. Any thread.
long PlatformStartedAccesses();

// Access to this path can't be started from now on; "" lets all through again. Any thread.
void PlatformRefuseAccess(std::string const& szPath);
