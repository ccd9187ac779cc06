// Timed submission: one thread, alive only while something is pending.
#include "platform/dispatch/object.h"
#include "platform/dispatch/thread.h"
#include "platform/mach/host_clock.h"

#include <dispatch/dispatch.h>
#include <mach/mach_time.h>

#include <map>

namespace platform {
namespace {

struct Pending {
    dispatch_queue_t pQueue; // retained
    dispatch_block_t oBlock;
};

class Timers {
public:
    static Timers& Shared() {
        static Timers& oTimers = *new Timers;
        return oTimers;
    }

    void Add(dispatch_time_t nWhen, Pending oPending) {
        std::lock_guard oLock(mtx);
        mapPending.emplace(nWhen, std::move(oPending));
        if (!bThread)
            bThread = StartThread("dispatch timer", [this] { Run(); });
        ClockChanged();
    }

private:
    Timers() {
        WatchHostClock([] {
            Timers& oTimers = Shared();
            std::lock_guard oLock(oTimers.mtx);
            oTimers.ClockChanged();
        });
    }

    void ClockChanged() {
        ++nChanges;
        cvChanged.notify_one();
    }

    void Run() {
        std::unique_lock oLock(mtx);
        while (!mapPending.empty()) {
            auto const itFirst = mapPending.begin();
            if (itFirst->first <= mach_absolute_time())
                Submit(std::move(mapPending.extract(itFirst).mapped()));
            else
                SleepUntil(itFirst->first, oLock);
        }
        bThread = false;
    }

    void SleepUntil(uint64_t nTicks, std::unique_lock<std::mutex>& oLock) {
        auto const HasChanged = [this, nBefore = nChanges] { return nChanges != nBefore; };
        if (auto const oWhen = RealTimeOf(nTicks))
            cvChanged.wait_until(oLock, *oWhen, HasChanged);
        else
            cvChanged.wait(oLock, HasChanged);
    }

    static void Submit(Pending oPending) {
        dispatch_async(oPending.pQueue, std::move(oPending.oBlock));
        dispatch_release(oPending.pQueue);
    }

    std::mutex mtx; // guards what follows
    std::condition_variable cvChanged;
    std::multimap<uint64_t, Pending> mapPending; // of one instant: in the order added
    uint64_t nChanges = 0;
    bool bThread = false;
};

} // namespace
} // namespace platform

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta) {
    if (when == DISPATCH_TIME_FOREVER)
        return when;
    uint64_t const nFrom = when == DISPATCH_TIME_NOW ? mach_absolute_time() : when;
    uint64_t const nSize = delta < 0 ? 0 - static_cast<uint64_t>(delta) : static_cast<uint64_t>(delta);
    uint64_t const nTicks = platform::TicksOfNanoseconds(nSize);
    if (delta < 0)
        return nFrom > nTicks ? nFrom - nTicks : 1; // 0 would mean now
    return nTicks < DISPATCH_TIME_FOREVER - nFrom ? nFrom + nTicks : DISPATCH_TIME_FOREVER;
}

void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block) {
    if (when == DISPATCH_TIME_FOREVER || !block)
        return;
    dispatch_retain(queue);
    platform::Timers::Shared().Add(when, {queue, std::move(block)});
}
