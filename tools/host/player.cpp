#include "tools/host/player.h"

#include "base/mutex.h"
#include "tools/process/failure.h"

#include <algorithm>

namespace {

constexpr size_t kQueueFrames = 1 << 16; // 1.5 s: the machine may be busy that long
constexpr size_t kBlockFrames = 1024;

} // namespace

struct Player::Shared {
    explicit Shared(std::unique_ptr<AudioSource> pPlayed) : pSource(std::move(pPlayed)), oQueue(kQueueFrames) {}

    void ReadAll() {
        std::vector<float> arBlock(kBlockFrames * kChannels);
        try {
            size_t nRead = kBlockFrames;
            while (nRead == kBlockFrames) {
                nRead = pSource->Read(arBlock.data(), kBlockFrames);
                if (!oQueue.Write(arBlock.data(), nRead))
                    break;
            }
        } catch (std::exception const& oWhy) {
            LScopedLock oLock(mtx);
            szFailure = oWhy.what();
        }
        bDone.store(true); // first: who sees the end may join this thread
        oQueue.Finish();
    }

    std::unique_ptr<AudioSource> pSource;
    AudioQueue oQueue;
    std::atomic<bool> bDone{false};
    LMutex mtx;
    std::optional<std::string> szFailure GUARDED_BY(mtx);
};

Player::Player(std::unique_ptr<AudioSource> pPlayed)
    : pShared(std::make_shared<Shared>(std::move(pPlayed))), oFrameCount(pShared->pSource->FrameCount()),
      nRate(pShared->pSource->Rate()), oReader([pKept = pShared] { pKept->ReadAll(); }) {}

Player::~Player() {
    pShared->oQueue.Stop();
    // A pipe that nobody writes to can hold the thread in a read for ever; what it uses is its own then.
    bool const bPipe = !oFrameCount.has_value();
    if (bPipe && !pShared->bDone.load())
        oReader.detach();
    else
        oReader.join();
}

CycleSource::Cycle Player::FillCycle(float* pFrames, UInt32 nFrames) noexcept {
    nInCycle = pShared->oQueue.Read(pFrames, nFrames);
    if (nInCycle == 0)
        return pShared->oQueue.AtEnd() ? Cycle::End : Cycle::Empty;
    std::fill(pFrames + nInCycle * kChannels, pFrames + nFrames * kChannels, 0.0f);
    return Cycle::Filled;
}

void Player::CycleWritten(float const* pFrames, UInt32) noexcept {
    oHash.Add(pFrames, nInCycle);
    oPeaks.Add(pFrames, nInCycle);
    nPlayed.fetch_add(nInCycle, std::memory_order_relaxed);
}

std::optional<std::string> Player::ReadFailure() const {
    LScopedLock oLock(pShared->mtx);
    return pShared->szFailure;
}
