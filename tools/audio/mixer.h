// Adds sources of one rate together.
#pragma once

#include "tools/audio/audio_source.h"

#include <vector>

// The sum of its sources, in their order, as long as the longest of them. Nothing is clipped or scaled: the samples are
// floats and may go beyond 1.0. A single source passes bit for bit. One thread at a time.
class Mixer : public AudioSource {
public:
    // At least one source, all at the same rate.
    explicit Mixer(std::vector<std::unique_ptr<AudioSource>> lToMix);

    size_t Read(float* pFrames, size_t nFrames) override;
    double Rate() const override { return lSources.front()->Rate(); }
    std::optional<uint64_t> FrameCount() const override;

private:
    std::vector<std::unique_ptr<AudioSource>> lSources;
    std::vector<float> arScratch;
};

// Throws Failure(Usage) when "-" stands twice.
void CheckStandardInputOnce(std::vector<std::string> const& lInputs);

// What to play: paths, or "-" for headerless audio of `oRaw` on `nStandardInput`. nRate is the device's, in Hz; 0 lets
// the first input decide (DeviceRateFor). Inputs of other rates are converted. Throws Failure(Input), and
// Failure(Usage) when "-" stands twice.
std::unique_ptr<Mixer> OpenInputs(std::vector<std::string> const& lInputs, RawFormat const& oRaw, int nStandardInput,
                                  double nRate);
