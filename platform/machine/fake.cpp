#include "platform/machine/fake.h"

#include <utility>

constinit std::mutex gFakeMachineMutex;

// Never destroyed: threads ask while the process ends.
PlatformMachine& FakeMachine() {
    static PlatformMachine& oMachine = *new PlatformMachine;
    return oMachine;
}

void PlatformSetMachine(PlatformMachine oMachine) {
    std::lock_guard const lock(gFakeMachineMutex);
    std::swap(FakeMachine(), oMachine);
}

void PlatformResetMachine() {
    PlatformSetMachine({});
}
