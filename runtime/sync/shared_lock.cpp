#include "runtime/sync/shared_lock.h"

void LLockObjectShared::LockShared() noexcept NO_THREAD_SAFETY_ANALYSIS {
    LScopedLock oLock(mtxGuard);
    AddReader();
}

void LLockObjectShared::UnlockShared() noexcept NO_THREAD_SAFETY_ANALYSIS {
    LScopedLock oLock(mtxGuard);
    RemoveReader();
}

void LLockObjectShared::LockExclusive() noexcept NO_THREAD_SAFETY_ANALYSIS {
    mtxGuard.Lock();
    WaitForNoReaders();
}

void LLockObjectShared::UnlockExclusive() noexcept NO_THREAD_SAFETY_ANALYSIS {
    mtxGuard.Unlock();
}

void LLockObjectShared::UpgradeLock() noexcept NO_THREAD_SAFETY_ANALYSIS {
    mtxGuard.Lock();
    RemoveReader(); // and tells the lockers that wait: nobody else would, if this was the last shared holder
    WaitForNoReaders();
}

void LLockObjectShared::DowngradeLock() noexcept NO_THREAD_SAFETY_ANALYSIS {
    AddReader();
    mtxGuard.Unlock();
}

void LLockObjectShared::AddReader() noexcept {
    oNoReaders.Reset();
    ++nReaders;
}

void LLockObjectShared::RemoveReader() noexcept {
    if (--nReaders == 0)
        oNoReaders.Signal();
}

void LLockObjectShared::WaitForNoReaders() noexcept {
    while (nReaders > 0) {
        mtxGuard.Unlock();
        if (!oNoReaders.WaitSignal(kLNoTimeout))
            LSleep(1); // no descriptor was left for the event
        mtxGuard.Lock();
    }
}
