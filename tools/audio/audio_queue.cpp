#include "tools/audio/audio_queue.h"

#include <algorithm>
#include <cstring>

AudioQueue::AudioQueue(size_t nFrames) : arRing(nFrames * kChannels), nMask(nFrames - 1) {}

size_t AudioQueue::Free() const noexcept {
    return static_cast<size_t>(nMask + 1 - (nWritten.load() - nRead.load()));
}

bool AudioQueue::Write(float const* pFrames, size_t nFrames) {
    while (nFrames > 0) {
        if (bStopped.load())
            return false;
        size_t const nAt = static_cast<size_t>(nWritten.load(std::memory_order_relaxed)) & nMask;
        size_t const nNow = std::min({nFrames, Free(), nMask + 1 - nAt});
        if (nNow == 0) {
            // Says that it sleeps first and looks again after: a read in between either shows as room or wakes it.
            bWriterSleeps.store(true);
            if (Free() >= WakeRoom() || bStopped.load()) {
                if (!bWriterSleeps.exchange(false))
                    oRoom.acquire(); // a wake-up is on its way; it must not be left for the next sleep
            } else {
                oRoom.acquire();
            }
            continue;
        }
        std::memcpy(&arRing[nAt * kChannels], pFrames, nNow * kBytesPerFrame);
        nWritten.fetch_add(nNow);
        pFrames += nNow * kChannels;
        nFrames -= nNow;
    }
    return true;
}

size_t AudioQueue::Read(float* pFrames, size_t nFrames) noexcept {
    bool const bAll = bFinished.load(std::memory_order_acquire); // before the count: what was written last is seen
    uint64_t const nFrom = nRead.load(std::memory_order_relaxed);
    auto const nThere = static_cast<size_t>(nWritten.load() - nFrom);
    if (nThere < nFrames && !bAll)
        return 0;
    size_t const nTake = std::min(nThere, nFrames);
    size_t const nAt = static_cast<size_t>(nFrom) & nMask;
    size_t const nFirst = std::min(nTake, nMask + 1 - nAt);
    std::memcpy(pFrames, arRing.data() + nAt * kChannels, nFirst * kBytesPerFrame);
    std::memcpy(pFrames + nFirst * kChannels, arRing.data(), (nTake - nFirst) * kBytesPerFrame);
    nRead.store(nFrom + nTake);
    if (Free() >= WakeRoom() && bWriterSleeps.exchange(false))
        oRoom.release();
    return nTake;
}

bool AudioQueue::AtEnd() const noexcept {
    return bFinished.load(std::memory_order_acquire) && nRead.load() == nWritten.load();
}

void AudioQueue::Stop() noexcept {
    bStopped.store(true);
    if (bWriterSleeps.exchange(false))
        oRoom.release();
}
