#include "xpc/code_hold.h"

#include "base/mutex.h"

#include <cstdint>
#include <utility>

namespace {

constinit LMutex mtxHolds;
constinit LCondition oHoldEnded;
unsigned long nHolds GUARDED_BY(mtxHolds) = 0;
dispatch_group_t pConnections GUARDED_BY(mtxHolds) = nullptr; // entered once for each covered connection

timespec InstantFromNow(unsigned nTimeout_ms) {
    timespec oInstant{};
    clock_gettime(CLOCK_REALTIME, &oInstant);
    oInstant.tv_sec += nTimeout_ms / 1000;
    oInstant.tv_nsec += long{nTimeout_ms % 1000} * 1000000;
    if (oInstant.tv_nsec >= 1000000000) {
        oInstant.tv_nsec -= 1000000000;
        ++oInstant.tv_sec;
    }
    return oInstant;
}

} // namespace

LXPCCodeHold::LXPCCodeHold() noexcept {
    LScopedLock const oLock(mtxHolds);
    ++nHolds;
}

LXPCCodeHold::~LXPCCodeHold() {
    LScopedLock const oLock(mtxHolds);
    if (--nHolds == 0)
        oHoldEnded.WakeAll();
}

void LXPCCodeHold::Cover(xpc_connection_t pConnection) noexcept {
    LScopedLock const oLock(mtxHolds);
    if (!pConnections)
        pConnections = dispatch_group_create();
    dispatch_group_enter(pConnections);
    xpc_connection_set_context(pConnection, pConnections);
    // Not a function of ours that calls this one: it would be the code that must not be running any more.
    xpc_connection_set_finalizer_f(pConnection, reinterpret_cast<xpc_finalizer_t>(dispatch_group_leave));
}

bool LXPCCodeHold::WaitForNone(unsigned nTimeout_ms) noexcept {
    timespec const oEnd = InstantFromNow(nTimeout_ms);
    dispatch_group_t pWaiting = nullptr;
    {
        LScopedLock const oLock(mtxHolds);
        while (nHolds != 0)
            if (!oHoldEnded.WaitUntil(mtxHolds, oEnd))
                break;
        if (nHolds != 0)
            return false;
        pWaiting = std::exchange(pConnections, nullptr); // entered, it keeps itself
    }
    if (!pWaiting)
        return true;
    auto const nUntil = dispatch_time(DISPATCH_TIME_NOW, std::int64_t{nTimeout_ms} * 1000000);
    bool const bNone = dispatch_group_wait(pWaiting, nUntil) == 0;
    dispatch_release(pWaiting);
    return bNone;
}
