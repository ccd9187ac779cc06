#include "platform/dispatch/pool.h"

#include "platform/dispatch/thread.h"

namespace platform {

ThreadPool& ThreadPool::Shared() {
    static ThreadPool& oPool = *new ThreadPool;
    return oPool;
}

void ThreadPool::Submit(dispatch_block_t oBlock) {
    std::lock_guard oLock(mtx);
    lBlocks.push_back(std::move(oBlock));
    if (static_cast<int>(lBlocks.size()) > nIdle && nThreads < kMaximum &&
        StartThread("dispatch worker", [this] { Work(); }))
        ++nThreads;
    else
        cvWork.notify_one();
}

bool ThreadPool::WaitForBlock(std::unique_lock<std::mutex>& oLock) {
    ++nIdle;
    cvWork.wait_for(oLock, kIdleLife, [this] { return !lBlocks.empty() || nQuiescing; });
    --nIdle;
    return !lBlocks.empty();
}

void ThreadPool::Work() {
    std::unique_lock oLock(mtx);
    while (!lBlocks.empty() || WaitForBlock(oLock)) {
        dispatch_block_t oBlock = std::move(lBlocks.front());
        lBlocks.pop_front();
        oLock.unlock();
        oBlock();
        oBlock = nullptr; // what it captured goes before the lock is taken again
        oLock.lock();
    }
    --nThreads;
    cvEnded.notify_all();
}

bool ThreadPool::Quiesce(std::chrono::steady_clock::time_point oDeadline) {
    std::unique_lock oLock(mtx);
    ++nQuiescing;
    cvWork.notify_all();
    bool const bQuiet = cvEnded.wait_until(oLock, oDeadline, [this] { return nThreads == 0; });
    --nQuiescing;
    return bQuiet;
}

} // namespace platform
