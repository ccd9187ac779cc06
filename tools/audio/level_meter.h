// How loud audio is: the peak of each channel as it passes, and the loudness of a whole recording.
#pragma once

#include "tools/audio/frames.h"

#include <atomic>
#include <optional>
#include <string>

// Peaks since they were last taken. Add belongs to one thread and neither locks nor allocates; Take may be called by
// another at the same time.
class PeakMeter {
public:
    struct Peaks {
        float nLeft = 0, nRight = 0; // linear, 1.0 is full scale
    };

    void Add(float const* pFrames, size_t nFrames) noexcept;
    Peaks Take() noexcept;

private:
    std::atomic<float> arPeaks[kChannels] = {};
};

// Linear to decibels below full scale; silence is -infinity.
double ToDecibels(double nLinear);
// "-3.0 dBFS", "silence".
std::string DecibelText(double nLinear);

// What a finished recording turned out to be.
struct FileFigures {
    uint64_t nFrames = 0;
    uint64_t nHash = 0;              // ContentHash of the interleaved floats
    double nPeak = 0;                // linear, the larger of both channels
    std::optional<double> nLoudness; // integrated, LUFS; none when too short or too quiet to tell
    double nRate = 0;                // Hz
};

// Reads the whole file. Throws Failure(Output) when it can't be read as the stereo float file that it should be.
FileFigures MeasureFile(std::string const& szPath);
