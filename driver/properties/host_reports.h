// What the driver tells its host: changed addresses and requests. Every address has global scope and the main element.
// Without a host (before Initialize) nothing is told; what the host answers is not looked at. Any thread, no lock held
// but as said. What there is no memory to queue is not told either.
//
// Work queued here runs before the bundle's code goes away: unloading, and the process's exit, wait while any is
// pending; but delayed reports that have not begun by then are given up, for nobody is there to hear them. They stop
// waiting after three seconds, so that a host that ends the process from inside a report does end. What is queued after
// that wait has begun may come too late for the host, but finds all that it needs.
#pragma once

#include "driver/state/state.h"

constexpr AudioObjectPropertyAddress LVADMainAddress(AudioObjectPropertySelector nSelector) {
    return {nSelector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}

// Tells the host, on this thread, that the properties at nAddresses addresses of the object changed.
void LVADReportAddresses(AudioObjectID nObjectId, UInt32 nAddresses, AudioObjectPropertyAddress const* lAddresses)
    EXCLUDES(gVADStateMutex);

// The same of one or two selectors, in their order.
template <AudioObjectPropertySelector... nSelectors>
void LVADReportChanged(AudioObjectID nObjectId) EXCLUDES(gVADStateMutex) {
    static_assert(sizeof...(nSelectors) == 1 || sizeof...(nSelectors) == 2);
    constexpr AudioObjectPropertyAddress lAddresses[] = {LVADMainAddress(nSelectors)...};
    LVADReportAddresses(nObjectId, sizeof...(nSelectors), lAddresses);
}

// Makes what queueing needs, once. Whoever queues with gVADStateMutex held calls it first, without.
void LVADPrepareToQueue() noexcept EXCLUDES(gVADStateMutex);

// Tells the host so of one property from the default-priority global queue: soon, or nDelay_ns of the host clock from
// now. The first may be called with gVADStateMutex held.
void LVADReportChangedSoon(AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) noexcept;
void LVADReportChangedAfter(UInt64 nDelay_ns, AudioObjectID nObjectId, AudioObjectPropertySelector nSelector) noexcept;

// Asks the host, from the default-priority global queue, for a configuration change to nSampleRate (Hz, the change's
// action). The host stops IO, calls PerformDeviceConfigurationChange and starts again, or aborts.
void LVADRequestSampleRate(UInt64 nSampleRate) noexcept;
