// What the driver tells its host: changed addresses and requests. Every address has global scope and the main element.
// Without a host (before Initialize) nothing is told; what the host answers is not looked at. Any thread, no lock held
// but as said. Work queued here still runs before the bundle's code is unloaded: unloading waits for it.
#pragma once

#include "driver/state/state.h"

#include <initializer_list>

// Tells the host, on this thread, that one or two properties of the object changed.
void LVADReportChanged(AudioObjectID nObjectId, std::initializer_list<AudioObjectPropertySelector> lSelectors)
    EXCLUDES(gVADStateMutex);

// Tells the host so of one property from the default-priority global queue: soon, or nDelay_ns from now. May be called
// with gVADStateMutex held.
void LVADReportChangedSoon(AudioObjectID nObjectId, AudioObjectPropertySelector nSelector);
void LVADReportChangedAfter(UInt64 nDelay_ns, AudioObjectID nObjectId, AudioObjectPropertySelector nSelector);

// Asks the host, from the default-priority global queue, for a configuration change to nSampleRate (Hz, the change's
// action). The host stops IO, calls PerformDeviceConfigurationChange and starts again, or aborts.
void LVADRequestSampleRate(UInt64 nSampleRate);
