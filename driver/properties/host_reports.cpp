#include "driver/properties/host_reports.h"

#include "driver/state/object_ids.h"

#include <dispatch/dispatch.h>

#include <algorithm>
#include <array>

namespace {

constexpr size_t kMaxSelectors = 2;

dispatch_queue_t Queue() {
    return dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0);
}

// Counts the queued work, so that the bundle is not unmapped under it. Made when first needed; its end, at unload or at
// the process's exit, waits for the last block, which an identify may have put two seconds into the future.
class QueuedWork {
public:
    static QueuedWork const& Instance() {
        static QueuedWork const oWork;
        return oWork;
    }
    ~QueuedWork() {
        constexpr SInt64 kLongest_ns = 3'000'000'000; // against a host that ends the process from inside a report
        dispatch_group_wait(pGroup, dispatch_time(DISPATCH_TIME_NOW, kLongest_ns));
        dispatch_sync(pTimers, [] {});
        dispatch_release(pTimers);
        dispatch_release(pGroup);
    }

    dispatch_group_t const pGroup = dispatch_group_create();
    // Where delayed blocks are let loose. The group lets go of a block of its own when that has run and is destroyed; a
    // delayed one has to leave by itself while it still runs. Being first in a serial queue, it is over and destroyed
    // before what the end above puts behind it.
    dispatch_queue_t const pTimers =
        dispatch_queue_create("com.tarnwicksoftware.driver.LumoraVirtualAudioDevice.timers", DISPATCH_QUEUE_SERIAL);

private:
    QueuedWork() = default;
};

} // namespace

void LVADReportChanged(AudioObjectID nObjectId, std::initializer_list<AudioObjectPropertySelector> lSelectors) {
    AudioServerPlugInHostRef const pHost = gVADHost.load(std::memory_order_acquire);
    if (!pHost)
        return;
    std::array<AudioObjectPropertyAddress, kMaxSelectors> lAddresses;
    UInt32 nAddresses = 0;
    for (AudioObjectPropertySelector const nSelector : lSelectors)
        if (nAddresses < kMaxSelectors)
            lAddresses[nAddresses++] = {nSelector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
    pHost->PropertiesChanged(pHost, nObjectId, nAddresses, lAddresses.data());
}

void LVADReportChangedSoon(AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) {
    dispatch_group_async(QueuedWork::Instance().pGroup, Queue(), [=] { LVADReportChanged(nObjectId, {nSelector}); });
}

void LVADReportChangedAfter(UInt64 nDelay_ns, AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) {
    dispatch_group_t const pGroup = QueuedWork::Instance().pGroup;
    dispatch_group_enter(pGroup);
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, static_cast<SInt64>(nDelay_ns)), QueuedWork::Instance().pTimers,
                   [=] {
                       LVADReportChangedSoon(nObjectId, nSelector);
                       dispatch_group_leave(pGroup);
                   });
}

void LVADRequestSampleRate(UInt64 nSampleRate) {
    dispatch_group_async(QueuedWork::Instance().pGroup, Queue(), [=] {
        if (AudioServerPlugInHostRef const pHost = gVADHost.load(std::memory_order_acquire))
            pHost->RequestDeviceConfigurationChange(pHost, kVADObject_Device, nSampleRate, nullptr);
    });
}
