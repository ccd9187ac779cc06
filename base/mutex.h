// The library's plain mutex and its condition, the recursive mutex, and the scope that holds either.
#pragma once

#include "base/thread_annotations.h"

#include <pthread.h>

// A statically initialised, never destroyed, non-recursive mutex: usable before any constructor of the program has run
// and after the last destructor. Any thread.
class CAPABILITY("mutex") LMutex {
public:
    constexpr LMutex() noexcept = default;
    LMutex(LMutex const&) = delete;
    LMutex& operator=(LMutex const&) = delete;

    void Lock() noexcept ACQUIRE() { pthread_mutex_lock(&mtx); }
    void Unlock() noexcept RELEASE() { pthread_mutex_unlock(&mtx); }

private:
    friend class LCondition;
    pthread_mutex_t mtx = PTHREAD_MUTEX_INITIALIZER;
};

// What a thread waits on until another says that something under the mutex has changed. Usable and never destroyed, as
// LMutex. Any thread.
class LCondition {
public:
    constexpr LCondition() noexcept = default;
    LCondition(LCondition const&) = delete;
    LCondition& operator=(LCondition const&) = delete;

    // Gives the mutex up while it waits and holds it again on return, which may come without a reason: look again.
    void Wait(LMutex& mtxHeld) noexcept REQUIRES(mtxHeld) { pthread_cond_wait(&oCondition, &mtxHeld.mtx); }
    void WakeAll() noexcept { pthread_cond_broadcast(&oCondition); }

private:
    pthread_cond_t oCondition = PTHREAD_COND_INITIALIZER;
};

// A mutex that its holder may lock again. Its life is explicit, because the library's tables set it up in a fixed order
// at load and take it down at unload: until Create has succeeded, and after Destroy, it must not be locked.
class CAPABILITY("mutex") LRecursiveMutex {
public:
    constexpr LRecursiveMutex() noexcept = default;
    LRecursiveMutex(LRecursiveMutex const&) = delete;
    LRecursiveMutex& operator=(LRecursiveMutex const&) = delete;

    // False when the attribute can't be had; the mutex is then left uninitialised.
    bool Create() noexcept {
        pthread_mutexattr_t attributes;
        if (pthread_mutexattr_init(&attributes) != 0)
            return false;
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        bool const bCreated = pthread_mutex_init(&mtx, &attributes) == 0;
        pthread_mutexattr_destroy(&attributes);
        return bCreated;
    }
    void Destroy() noexcept { pthread_mutex_destroy(&mtx); }

    void Lock() noexcept ACQUIRE() { pthread_mutex_lock(&mtx); }
    void Unlock() noexcept RELEASE() { pthread_mutex_unlock(&mtx); }

private:
    pthread_mutex_t mtx = PTHREAD_MUTEX_INITIALIZER;
};

// Holds a mutex from construction to the end of the scope.
template <class Mutex>
class SCOPED_CAPABILITY LScopedLock {
public:
    explicit LScopedLock(Mutex& mtxToHold) noexcept ACQUIRE(mtxToHold) : mtx(mtxToHold) { mtx.Lock(); }
    ~LScopedLock() RELEASE() { mtx.Unlock(); }
    LScopedLock(LScopedLock const&) = delete;
    LScopedLock& operator=(LScopedLock const&) = delete;

private:
    Mutex& mtx;
};
