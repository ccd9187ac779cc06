#include "tools/audio/level_meter.h"

#include "tools/audio/content_hash.h"
#include "tools/process/failure.h"

#include <ebur128.h>
#include <sndfile.hh>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

void PeakMeter::Add(float const* pFrames, size_t nFrames) noexcept {
    float arBlock[kChannels] = {};
    for (size_t n = 0; n < nFrames; ++n)
        for (size_t c = 0; c < kChannels; ++c)
            arBlock[c] = std::max(arBlock[c], std::fabs(pFrames[n * kChannels + c]));
    for (size_t c = 0; c < kChannels; ++c) {
        float nSeen = arPeaks[c].load(std::memory_order_relaxed);
        while (nSeen < arBlock[c] && !arPeaks[c].compare_exchange_weak(nSeen, arBlock[c], std::memory_order_relaxed)) {
        }
    }
}

PeakMeter::Peaks PeakMeter::Take() noexcept {
    return {arPeaks[0].exchange(0, std::memory_order_relaxed), arPeaks[1].exchange(0, std::memory_order_relaxed)};
}

double ToDecibels(double nLinear) {
    return 20.0 * std::log10(nLinear);
}

std::string DecibelText(double nLinear) {
    if (!(nLinear > 0))
        return "silence";
    char szText[32];
    std::snprintf(szText, sizeof szText, "%.1f dBFS", ToDecibels(nLinear));
    return szText;
}

FileFigures MeasureFile(std::string const& szPath) {
    SndfileHandle oFile(szPath);
    if (!oFile || oFile.error() != SF_ERR_NO_ERROR || oFile.channels() != static_cast<int>(kChannels))
        throw Failure(ExitCode::Output, "cannot read the recording " + szPath + " back: " + oFile.strError());
    struct Closer {
        void operator()(ebur128_state* p) const { ebur128_destroy(&p); }
    };
    std::unique_ptr<ebur128_state, Closer> const pMeter(
        ebur128_init(kChannels, static_cast<unsigned long>(oFile.samplerate()), EBUR128_MODE_I));
    FileFigures oFigures;
    oFigures.nRate = oFile.samplerate();
    ContentHash oHash;
    PeakMeter oPeaks;
    std::vector<float> arBlock(4096 * kChannels);
    while (auto const nRead = static_cast<size_t>(oFile.readf(arBlock.data(), 4096))) {
        oHash.Add(arBlock.data(), nRead);
        oPeaks.Add(arBlock.data(), nRead);
        if (pMeter)
            ebur128_add_frames_float(pMeter.get(), arBlock.data(), nRead);
        oFigures.nFrames += nRead;
    }
    oFigures.nHash = oHash.Value();
    PeakMeter::Peaks const oPeak = oPeaks.Take();
    oFigures.nPeak = std::max(oPeak.nLeft, oPeak.nRight);
    double nLoudness = 0;
    if (pMeter && ebur128_loudness_global(pMeter.get(), &nLoudness) == EBUR128_SUCCESS && std::isfinite(nLoudness))
        oFigures.nLoudness = nLoudness;
    return oFigures;
}
