#include "runtime/threads/process_interface_void.h"

bool LProcessInterfaceVoid::IsToStop() {
    return false;
}

bool LProcessInterfaceVoid::ProcessWait(unsigned int nTimeout) {
    LSleep(nTimeout);
    return false;
}

LWaitResult LProcessInterfaceVoid::ProcessWaitSignal(LSignalObjectRef oSignal, unsigned int nTimeout) {
    return oSignal.WaitSignal(nTimeout) ? eWaitSignaled : eWaitTimeout;
}

LWaitResult LProcessInterfaceVoid::ProcessWaitSignalObjectGroup(LSignalObjectGroup& oGroup, unsigned int nTimeout) {
    return oGroup.Select(nTimeout) ? eWaitSignaled : eWaitTimeout;
}
