// The device's clock: computed from the host's, one period every kVADRingBufferFrames frames.
#pragma once

#include "driver/state/state.h"

// Host clock ticks per frame at nSampleRate (Hz), from the host clock's timebase. Without a sane timebase it may be any
// number, and the clock below useless, but its times stay within a UInt64. Any thread.
Float64 LVADTicksPerFrame(Float64 nSampleRate);

// Starts the timeline anew: period 0 is now. For the step from stopped to running.
void LVADAnchorClock() REQUIRES(gVADStateMutex);

// The latest period boundary that has passed: its sample time in frames since the anchor, and its host time in ticks.
// Advances by at most one period a call, so a caller that was away catches up step by step. The seed is 1 always: the
// timeline never jumps, not even when the sample rate changes. Takes gVADIOMutex, and no other lock; any thread, in
// practice the host's IO thread. Answers whether or not IO runs.
void LVADGetZeroTimeStamp(Float64& nSampleTime, UInt64& nHostTime, UInt64& nSeed) EXCLUDES(gVADIOMutex);
