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
    static dispatch_group_t Group() {
        static QueuedWork oWork;
        return oWork.pGroup;
    }
    ~QueuedWork() {
        constexpr SInt64 kLongest_ns = 3'000'000'000; // against a host that ends the process from inside a report
        dispatch_group_wait(pGroup, dispatch_time(DISPATCH_TIME_NOW, kLongest_ns));
        dispatch_release(pGroup);
    }

private:
    dispatch_group_t const pGroup = dispatch_group_create();
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
    dispatch_group_async(QueuedWork::Group(), Queue(), [=] { LVADReportChanged(nObjectId, {nSelector}); });
}

void LVADReportChangedAfter(UInt64 nDelay_ns, AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) {
    dispatch_group_t const pGroup = QueuedWork::Group();
    dispatch_group_enter(pGroup);
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, static_cast<SInt64>(nDelay_ns)), Queue(), [=] {
        LVADReportChanged(nObjectId, {nSelector});
        dispatch_group_leave(pGroup); // the block's last word: only its return is left to run
    });
}

void LVADRequestSampleRate(UInt64 nSampleRate) {
    dispatch_group_async(QueuedWork::Group(), Queue(), [=] {
        if (AudioServerPlugInHostRef const pHost = gVADHost.load(std::memory_order_acquire))
            pHost->RequestDeviceConfigurationChange(pHost, kVADObject_Device, nSampleRate, nullptr);
    });
}
