#include "tools/audio/rate_converter.h"

#include "tools/process/failure.h"

#include <samplerate.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <vector>

namespace {

class ConvertedSource : public AudioSource {
public:
    ConvertedSource(std::unique_ptr<AudioSource> pFrom, double nTo)
        : pSource(std::move(pFrom)), nRate(nTo), nRatio(nTo / pSource->Rate()), arInput(kBlockFrames * kChannels) {
        int nError = 0;
        pState = src_callback_new(&ConvertedSource::Feed, SRC_SINC_BEST_QUALITY, kChannels, &nError, this);
        if (!pState || !src_is_valid_ratio(nRatio)) {
            src_delete(pState);
            throw Failure(ExitCode::Input, "cannot convert from " + std::to_string(std::lround(pSource->Rate())) +
                                               " to " + std::to_string(std::lround(nTo)) +
                                               " Hz: the rates are too far apart.");
        }
    }
    ~ConvertedSource() override { src_delete(pState); }
    ConvertedSource(ConvertedSource const&) = delete;
    ConvertedSource& operator=(ConvertedSource const&) = delete;

    size_t Read(float* pFrames, size_t nFrames) override {
        size_t nRead = 0;
        while (nRead < nFrames) {
            long const nGot =
                src_callback_read(pState, nRatio, static_cast<long>(nFrames - nRead), pFrames + nRead * kChannels);
            if (oPending)
                std::rethrow_exception(oPending);
            if (nGot <= 0)
                break;
            nRead += static_cast<size_t>(nGot);
        }
        return nRead;
    }

    double Rate() const override { return nRate; }

    std::optional<uint64_t> FrameCount() const override {
        auto const nFrames = pSource->FrameCount();
        if (!nFrames)
            return std::nullopt;
        return static_cast<uint64_t>(std::llround(static_cast<double>(*nFrames) * nRatio));
    }

private:
    static constexpr size_t kBlockFrames = 4096;

    // Called from C: a failure is carried past it and thrown again by Read.
    static long Feed(void* pContext, float** ppData) {
        auto* pThis = static_cast<ConvertedSource*>(pContext);
        *ppData = pThis->arInput.data();
        try {
            return static_cast<long>(pThis->pSource->Read(pThis->arInput.data(), kBlockFrames));
        } catch (...) {
            pThis->oPending = std::current_exception();
            return 0;
        }
    }

    std::unique_ptr<AudioSource> pSource;
    double nRate;
    double nRatio;
    std::vector<float> arInput;
    SRC_STATE* pState = nullptr;
    std::exception_ptr oPending;
};

} // namespace

std::unique_ptr<AudioSource> ConvertRate(std::unique_ptr<AudioSource> pSource, double nRate) {
    if (pSource->Rate() == nRate)
        return pSource;
    return std::make_unique<ConvertedSource>(std::move(pSource), nRate);
}

double DeviceRateFor(double nSourceRate) {
    if (std::find(std::begin(kDeviceRates), std::end(kDeviceRates), nSourceRate) != std::end(kDeviceRates))
        return nSourceRate;
    return std::fmod(nSourceRate, 11025.0) == 0.0 ? 44100.0 : 48000.0;
}
