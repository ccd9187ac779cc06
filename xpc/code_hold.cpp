#include "xpc/code_hold.h"

#include "base/mutex.h"

namespace {

constinit LMutex mtxHolds;
constinit LCondition oHoldEnded;
unsigned long nHolds GUARDED_BY(mtxHolds) = 0;

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

bool LXPCCodeHold::WaitForNone(unsigned nTimeout_ms) noexcept {
    timespec const oEnd = InstantFromNow(nTimeout_ms);
    LScopedLock const oLock(mtxHolds);
    while (nHolds != 0)
        if (!oHoldEnded.WaitUntil(mtxHolds, oEnd))
            return nHolds == 0;
    return true;
}
