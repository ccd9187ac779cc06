#include "runtime/threads/detached_thread.h"

#include <utility>

int LDetachedThread::StartDetached(LDetachedThreadsOwner& oOwner, int nWantedPriority) {
    // Held until the last touch of this object: the thread can't end, and so not delete it, before.
    LScopedLock oLock(mtxThread);
    pOwner = &oOwner;
    if (int const nError = CreateThread(nWantedPriority, _ThreadCallback); nError != 0)
        return nError;
    if (int const nWait = ProcessWaitSignalForever(oStarted); nWait != eWaitSignaled)
        return nWait;
    SetPriority(nWantedPriority);
    return 0;
}

// Looks itself up before its end is signalled. After that it may be deleted any time, and another thread be listed
// under its address; and the owner may be gone.
void* LDetachedThread::_ThreadCallback(void* pThread) {
    auto* const pThis = static_cast<LDetachedThread*>(static_cast<LThread*>(pThread));
    pThis->RunBody();
    LDetachedThreadsOwner* const pOwner = pThis->pOwner;
    std::unique_ptr<LDetachedThread> pMine = pOwner->TakeToLeave(pThis);
    pThis->EndRun();
    if (pMine) {
        pMine.reset();
        pOwner->HasLeft();
    }
    return nullptr;
}

LDetachedThread& LDetachedThreadsOwner::Add(std::unique_ptr<LDetachedThread> pThread) noexcept {
    LScopedLock oLock(mtxThreads);
    return lThreads.Insert(std::move(pThread));
}

int LDetachedThreadsOwner::StartThread(std::unique_ptr<LDetachedThread> pThread, int nPriority) {
    LDetachedThread* const pListed = pThread.get();
    std::unique_ptr<LDetachedThread> pFailed; // deleted after its mutex is released
    LScopedLock oLock(pListed->mtxThread);
    Add(std::move(pThread));
    int const nResult = pListed->StartDetached(*this, nPriority);
    if (!pListed->bRunning)
        pFailed = Take(pListed);
    return nResult;
}

void LDetachedThreadsOwner::Destruct(LDetachedThread* pThread) {
    if (auto const pTaken = Take(pThread))
        pTaken->StopThreadNow();
}

void LDetachedThreadsOwner::StopThreadsSoon() noexcept {
    LScopedLock oLock(mtxThreads);
    for (auto& oThread : lThreads)
        oThread.StopThreadSoon();
}

void LDetachedThreadsOwner::StopThreadsNow() {
    StopThreadsSoon();
    while (auto const pThread = TakeFirst())
        pThread->StopThreadNow();
    while (IsAnyLeaving())
        oNoneLeaving.WaitSignal(kLNoTimeout);
}

bool LDetachedThreadsOwner::WaitToStop(LProcessInterface& oProcess, unsigned int nTimeout) {
    LDeadline const oDeadline(nTimeout);
    while (auto pThread = TakeFirst())
        if (!WaitForEnd(*pThread, oProcess, oDeadline)) {
            Add(std::move(pThread));
            return false;
        }
    return WaitForLeaving(oProcess, oDeadline);
}

bool LDetachedThreadsOwner::WaitForEnd(LDetachedThread& oThread, LProcessInterface& oProcess,
                                       LDeadline const& oDeadline) {
    unsigned int const nLeft = oDeadline.TimeLeft();
    if (nLeft < 1)
        return false;
    return !oThread.HasStarted() || oProcess.ProcessWaitSignal(oThread.GetEnded(), nLeft) == eWaitSignaled;
}

bool LDetachedThreadsOwner::WaitForLeaving(LProcessInterface& oProcess, LDeadline const& oDeadline) {
    while (IsAnyLeaving()) {
        unsigned int const nLeft = oDeadline.TimeLeft();
        if (nLeft < 1 || oProcess.ProcessWaitSignal(oNoneLeaving, nLeft) != eWaitSignaled)
            return false;
    }
    return true;
}

std::unique_ptr<LDetachedThread> LDetachedThreadsOwner::TakeFirst() noexcept {
    LScopedLock oLock(mtxThreads);
    return lThreads.UnlinkFirst();
}

std::unique_ptr<LDetachedThread> LDetachedThreadsOwner::Take(LDetachedThread const* pThread) noexcept {
    LScopedLock oLock(mtxThreads);
    return lThreads.Unlink([pThread](LDetachedThread const& oListed) { return &oListed == pThread; });
}

std::unique_ptr<LDetachedThread> LDetachedThreadsOwner::TakeToLeave(LDetachedThread const* pThread) noexcept {
    LScopedLock oLock(mtxThreads);
    auto pTaken = lThreads.Unlink([pThread](LDetachedThread const& oListed) { return &oListed == pThread; });
    if (pTaken) {
        oNoneLeaving.Reset();
        ++nLeaving;
    }
    return pTaken;
}

void LDetachedThreadsOwner::HasLeft() noexcept {
    LScopedLock oLock(mtxThreads);
    if (--nLeaving == 0)
        oNoneLeaving.Signal();
}

bool LDetachedThreadsOwner::IsAnyLeaving() noexcept {
    LScopedLock oLock(mtxThreads);
    return nLeaving > 0;
}
