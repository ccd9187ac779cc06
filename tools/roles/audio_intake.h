// Where a recorder's connections leave the audio that they receive, and its writing thread picks it up.
#pragma once

#include "base/mutex.h"
#include "tools/audio/frames.h"
#include "tools/process/condition.h"

#include <chrono>
#include <deque>
#include <vector>

// Bounded: what arrives while kMostPending bytes wait for the disk is dropped and counted. Adding costs a lock and a
// copy of the block. Any thread.
//
// One stream at a time is recorded. A device that connects anew sends on the new connection while the last blocks of
// the old one may still be on their way, so the blocks of a second connection wait until the first has ended and then
// follow it; when the first does not end, there are two devices, and the second one's audio is refused. What waits is
// bounded over all connections together: anybody who has the endpoint may make and end as many as he likes.
class AudioIntake {
public:
    struct Figures {
        uint64_t nBlocks = 0;        // accepted
        uint64_t nFrames = 0;        // in them
        uint64_t nDroppedBlocks = 0; // no room
        uint64_t nRefusedBlocks = 0; // not whole frames, or of a second device
    };

    // One message's bytes, copied. nConnection tells connections apart.
    void Add(long nConnection, void const* pBytes, size_t nByteCount) EXCLUDES(mtx);
    void ConnectionEnded(long nConnection) EXCLUDES(mtx);

    // Waits for audio and swaps it into arFrames (emptied first). False when closed and everything has been taken.
    bool Take(std::vector<float>& arFrames) EXCLUDES(mtx);
    // No more is accepted; Take hands out the rest.
    void Close() EXCLUDES(mtx);

    // Waits until nFrames have arrived in all, dropped ones included, as long as more keep coming: false when nothing
    // has come for that long.
    bool WaitForFrames(uint64_t nFrames, std::chrono::milliseconds nPatience) EXCLUDES(mtx);

    Figures Now() EXCLUDES(mtx);

    static constexpr size_t kMostPending = 64u << 20; // three minutes
    static constexpr size_t kMostWaiting = 1u << 20;  // behind the current connection: three seconds
    static constexpr size_t kMostWaiters = 64;        // connections

private:
    struct Waiting { // a connection behind the current one
        long nConnection;
        bool bEnded = false;
        std::vector<float> arSamples;
    };

    void Append(void const* pBytes, size_t nByteCount) REQUIRES(mtx);
    void Wait(long nConnection, void const* pBytes, size_t nByteCount) REQUIRES(mtx);
    Waiting* FindWaiting(long nConnection) REQUIRES(mtx);

    LMutex mtx;
    Condition oChanged;
    std::vector<float> arPending GUARDED_BY(mtx);
    long nCurrent GUARDED_BY(mtx) = 0; // the connection that is recorded; 0: none
    std::deque<Waiting> lWaiting GUARDED_BY(mtx);
    size_t nWaitingBytes GUARDED_BY(mtx) = 0; // in all of them
    uint64_t nArrivedFrames GUARDED_BY(mtx) = 0;
    bool bClosed GUARDED_BY(mtx) = false;
    Figures oFigures GUARDED_BY(mtx);
};
