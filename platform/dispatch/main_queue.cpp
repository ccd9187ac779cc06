#include "platform/dispatch/main_queue.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace platform {
namespace {

struct MainQueue {
    std::mutex mtx; // guards what follows
    std::condition_variable cvWork;
    std::deque<dispatch_block_t> lBlocks;
    bool bWoken = false;
};

MainQueue& Shared() {
    static MainQueue& oQueue = *new MainQueue;
    return oQueue;
}

} // namespace

void MainQueueSubmit(dispatch_block_t oBlock) {
    MainQueue& oQueue = Shared();
    std::lock_guard oLock(oQueue.mtx);
    oQueue.lBlocks.push_back(std::move(oBlock));
    oQueue.cvWork.notify_one();
}

bool MainQueueDrain() {
    MainQueue& oQueue = Shared();
    std::unique_lock oLock(oQueue.mtx);
    std::size_t const nNow = oQueue.lBlocks.size();
    for (std::size_t n = 0; n < nNow && !oQueue.lBlocks.empty(); ++n) { // a block may drain the others itself
        dispatch_block_t oBlock = std::move(oQueue.lBlocks.front());
        oQueue.lBlocks.pop_front();
        oLock.unlock();
        oBlock();
        oBlock = nullptr;
        oLock.lock();
    }
    return nNow > 0;
}

bool MainQueueWait(std::optional<std::chrono::steady_clock::time_point> oUntil) {
    MainQueue& oQueue = Shared();
    std::unique_lock oLock(oQueue.mtx);
    auto const IsOver = [&] { return !oQueue.lBlocks.empty() || oQueue.bWoken; };
    if (oUntil)
        oQueue.cvWork.wait_until(oLock, *oUntil, IsOver);
    else
        oQueue.cvWork.wait(oLock, IsOver);
    oQueue.bWoken = false;
    return !oQueue.lBlocks.empty();
}

void MainQueueWake() {
    MainQueue& oQueue = Shared();
    std::lock_guard oLock(oQueue.mtx);
    oQueue.bWoken = true;
    oQueue.cvWork.notify_one();
}

} // namespace platform

void dispatch_main(void) {
    for (;;) {
        platform::MainQueueWait(std::nullopt);
        platform::MainQueueDrain();
    }
}
