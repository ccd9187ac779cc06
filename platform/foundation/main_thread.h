// Inside the platform: what waits to be performed on the main thread.
#pragma once

#include <Foundation/NSObject.h>

namespace platform {

// Calls queued methods, in order; those queued meanwhile wait for the next call. False when none was. The process's
// first thread.
bool PerformQueued();

} // namespace platform
