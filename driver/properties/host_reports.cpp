#include "driver/properties/host_reports.h"

#include "driver/state/object_ids.h"

#include <dispatch/dispatch.h>
#include <time.h>

#include <atomic>
#include <utility>

namespace {

dispatch_queue_t Queue() {
    return dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0);
}

constinit LMutex mtxQueued; // a leaf, held for a reference at a time
dispatch_group_t pQueued GUARDED_BY(mtxQueued) = nullptr;
constinit std::atomic<bool> bEverDelayed = false;

void Sleep(long nTime_ns) {
    timespec const oTime = {0, nTime_ns};
    nanosleep(&oTime, nullptr);
}

// The end of this, at unload or at the process's exit, waits until nothing that was queued can run any more. A change
// that still comes in on another thread keeps the group that it has, or finds none and makes another.
class LastWait {
public:
    LastWait() = default;
    LastWait(LastWait const&) = delete;
    // Looks again and again, in real time: a timeout of the group's own would count on the host clock, which a host
    // may speed up or hold.
    ~LastWait() {
        constexpr int kLooks = 3000;
        constexpr long kBetween_ns = 1'000'000;
        // A group counts its own blocks out once their code is left. A delayed block counts itself out, and its thread
        // is then some instructions from leaving this code; nothing tells when it has, so it gets time in plenty.
        constexpr long kLeaving_ns = 100'000'000;
        dispatch_group_t const pLast = Take();
        for (int n = 0; n < kLooks && dispatch_group_wait(pLast, DISPATCH_TIME_NOW) != 0; ++n)
            Sleep(kBetween_ns);
        if (bEverDelayed)
            Sleep(kLeaving_ns);
        dispatch_release(pLast); // one that is not empty keeps itself
    }

private:
    static dispatch_group_t Take() {
        LScopedLock oLock(mtxQueued);
        return std::exchange(pQueued, nullptr);
    }
};

// The group of what is queued and not yet over, retained as long as this lives. Made when first needed, and so its wait
// comes before the end of all that was there at load, the helper link among it.
class QueuedWork {
public:
    QueuedWork() : pGroup(Retain()) {
        [[maybe_unused]] static bool const bWaits = [] {
            static LastWait const oLastWait;
            return true;
        }();
    }
    ~QueuedWork() { dispatch_release(pGroup); }
    QueuedWork(QueuedWork const&) = delete;
    operator dispatch_group_t() const { return pGroup; }

private:
    static dispatch_group_t Retain() {
        LScopedLock oLock(mtxQueued);
        if (!pQueued)
            pQueued = dispatch_group_create();
        dispatch_retain(pQueued);
        return pQueued;
    }

    dispatch_group_t const pGroup;
};

// One unit of queued work, until the last copy ends. For delayed blocks, which no group counts by itself: captured, it
// ends with the block, after the block has run. The group keeps itself while it counts one.
class Counted {
public:
    explicit Counted(dispatch_group_t pCounting) : pGroup(pCounting) { dispatch_group_enter(pGroup); }
    Counted(Counted const& oOther) : Counted(oOther.pGroup) {}
    ~Counted() { dispatch_group_leave(pGroup); }

private:
    dispatch_group_t const pGroup;
};

} // namespace

void LVADReportAddresses(AudioObjectID nObjectId, UInt32 nAddresses, AudioObjectPropertyAddress const* lAddresses) {
    if (AudioServerPlugInHostRef const pHost = gVADHost.load(std::memory_order_acquire))
        pHost->PropertiesChanged(pHost, nObjectId, nAddresses, lAddresses);
}

void LVADPrepareToQueue() {
    QueuedWork const oMade;
}

void LVADReportChangedSoon(AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) {
    AudioObjectPropertyAddress const oAddress = LVADMainAddress(nSelector);
    dispatch_group_async(QueuedWork(), Queue(), [=] { LVADReportAddresses(nObjectId, 1, &oAddress); });
}

void LVADReportChangedAfter(UInt64 nDelay_ns, AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) {
    AudioObjectPropertyAddress const oAddress = LVADMainAddress(nSelector);
    bEverDelayed = true;
    Counted const oCounted{QueuedWork()};
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, static_cast<SInt64>(nDelay_ns)), Queue(), [=] {
        static_cast<void>(oCounted);
        LVADReportAddresses(nObjectId, 1, &oAddress);
    });
}

void LVADRequestSampleRate(UInt64 nSampleRate) {
    dispatch_group_async(QueuedWork(), Queue(), [=] {
        if (AudioServerPlugInHostRef const pHost = gVADHost.load(std::memory_order_acquire))
            pHost->RequestDeviceConfigurationChange(pHost, kVADObject_Device, nSampleRate, nullptr);
    });
}
