// The road from the thread that reads files to the device's IO thread.
#pragma once

#include "tools/audio/frames.h"

#include <atomic>
#include <semaphore>
#include <vector>

// A ring of frames between one writing and one reading thread. The reader is the IO thread: its side takes no lock,
// allocates nothing and never waits; it makes a system call only when the writer is asleep.
class AudioQueue {
public:
    // Room for nFrames, a power of two and at least twice what one Read asks for.
    explicit AudioQueue(size_t nFrames);

    // Writing thread. Waits for room; returns false when Stop ended the wait (what did not fit is dropped).
    bool Write(float const* pFrames, size_t nFrames);
    // Writing thread: no more will come.
    void Finish() noexcept { bFinished.store(true, std::memory_order_release); }

    // Reading thread. All of nFrames or, once finished, what is left; 0 while that is not there yet.
    size_t Read(float* pFrames, size_t nFrames) noexcept;
    // Reading thread: finished and empty.
    bool AtEnd() const noexcept;

    // Any thread: ends a wait of the writer for good.
    void Stop() noexcept;

private:
    size_t Free() const noexcept;
    size_t WakeRoom() const noexcept { return (nMask + 1) / 2; } // a full queue's writer sleeps until it is half empty

    std::vector<float> arRing;
    size_t nMask;
    std::atomic<uint64_t> nWritten{0}; // frames ever, by the writer
    std::atomic<uint64_t> nRead{0};    // frames ever, by the reader
    std::atomic<bool> bFinished{false};
    std::atomic<bool> bStopped{false};
    std::atomic<bool> bWriterSleeps{false};
    std::counting_semaphore<> oRoom{0};
};
