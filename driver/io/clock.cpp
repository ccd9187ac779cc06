#include "driver/io/clock.h"

#include "driver/state/object_ids.h"

#include <mach/mach_time.h>

#include <limits>

namespace {

// Truncates toward zero. What UInt64 can't hold goes to its nearest end, because the plain conversion would be
// undefined: a host clock without a sane timebase gives a useless clock here, not undefined behaviour.
UInt64 Truncate(Float64 nTicks) {
    constexpr Float64 kEnd = 18446744073709551616.0; // 2^64, the first value too large
    if (!(nTicks > 0.0))
        return 0;
    return nTicks < kEnd ? static_cast<UInt64>(nTicks) : std::numeric_limits<UInt64>::max();
}

} // namespace

Float64 LVADTicksPerFrame(Float64 nSampleRate) {
    mach_timebase_info_data_t oTimebase{1, 1};
    mach_timebase_info(&oTimebase);
    return static_cast<Float64>(oTimebase.denom) / static_cast<Float64>(oTimebase.numer) * 1000000000.0 / nSampleRate;
}

// The two values belong together, but no lock is common to their writer here and their reader below. The host has no IO
// thread at work when it makes the first start, so nobody reads while this runs. Should a host break that, one stamp
// can go out that mixes the two timelines (the old count on the new anchor, or period 0 on the old one), and an advance
// that began before the reset can survive it by a single period at most, because it replaces only the count that it
// read.
void LVADAnchorClock() {
    gVADAnchorHostTime = mach_absolute_time();
    gVADNumberTimeStamps = 0;
}

void LVADGetZeroTimeStamp(Float64& nSampleTime, UInt64& nHostTime, UInt64& nSeed) {
    LScopedLock oLock(gVADIOMutex);
    UInt64 const nNow = mach_absolute_time();
    Float64 const nTicksPerPeriod = gVADHostTicksPerFrame * static_cast<Float64>(kVADRingBufferFrames);
    UInt64 const nAnchor = gVADAnchorHostTime;
    UInt64 nPeriods = gVADNumberTimeStamps;

    // The due time truncates the offset and adds in integers; the reported time adds in floating point and truncates
    // the sum. At large host times the two differ by the sum's rounding, and the host sees the second.
    UInt64 const nNextHostTime = Truncate(nTicksPerPeriod * static_cast<Float64>(nPeriods + 1)) + nAnchor;
    if (nNextHostTime <= nNow && gVADNumberTimeStamps.Replace(nPeriods, nPeriods + 1))
        ++nPeriods;

    nSampleTime = static_cast<Float64>(nPeriods * kVADRingBufferFrames);
    nHostTime = Truncate(static_cast<Float64>(nAnchor) + static_cast<Float64>(nPeriods) * nTicksPerPeriod);
    nSeed = 1;
}
