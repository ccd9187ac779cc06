// Groups and semaphores.
#include "platform/dispatch/object.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

namespace platform {
namespace {

// What waits for a group to become empty. Holds its queue.
struct Notice {
    dispatch_queue_t pQueue;
    dispatch_block_t oBlock;

    void Send() {
        dispatch_async(pQueue, std::move(oBlock));
        dispatch_release(pQueue);
    }
};

struct Group final : dispatch_group_s {
    DispatchHeader oHeader{{1}, [](dispatch_object_t pObject) { delete static_cast<Group*>(pObject); }};
    std::mutex mtx; // guards what follows
    std::condition_variable cvEmpty;
    uint64_t nEntered = 0;
    std::vector<Notice> lNotices;
};

struct Semaphore final : dispatch_semaphore_s {
    DispatchHeader oHeader{{1}, [](dispatch_object_t pObject) { delete static_cast<Semaphore*>(pObject); }};
    std::mutex mtx; // guards what follows
    std::condition_variable cvGiven;
    intptr_t nValue = 0;
    intptr_t nWaiting = 0;
};

} // namespace
} // namespace platform

using namespace platform;

dispatch_group_t dispatch_group_create(void) {
    return new Group;
}

void dispatch_group_enter(dispatch_group_t group) {
    auto* const pGroup = static_cast<Group*>(group);
    std::lock_guard oLock(pGroup->mtx);
    if (pGroup->nEntered++ == 0)
        dispatch_retain(group); // dropped by the leave that empties the group
}

void dispatch_group_leave(dispatch_group_t group) {
    auto* const pGroup = static_cast<Group*>(group);
    std::vector<Notice> lNotices;
    {
        std::lock_guard oLock(pGroup->mtx);
        if (pGroup->nEntered == 0) {
            std::fputs("dispatch_group_leave: the group is empty\n", stderr);
            std::abort();
        }
        if (--pGroup->nEntered != 0)
            return;
        lNotices.swap(pGroup->lNotices);
        pGroup->cvEmpty.notify_all();
    }
    for (Notice& oNotice : lNotices)
        oNotice.Send();
    dispatch_release(group);
}

void dispatch_group_async(dispatch_group_t group, dispatch_queue_t queue, dispatch_block_t block) {
    dispatch_group_enter(group);
    try {
        dispatch_async(queue, [group, oBlock = std::move(block)]() mutable {
            if (oBlock)
                oBlock();
            oBlock = nullptr;
            dispatch_group_leave(group);
        });
    } catch (std::bad_alloc const&) { // it is not going to run
        dispatch_group_leave(group);
        throw;
    }
}

void dispatch_group_notify(dispatch_group_t group, dispatch_queue_t queue, dispatch_block_t block) {
    auto* const pGroup = static_cast<Group*>(group);
    dispatch_retain(queue);
    Notice oNotice{queue, std::move(block)};
    {
        std::lock_guard oLock(pGroup->mtx);
        if (pGroup->nEntered != 0)
            return pGroup->lNotices.push_back(std::move(oNotice));
    }
    oNotice.Send();
}

intptr_t dispatch_group_wait(dispatch_group_t group, dispatch_time_t timeout) {
    auto* const pGroup = static_cast<Group*>(group);
    std::unique_lock oLock(pGroup->mtx);
    return WaitOn(pGroup->cvEmpty, oLock, timeout, [&] { return pGroup->nEntered == 0; }) ? 0 : 1;
}

dispatch_semaphore_t dispatch_semaphore_create(intptr_t value) {
    if (value < 0)
        return nullptr;
    auto* const pSemaphore = new Semaphore;
    pSemaphore->nValue = value;
    return pSemaphore;
}

intptr_t dispatch_semaphore_wait(dispatch_semaphore_t semaphore, dispatch_time_t timeout) {
    auto* const pSemaphore = static_cast<Semaphore*>(semaphore);
    std::unique_lock oLock(pSemaphore->mtx);
    ++pSemaphore->nWaiting;
    bool const bTaken = WaitOn(pSemaphore->cvGiven, oLock, timeout, [&] { return pSemaphore->nValue > 0; });
    --pSemaphore->nWaiting;
    if (bTaken)
        --pSemaphore->nValue;
    return bTaken ? 0 : 1;
}

// The notice goes out under the lock: a waiter that is through may free the semaphore.
intptr_t dispatch_semaphore_signal(dispatch_semaphore_t semaphore) {
    auto* const pSemaphore = static_cast<Semaphore*>(semaphore);
    std::lock_guard oLock(pSemaphore->mtx);
    ++pSemaphore->nValue;
    pSemaphore->cvGiven.notify_one();
    return pSemaphore->nWaiting >= pSemaphore->nValue ? 1 : 0;
}
