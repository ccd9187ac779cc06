#include "driver/properties/host_reports.h"

#include "base/immortal.h"
#include "driver/state/object_ids.h"

#include <dispatch/dispatch.h>
#include <time.h>

#include <list>
#include <memory>
#include <new>
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

    // All have the same delay, so those that have ended are in front. Kept before it is handed over, but not when it
    // can't be: what is never going to run never ends.
    void Delay(dispatch_time_t nUntil, dispatch_block_t const& oReport) EXCLUDES(mtxQueued) {
        LScopedLock oLock(mtxQueued);
        while (!lDelayed.empty() && HasEnded(lDelayed.front()))
            lDelayed.pop_front();
        lDelayed.push_back(oReport);
        try {
            dispatch_after(nUntil, Queue(), oReport);
        } catch (std::bad_alloc const&) {
            lDelayed.pop_back();
            throw;
        }
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

// Nothing is thrown into the host, and no change is left half told: what there is no memory to queue is not said.
template <class Step>
void IfThereIsMemory(Step const& step) noexcept {
    try {
        step();
    } catch (std::bad_alloc const&) {
    }
}

} // namespace

void LVADReportAddresses(AudioObjectID nObjectId, UInt32 nAddresses, AudioObjectPropertyAddress const* lAddresses) {
    if (AudioServerPlugInHostRef const pHost = gVADHost.load(std::memory_order_acquire))
        pHost->PropertiesChanged(pHost, nObjectId, nAddresses, lAddresses);
}

void LVADPrepareToQueue() noexcept {
    IfThereIsMemory([] { Work(); });
}

void LVADReportChangedSoon(AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) noexcept {
    AudioObjectPropertyAddress const oAddress = LVADMainAddress(nSelector);
    IfThereIsMemory(
        [&] { dispatch_group_async(Work()->pGroup, Queue(), [=] { LVADReportAddresses(nObjectId, 1, &oAddress); }); });
}

void LVADReportChangedAfter(UInt64 nDelay_ns, AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) noexcept {
    AudioObjectPropertyAddress const oAddress = LVADMainAddress(nSelector);
    dispatch_time_t const nUntil = dispatch_time(DISPATCH_TIME_NOW, static_cast<SInt64>(nDelay_ns));
    IfThereIsMemory([&] {
        Work()->Delay(nUntil, dispatch_block_create(0, [=] { LVADReportAddresses(nObjectId, 1, &oAddress); }));
    });
}

void LVADRequestSampleRate(UInt64 nSampleRate) noexcept {
    IfThereIsMemory([=] {
        dispatch_group_async(Work()->pGroup, Queue(), [=] {
            if (AudioServerPlugInHostRef const pHost = gVADHost.load(std::memory_order_acquire))
                pHost->RequestDeviceConfigurationChange(pHost, kVADObject_Device, nSampleRate, nullptr);
        });
    });
}
