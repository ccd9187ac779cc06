// The machine that a test has put in the place of the real one.
#pragma once

#include "platform/testing/machine.h"

#include <mutex>

extern std::mutex gFakeMachineMutex;
PlatformMachine& FakeMachine(); // to be held under the mutex

// Calls `oAsk` with what the test has said, under the lock; nothing is copied, nothing allocated.
template <class Ask>
auto WithFakeMachine(Ask const& oAsk) {
    std::lock_guard const lock(gFakeMachineMutex);
    return oAsk(static_cast<PlatformMachine const&>(FakeMachine()));
}
