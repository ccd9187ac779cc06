#include "tools/audio/mixer.h"

#include "tools/audio/rate_converter.h"
#include "tools/process/failure.h"

#include <algorithm>

Mixer::Mixer(std::vector<std::unique_ptr<AudioSource>> lToMix) : lSources(std::move(lToMix)) {}

size_t Mixer::Read(float* pFrames, size_t nFrames) {
    // The first source lands in place: adding it to silence would turn its negative zeros into positive ones.
    size_t nLongest = lSources.front()->Read(pFrames, nFrames);
    arScratch.resize(nFrames * kChannels);
    for (size_t n = 1; n < lSources.size(); ++n) {
        size_t const nRead = lSources[n]->Read(arScratch.data(), nFrames);
        size_t const nShared = std::min(nRead, nLongest) * kChannels;
        for (size_t i = 0; i < nShared; ++i)
            pFrames[i] += arScratch[i];
        std::copy(arScratch.data() + nShared, arScratch.data() + std::max(nShared, nRead * kChannels),
                  pFrames + nShared);
        nLongest = std::max(nLongest, nRead);
    }
    return nLongest;
}

std::optional<uint64_t> Mixer::FrameCount() const {
    uint64_t nLongest = 0;
    for (auto const& pSource : lSources) {
        auto const nFrames = pSource->FrameCount();
        if (!nFrames)
            return std::nullopt;
        nLongest = std::max(nLongest, *nFrames);
    }
    return nLongest;
}

void CheckStandardInputOnce(std::vector<std::string> const& lInputs) {
    if (std::count(lInputs.begin(), lInputs.end(), "-") > 1)
        throw Failure(ExitCode::Usage, "standard input (-) can be played only once.");
}

std::unique_ptr<Mixer> OpenInputs(std::vector<std::string> const& lInputs, RawFormat const& oRaw, int nStandardInput,
                                  double nRate) {
    CheckStandardInputOnce(lInputs);
    std::vector<std::unique_ptr<AudioSource>> lOpened;
    for (std::string const& szInput : lInputs)
        lOpened.push_back(szInput == "-" ? OpenRawAudio(nStandardInput, oRaw, "standard input")
                                         : OpenAudioFile(szInput));
    if (nRate == 0.0)
        nRate = DeviceRateFor(lOpened.front()->Rate());
    for (auto& pSource : lOpened)
        pSource = ConvertRate(std::move(pSource), nRate);
    return std::make_unique<Mixer>(std::move(lOpened));
}
