#include "driver/properties/host_reports.h"

#include "base/immortal.h"
#include "driver/state/object_ids.h"

#include <dispatch/dispatch.h>
#include <time.h>

#include <list>
#include <memory>
#include <utility>

namespace {

dispatch_queue_t Queue() {
    return dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0);
}

constinit LMutex mtxQueued; // under it the platform is called only for what calls nobody back

// What is queued and not yet over. A group counts its own blocks out, and a block object ends, when their code is left
// and destroyed.
struct Queued {
    Queued() : pGroup(dispatch_group_create()) {}
    ~Queued() { dispatch_release(pGroup); } // one that is not empty keeps itself
    Queued(Queued const&) = delete;

    // All have the same delay, so those that have ended are in front.
    void AddDelayed(dispatch_block_t const& oReport) EXCLUDES(mtxQueued) {
        LScopedLock oLock(mtxQueued);
        while (!lDelayed.empty() && HasEnded(lDelayed.front()))
            lDelayed.pop_front();
        lDelayed.push_back(oReport);
    }

    // Whether all has ended, once the delayed reports that have not begun are given up.
    bool IsOverWithoutDelayed() EXCLUDES(mtxQueued) {
        LScopedLock oLock(mtxQueued);
        for (dispatch_block_t const& oReport : lDelayed)
            dispatch_block_cancel(oReport);
        std::erase_if(lDelayed, HasEnded);
        return lDelayed.empty() && dispatch_group_wait(pGroup, DISPATCH_TIME_NOW) == 0;
    }

    dispatch_group_t const pGroup;

private:
    static bool HasEnded(dispatch_block_t const& oReport) {
        return dispatch_block_wait(oReport, DISPATCH_TIME_NOW) == 0;
    }

    std::list<dispatch_block_t> lDelayed GUARDED_BY(mtxQueued);
};
using QueuedPtr = std::shared_ptr<Queued>;

constinit LImmortal<QueuedPtr> pQueued GUARDED_BY(mtxQueued);

// The end of this, at unload or at the process's exit, waits until nothing that was queued can run any more. A change
// that still comes in on another thread keeps what it has, or finds none and makes another.
class LastWait {
public:
    LastWait() = default;
    LastWait(LastWait const&) = delete;
    // Looks again and again, in real time: a timeout of the group's own would count on the host clock, which a host
    // may speed up or hold.
    ~LastWait() {
        constexpr int kLooks = 3000;
        constexpr timespec kBetween = {0, 1'000'000};
        QueuedPtr const pLast = Take();
        for (int n = 0; n < kLooks && !pLast->IsOverWithoutDelayed(); ++n)
            nanosleep(&kBetween, nullptr);
    }

private:
    static QueuedPtr Take() {
        LScopedLock oLock(mtxQueued);
        return std::exchange(*pQueued, nullptr);
    }
};

// Made when first needed, and so its wait comes before the end of all that was there at load, the helper link among it.
QueuedPtr Work() {
    QueuedPtr pWork;
    {
        LScopedLock oLock(mtxQueued);
        if (!*pQueued)
            *pQueued = std::make_shared<Queued>();
        pWork = *pQueued;
    }
    static LastWait const oLastWait;
    return pWork;
}

} // namespace

void LVADReportAddresses(AudioObjectID nObjectId, UInt32 nAddresses, AudioObjectPropertyAddress const* lAddresses) {
    if (AudioServerPlugInHostRef const pHost = gVADHost.load(std::memory_order_acquire))
        pHost->PropertiesChanged(pHost, nObjectId, nAddresses, lAddresses);
}

void LVADPrepareToQueue() {
    Work();
}

void LVADReportChangedSoon(AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) {
    AudioObjectPropertyAddress const oAddress = LVADMainAddress(nSelector);
    dispatch_group_async(Work()->pGroup, Queue(), [=] { LVADReportAddresses(nObjectId, 1, &oAddress); });
}

void LVADReportChangedAfter(UInt64 nDelay_ns, AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) {
    AudioObjectPropertyAddress const oAddress = LVADMainAddress(nSelector);
    dispatch_block_t const oReport = dispatch_block_create(0, [=] { LVADReportAddresses(nObjectId, 1, &oAddress); });
    Work()->AddDelayed(oReport);
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, static_cast<SInt64>(nDelay_ns)), Queue(), oReport);
}

void LVADRequestSampleRate(UInt64 nSampleRate) {
    dispatch_group_async(Work()->pGroup, Queue(), [=] {
        if (AudioServerPlugInHostRef const pHost = gVADHost.load(std::memory_order_acquire))
            pHost->RequestDeviceConfigurationChange(pHost, kVADObject_Device, nSampleRate, nullptr);
    });
}
