// The process interface of code that nobody can stop.
#pragma once

#include "runtime/sync/process_interface.h"

// Never asks to stop; waits for what it is told to; reports go nowhere. Any thread.
class LProcessInterfaceVoid : public LProcessInterface {
public:
    bool IsToStop() override;
    bool ProcessWait(unsigned int nTimeout) override; // always the whole timeout; false
    LWaitResult ProcessWaitSignal(LSignalObjectRef oSignal, unsigned int nTimeout) override;
    LWaitResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& oGroup, unsigned int nTimeout) override;
};
