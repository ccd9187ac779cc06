#include "platform/dispatch/queue.h"

#include "platform/dispatch/main_queue.h"
#include "platform/dispatch/pool.h"

namespace platform {

Queue::Queue(Kind eKindOfQueue, char const* szLabelOfQueue)
    : oHeader{{1},
              eKindOfQueue == Kind::Serial ? [](dispatch_object_t pObject) { delete static_cast<Queue*>(pObject); }
                                           : static_cast<void (*)(dispatch_object_t)>(nullptr)},
      eKind(eKindOfQueue), szLabel(szLabelOfQueue ? szLabelOfQueue : "") {}

void Queue::Async(dispatch_block_t oBlock) {
    if (eKind == Kind::Global)
        return ThreadPool::Shared().Submit(std::move(oBlock));
    if (eKind == Kind::Main)
        return MainQueueSubmit(std::move(oBlock));
    std::lock_guard oLock(mtx);
    lWaiting.push_back(std::move(oBlock));
    if (!bRunning)
        HandToPool();
}

// With mtx held. The pool's block keeps the queue until nothing waits any more.
void Queue::HandToPool() {
    bRunning = true;
    dispatch_retain(this);
    ThreadPool::Shared().Submit([this] { RunWaiting(); });
}

void Queue::RunWaiting() {
    std::unique_lock oLock(mtx);
    while (!lWaiting.empty()) {
        dispatch_block_t oBlock = std::move(lWaiting.front());
        lWaiting.pop_front();
        oLock.unlock();
        oBlock();
        oBlock = nullptr;
        oLock.lock();
    }
    bRunning = false;
    oLock.unlock();
    dispatch_release(this);
}

// On the calling thread, which has claimed the queue by setting bRunning.
void Queue::RunHere(dispatch_block_t const& oBlock) {
    oBlock();
    std::lock_guard oLock(mtx);
    bRunning = false;
    if (!lWaiting.empty())
        HandToPool();
}

void Queue::Sync(dispatch_block_t const& oBlock) {
    if (eKind == Kind::Global)
        return oBlock();
    if (eKind == Kind::Serial) {
        std::unique_lock oLock(mtx);
        if (!bRunning && lWaiting.empty()) {
            bRunning = true;
            oLock.unlock();
            return RunHere(oBlock);
        }
    }
    dispatch_semaphore_t const pDone = dispatch_semaphore_create(0);
    Async([&oBlock, pDone] {
        oBlock();
        dispatch_semaphore_signal(pDone);
    });
    dispatch_semaphore_wait(pDone, DISPATCH_TIME_FOREVER);
    dispatch_release(pDone);
}

} // namespace platform

using platform::Queue;

dispatch_queue_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags) {
    static Queue& oQueue = *new Queue(Queue::Kind::Global, "root.default");
    switch (identifier) {
    case DISPATCH_QUEUE_PRIORITY_HIGH:
    case DISPATCH_QUEUE_PRIORITY_DEFAULT:
    case DISPATCH_QUEUE_PRIORITY_LOW:
    case DISPATCH_QUEUE_PRIORITY_BACKGROUND: return flags == 0 ? &oQueue : nullptr;
    default: return nullptr;
    }
}

dispatch_queue_t dispatch_get_main_queue(void) {
    static Queue& oQueue = *new Queue(Queue::Kind::Main, "main-thread");
    return &oQueue;
}

dispatch_queue_t dispatch_queue_create(char const* label, dispatch_queue_attr_t attr) {
    return attr == DISPATCH_QUEUE_SERIAL ? new Queue(Queue::Kind::Serial, label) : nullptr;
}

char const* dispatch_queue_get_label(dispatch_queue_t queue) {
    return Queue::From(queue)->Label();
}

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) {
    if (block)
        Queue::From(queue)->Async(std::move(block));
}

void dispatch_sync(dispatch_queue_t queue, dispatch_block_t const& block) {
    if (block)
        Queue::From(queue)->Sync(block);
}
