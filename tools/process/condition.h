// Waiting for something that a mutex guards.
#pragma once

#include "base/mutex.h"

#include <chrono>
#include <condition_variable>

// A condition variable for LMutex. Any thread.
class Condition {
public:
    void NotifyAll() noexcept { oCondition.notify_all(); }

    // Waits until bReady() is true, calling it with the mutex held; gives up at the deadline. Returns what it said
    // last.
    template <class Ready>
    bool WaitUntil(LMutex& mtx, std::chrono::steady_clock::time_point oDeadline, Ready const& bReady) REQUIRES(mtx) {
        Lockable oLockable{mtx};
        return oCondition.wait_until(oLockable, oDeadline, bReady);
    }
    template <class Ready>
    void Wait(LMutex& mtx, Ready const& bReady) REQUIRES(mtx) {
        Lockable oLockable{mtx};
        oCondition.wait(oLockable, bReady);
    }

private:
    // The library's mutex under the names that the standard asks for.
    struct Lockable {
        LMutex& mtxHeld;
        void lock() NO_THREAD_SAFETY_ANALYSIS { mtxHeld.Lock(); }     // the condition variable's: held on return
        void unlock() NO_THREAD_SAFETY_ANALYSIS { mtxHeld.Unlock(); } // and taken again before it returns
    };

    std::condition_variable_any oCondition;
};
