// The threads behind the global queues and the serial ones.
#pragma once

#include <dispatch/dispatch.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace platform {

// Any thread. One pool a process, never destroyed: its threads outlive main's end.
class ThreadPool {
public:
    static ThreadPool& Shared();

    // Runs the block on one of the pool's threads, soon. A new thread is started when none is idle and there are fewer
    // than kMaximum; without one, the block waits for the next that becomes free.
    void Submit(dispatch_block_t oBlock);

    // Waits until no block is left and every thread has ended; false at the deadline.
    bool Quiesce(std::chrono::steady_clock::time_point oDeadline);

private:
    static constexpr int kMaximum = 64;
    static constexpr std::chrono::seconds kIdleLife{1};

    void Work();
    bool WaitForBlock(std::unique_lock<std::mutex>& oLock);

    std::mutex mtx; // guards what follows
    std::condition_variable cvWork, cvEnded;
    std::deque<dispatch_block_t> lBlocks;
    int nThreads = 0;
    int nIdle = 0;
    int nQuiescing = 0;
};

} // namespace platform
