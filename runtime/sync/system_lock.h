// A mutex by name that all processes of the machine share.
#pragma once

#include "runtime/sync/process_interface.h"

#include <sys/types.h>

// A System V semaphore with the value 1 while it is free. The kernel gives it back when its holder's process ends,
// however that ends. Processes exclude each other, and so do two locks within one process: it is not recursive. Any
// thread; Lock and Unlock of one object by one thread at a time.
class LSystemLockMutex {
public:
    // Finds the semaphore of that name, or makes it.
    explicit LSystemLockMutex(char const* szName) noexcept;
    LSystemLockMutex(LSystemLockMutex const&) = delete;
    LSystemLockMutex& operator=(LSystemLockMutex const&) = delete;

    // Tries every 10 ms, at most nTimeout / 10 times (rounded up) and at least once; kLNoTimeout: until it is there.
    // False when the time ran out, and also without a semaphore: the two can't be told apart.
    bool Lock(unsigned int nTimeout) noexcept;

    // Waits in the kernel, through interruptions. False without a semaphore, or when it is removed meanwhile.
    bool LockForever() noexcept;

    // Tries until the lock is there (true) or the process is to stop (false; asked about every 300 ms). Finds the
    // semaphore again when it has been removed, and makes anew one whose maker died before it had a value.
    bool Lock(LProcessInterface& oProcess);

    // Gives the lock back; to be called by the holder only. A semaphore that can't take it back, or that is free
    // although this process was the last to touch it, is broken, and is removed.
    void Unlock() noexcept;

    bool HasSemaphore() const noexcept { return nSemId >= 0; }

    // The key under which processes find the semaphore of a name; never 0.
    static key_t KeyFromName(char const* szName) noexcept;

protected:
    void RemoveSemaphore() noexcept;

private:
    int FindOrMake() const noexcept;
    int LockOrError(unsigned int nTimeout) noexcept;
    bool IsUnborn() const noexcept;
    void Renew() noexcept;

    key_t nKey;
    int nSemId; // of the semaphore set; -1 when there is none
};

// Holds the lock of a name from its construction to its end. The end of a forked child's copy changes nothing.
class LSystemLockMutexScope : private LSystemLockMutex {
public:
    // Waits for the lock until the process is to stop; does not wait when there can't be a semaphore. Throws what
    // `oProcess.IsToStop` throws, having removed the semaphore.
    LSystemLockMutexScope(LProcessInterface& oProcess, char const* szName);
    ~LSystemLockMutexScope();

    bool IsLocked() const noexcept { return bLocked; }

private:
    bool bLocked = false;
    pid_t nHolder = 0; // the process that locked it
};
