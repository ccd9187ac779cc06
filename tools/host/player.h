// Plays a source to the device: a thread reads and mixes ahead, the IO thread takes cycles.
#pragma once

#include "tools/audio/audio_queue.h"
#include "tools/audio/audio_source.h"
#include "tools/audio/content_hash.h"
#include "tools/audio/level_meter.h"
#include "tools/host/io_thread.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>

// The last, partial cycle is filled up with silence. A cycle for which the source has not delivered yet, because a pipe
// is slow, is held back rather than filled with silence: what is recorded is then what was sent through the pipe.
class Player : public CycleSource {
public:
    // Starts reading at once.
    explicit Player(std::unique_ptr<AudioSource> pPlayed);
    ~Player() override; // the reading thread may sit in a read of a pipe: it is then left to it,
    Player(Player const&) = delete;
    Player& operator=(Player const&) = delete;

    Cycle FillCycle(float* pFrames, UInt32 nFrames) noexcept override;
    void CycleWritten(float const* pFrames, UInt32 nFrames) noexcept override;

    // Any thread.
    uint64_t FramesPlayed() const noexcept { return nPlayed.load(std::memory_order_relaxed); } // silence not counted
    std::optional<uint64_t> FrameCount() const { return oFrameCount; }
    double Rate() const noexcept { return nRate; }
    PeakMeter::Peaks TakePeaks() noexcept { return oPeaks.Take(); }

    // After IO has stopped: of the frames played; and why reading failed, when it did (with how).
    uint64_t Hash() const noexcept { return oHash.Value(); }
    std::optional<std::string> ReadFailure() const;

private:
    struct Shared; // what the reading thread uses, kept alive by it

    std::shared_ptr<Shared> pShared;
    std::optional<uint64_t> oFrameCount;
    double nRate;
    std::thread oReader;
    size_t nInCycle = 0; // frames of the current cycle that are the source's; IO thread
    ContentHash oHash;   // IO thread
    PeakMeter oPeaks;
    std::atomic<uint64_t> nPlayed{0};
};
