// The driver's state: one static set of values for the life of the process, and the two mutexes that guard it.
//
// Threads: the host calls in on many at once. Every value below is read and written under gVADStateMutex unless its
// comment says otherwise. gVADStateMutex and gVADIOMutex are never held together, so they have no order.
//
// Under gVADStateMutex the box's name is retained and released, the host's timebase is read, and three calls go out:
// WriteToStorage and the queueing of the plug-in's notice, when the box is acquired or released, and SendVolumeChanged,
// which takes the client registry's mutex and then the client's mutex over its connections. Nobody takes those two and
// then this one. No CoreFoundation object is created or looked up under it.
//
// The host calls Initialize, which writes without the mutex, before every other operation but the counting ones
// (QueryInterface, AddRef, Release).
#pragma once

#include "base/mutex.h"

#include <CoreAudio/AudioServerPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>

#include <atomic>

// A value that some thread reads without the lock under which another writes it. Each such value stands for itself:
// nothing else is published by it, so relaxed order is all it needs, and a load costs what a plain one does.
template <class T>
class LRelaxed {
public:
    constexpr LRelaxed(T tInitial) noexcept : tValue(tInitial) {}
    LRelaxed(LRelaxed const&) = delete;

    operator T() const noexcept { return tValue.load(std::memory_order_relaxed); }
    LRelaxed& operator=(T tNew) noexcept {
        tValue.store(tNew, std::memory_order_relaxed);
        return *this;
    }
    // Replaces tOld by tNew in one step; false, and nothing stored, when the value was no longer tOld.
    bool Replace(T tOld, T tNew) noexcept {
        return tValue.compare_exchange_strong(tOld, tNew, std::memory_order_relaxed);
    }

private:
    std::atomic<T> tValue;
    static_assert(std::atomic<T>::is_always_lock_free);
};

extern LMutex gVADStateMutex;
extern LMutex gVADIOMutex; // taken by GetZeroTimeStamp only

// References to the driver interface that are out. Nothing hangs on it.
extern UInt32 gVADRefCount GUARDED_BY(gVADStateMutex);

// The host's interface, set once by Initialize; null until then. Release and acquire, because a thread that finds it
// calls through the table that it points to.
extern std::atomic<AudioServerPlugInHostRef> gVADHost;

// One reference owned. Null until Initialize, and after a client set a null name.
extern CFStringRef gVADBoxName GUARDED_BY(gVADStateMutex);

// Whether the device is in the plug-in's and the box's lists. Written under gVADStateMutex (so that comparing, storing
// and persisting are one step); the plug-in's lists and their sizes read it without.
extern LRelaxed<Boolean> gVADBoxAcquired;

extern Float64 gVADSampleRate GUARDED_BY(gVADStateMutex); // Hz, one of the two
extern Boolean gVADOutputStreamActive GUARDED_BY(gVADStateMutex);
extern UInt64 gVADIORunningCount GUARDED_BY(gVADStateMutex); // starts not yet stopped; running while above 0
extern Float32 gVADOutputVolume GUARDED_BY(gVADStateMutex);  // scalar, 0.0 to 1.0
extern Boolean gVADOutputMute GUARDED_BY(gVADStateMutex);
extern UInt32 gVADDataSourceValue GUARDED_BY(gVADStateMutex);      // selected item, 0 to 3
extern UInt32 gVADDataDestinationValue GUARDED_BY(gVADStateMutex); // selected item, 0 to 3

// Host clock ticks per frame at gVADSampleRate. Written under gVADStateMutex, read by the clock under gVADIOMutex.
extern LRelaxed<Float64> gVADHostTicksPerFrame;

// The clock: whole periods since the anchor, and the host time (ticks) at which IO went from stopped to running.
// Written by the first StartIO under gVADStateMutex, read and advanced by GetZeroTimeStamp under gVADIOMutex.
extern LRelaxed<UInt64> gVADNumberTimeStamps;
extern LRelaxed<UInt64> gVADAnchorHostTime;

// The value of one of the globals above at this moment, as a T. Takes gVADStateMutex.
template <class T, auto& gValue>
T LVADStored() EXCLUDES(gVADStateMutex) {
    LScopedLock oLock(gVADStateMutex);
    return static_cast<T>(gValue);
}

// Stores a new value; false, and nothing stored, when the global holds it already. Takes gVADStateMutex.
template <auto& gValue, class T>
bool LVADReplaceStored(T nNew) EXCLUDES(gVADStateMutex) {
    LScopedLock oLock(gVADStateMutex);
    if (gValue == nNew)
        return false;
    gValue = nNew;
    return true;
}
