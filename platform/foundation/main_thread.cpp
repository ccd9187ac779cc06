#include "platform/foundation/main_thread.h"

#include "platform/dispatch/main_queue.h"

#include <Foundation/NSAutoreleasePool.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <pthread.h>
#include <utility>

namespace platform {
namespace {

// One call to be made. Holds its target and its argument.
struct Perform {
    NSObject* target;
    NSSelector selector;
    NSObject* argument;
    bool* done; // set, with the mutex held, after the call; null when nobody waits

    void Retain() const {
        target->retain();
        if (argument)
            argument->retain();
    }
    void Call() const {
        NSAutoreleasePool const pool;
        (target->*selector)(argument);
    }
    void Release() const {
        if (argument)
            argument->release();
        target->release();
    }
};

struct Performs {
    std::mutex mutex; // guards what follows
    std::condition_variable done;
    std::deque<Perform> waiting;

    static Performs& Shared() {
        static Performs& performs = *new Performs;
        return performs;
    }

    std::size_t Count() {
        std::lock_guard const lock(mutex);
        return waiting.size();
    }

    bool RunFirst() {
        std::unique_lock lock(mutex);
        if (waiting.empty())
            return false; // a run within the one before has made them all
        Perform const perform = waiting.front();
        waiting.pop_front();
        lock.unlock();
        perform.Call();
        perform.Release();
        if (perform.done) {
            lock.lock();
            *perform.done = true;
            done.notify_all();
        }
        return true;
    }
};

} // namespace

bool PerformQueued() {
    Performs& performs = Performs::Shared();
    std::size_t const count = performs.Count();
    for (std::size_t n = 0; n < count && performs.RunFirst(); ++n)
        ;
    return count > 0;
}

} // namespace platform

void NSObject::performSelectorOnMainThread(NSSelector selector, NSObject* withObject, bool waitUntilDone) {
    bool const isMain = pthread_main_np() != 0;
    bool isDone = false;
    platform::Perform const perform{this, selector, withObject, waitUntilDone ? &isDone : nullptr};
    if (isMain && waitUntilDone)
        return perform.Call();
    perform.Retain();
    auto& performs = platform::Performs::Shared();
    std::unique_lock lock(performs.mutex);
    performs.waiting.push_back(perform);
    if (isMain)
        return; // the run loop looks at the list before it waits
    lock.unlock();
    platform::MainQueueWake();
    if (!waitUntilDone)
        return;
    lock.lock();
    performs.done.wait(lock, [&] { return isDone; });
}
