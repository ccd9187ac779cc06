// A lock with shared and exclusive holders, inside one process.
#pragma once

#include "base/mutex.h"
#include "runtime/sync/signal_object.h"

// Any number of shared holders, or one exclusive holder. Shared holders come first: new ones are let in while an
// exclusive locker waits. Not recursive for the exclusive holder, and a shared holder gets the exclusive lock by
// UpgradeLock only. An exclusive lock is released (or downgraded) by the thread that took it, since it is the holding
// of a mutex; a shared one may be released by any thread. Any thread otherwise.
class CAPABILITY("shared lock") LLockObjectShared {
public:
    LLockObjectShared() noexcept = default;
    LLockObjectShared(LLockObjectShared const&) = delete;
    LLockObjectShared& operator=(LLockObjectShared const&) = delete;

    void LockShared() noexcept ACQUIRE_SHARED();
    void UnlockShared() noexcept RELEASE_SHARED();

    void LockExclusive() noexcept ACQUIRE();
    void UnlockExclusive() noexcept RELEASE();

    // A shared holder becomes the exclusive one, once the other shared holders have left. Another exclusive holder may
    // come in between: what was read under the shared lock is to be read again.
    void UpgradeLock() noexcept RELEASE_SHARED() ACQUIRE();

    // The exclusive holder becomes a shared one, with nobody in between.
    void DowngradeLock() noexcept RELEASE() ACQUIRE_SHARED();

private:
    void AddReader() noexcept REQUIRES(mtxGuard);
    void RemoveReader() noexcept REQUIRES(mtxGuard);
    void WaitForNoReaders() noexcept REQUIRES(mtxGuard);

    LMutex mtxGuard;          // holding it is the exclusive lock
    LSignalObject oNoReaders; // signalled when the last shared holder leaves, reset when one comes
    int nReaders GUARDED_BY(mtxGuard) = 0;
};
