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
    std::deque<dispatch_block_t> lNow;
    {
        std::lock_guard oLock(oQueue.mtx);
        lNow.swap(oQueue.lBlocks);
    }
    bool const bAny = !lNow.empty();
    for (; !lNow.empty(); lNow.pop_front())
        lNow.front()();
    return bAny;
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
