// When a sample time of the device happens on the host clock, as its zero time stamps say.
#pragma once

#include <cstdint>

// One thread. The device reports now and then that its sample time s was at host time h; in between the line goes on at
// the rate that the last two reports gave, or, before there are two, at the nominal one.
class DeviceTimeline {
public:
    // nNominal: host ticks a frame at the nominal sample rate.
    explicit DeviceTimeline(double nNominal) noexcept : nNominalTicksPerFrame(nNominal), nTicksPerFrame(nNominal) {}

    // What GetZeroTimeStamp said. Another seed than before starts the line anew.
    void Report(double nSampleTime, uint64_t nHostTime, uint64_t nSeed) noexcept {
        if (bAny && nSeed == nLastSeed && nSampleTime > nLastSampleTime && nHostTime > nLastHostTime)
            nTicksPerFrame = static_cast<double>(nHostTime - nLastHostTime) / (nSampleTime - nLastSampleTime);
        else if (bAny && nSeed == nLastSeed && nSampleTime == nLastSampleTime)
            return;
        else
            nTicksPerFrame = nNominalTicksPerFrame;
        bAny = true;
        nLastSampleTime = nSampleTime;
        nLastHostTime = nHostTime;
        nLastSeed = nSeed;
    }

    uint64_t HostTimeOf(double nSampleTime) const noexcept {
        double const nOffset = (nSampleTime - nLastSampleTime) * nTicksPerFrame;
        return nLastHostTime + static_cast<uint64_t>(static_cast<int64_t>(nOffset));
    }
    double SampleTimeAt(uint64_t nHostTime) const noexcept {
        return nLastSampleTime + static_cast<double>(static_cast<int64_t>(nHostTime - nLastHostTime)) / nTicksPerFrame;
    }
    double TicksPerFrame() const noexcept { return nTicksPerFrame; }
    double NominalTicksPerFrame() const noexcept { return nNominalTicksPerFrame; }

private:
    double nNominalTicksPerFrame;
    double nTicksPerFrame;
    bool bAny = false;
    double nLastSampleTime = 0;
    uint64_t nLastHostTime = 0;
    uint64_t nLastSeed = 0;
};
