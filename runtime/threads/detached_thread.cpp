#include "runtime/threads/detached_thread.h"

#include "runtime/threads/process_interface_void.h"

#include <utility>

namespace {

constexpr unsigned int kStopAgain = 100; // ms

std::unique_ptr<LDetachedThread> Unlink(LList<LDetachedThread>& lFrom, LDetachedThread const* pThread) noexcept {
    return lFrom.Unlink([pThread](LDetachedThread const& oListed) { return &oListed == pThread; });
}

} // namespace

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
    std::unique_ptr<LDetachedThread> pMine = pOwner->Take(pThis);
    pThis->EndRun();
    if (pMine)
        pOwner->Leave(std::move(pMine));
    return nullptr;
}

LDetachedThread& LDetachedThreadsOwner::Add(std::unique_ptr<LDetachedThread> pThread) noexcept {
    LScopedLock oLock(mtxThreads);
    return lThreads.Insert(std::move(pThread));
}

int LDetachedThreadsOwner::StartThread(std::unique_ptr<LDetachedThread> pThread, int nPriority) {
    LDetachedThread* const pListed = pThread.get();
    std::unique_ptr<LDetachedThread> pFailed;
    int nResult;
    {
        LScopedLock oLock(pListed->mtxThread);
        Add(std::move(pThread));
        nResult = pListed->StartDetached(*this, nPriority);
        if (!pListed->bRunning)
            pFailed = Take(pListed);
    }
    if (pFailed)
        Leave(std::move(pFailed));
    return nResult;
}

void LDetachedThreadsOwner::Destruct(LDetachedThread* pThread) {
    if (auto pTaken = Take(pThread)) {
        pTaken->StopThreadNow();
        Leave(std::move(pTaken));
    }
}

void LDetachedThreadsOwner::StopThreadsSoon() noexcept {
    LScopedLock oLock(mtxThreads);
    for (auto const* pList : {&lThreads, &lWaitedFor})
        for (auto& oThread : *pList)
            oThread.StopThreadSoon();
}

void LDetachedThreadsOwner::StopThreadsNow() {
    LProcessInterfaceVoid oUnstoppable;
    do { // again for a thread that comes meanwhile: put back by a wait that ran out, or new and waited for already
        StopThreadsSoon();
        while (auto pThread = TakeFirst()) {
            pThread->StopThreadNow();
            Leave(std::move(pThread));
        }
        WaitForLeaving(oUnstoppable, LDeadline(kStopAgain));
    } while (IsAnyThere());
}

bool LDetachedThreadsOwner::WaitToStop(LProcessInterface& oProcess, unsigned int nTimeout) {
    LDeadline const oDeadline(nTimeout);
    auto const oPutBack = [this](LDetachedThread* pThread) { PutBack(pThread); }; // also when oProcess throws
    using Held = std::unique_ptr<LDetachedThread, decltype(oPutBack)>;
    do {
        while (Held pThread{TakeFirstToWait(), oPutBack}) {
            if (!WaitForEnd(*pThread, oProcess, oDeadline))
                return false;
            LeaveAfterWait(pThread.release());
        }
        if (!WaitForLeaving(oProcess, oDeadline))
            return false;
    } while (IsAnyThere());
    return true;
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
        if (nLeft < 1)
            return false;
        if (!oNoneLeaving.IsValid()) { // no descriptor was left for it: look again soon
            if (oProcess.ProcessWait(1))
                return false;
        } else if (oProcess.ProcessWaitSignal(oNoneLeaving, nLeft) != eWaitSignaled) {
            return false;
        }
    }
    return true;
}

std::unique_ptr<LDetachedThread> LDetachedThreadsOwner::TakeFirst() noexcept {
    LScopedLock oLock(mtxThreads);
    auto pTaken = lThreads.UnlinkFirst();
    if (pTaken)
        CountLeaving();
    return pTaken;
}

std::unique_ptr<LDetachedThread> LDetachedThreadsOwner::Take(LDetachedThread const* pThread) noexcept {
    LScopedLock oLock(mtxThreads);
    auto pTaken = Unlink(lThreads, pThread);
    if (pTaken)
        CountLeaving();
    return pTaken;
}

void LDetachedThreadsOwner::Leave(std::unique_ptr<LDetachedThread> pThread) noexcept {
    pThread.reset();
    LScopedLock oLock(mtxThreads);
    CountLeft();
}

LDetachedThread* LDetachedThreadsOwner::TakeFirstToWait() noexcept {
    LScopedLock oLock(mtxThreads);
    auto pTaken = lThreads.UnlinkFirst();
    if (!pTaken)
        return nullptr;
    CountLeaving();
    return &lWaitedFor.Insert(std::move(pTaken));
}

void LDetachedThreadsOwner::PutBack(LDetachedThread const* pThread) noexcept {
    LScopedLock oLock(mtxThreads);
    lThreads.Insert(Unlink(lWaitedFor, pThread));
    CountLeft();
}

void LDetachedThreadsOwner::LeaveAfterWait(LDetachedThread const* pThread) noexcept {
    std::unique_ptr<LDetachedThread> pTaken;
    {
        LScopedLock oLock(mtxThreads);
        pTaken = Unlink(lWaitedFor, pThread);
    }
    Leave(std::move(pTaken));
}

void LDetachedThreadsOwner::CountLeaving() noexcept {
    if (nLeaving++ == 0)
        oNoneLeaving.Reset();
}

void LDetachedThreadsOwner::CountLeft() noexcept {
    if (--nLeaving == 0)
        oNoneLeaving.Signal();
}

bool LDetachedThreadsOwner::IsAnyLeaving() noexcept {
    LScopedLock oLock(mtxThreads);
    return nLeaving > 0;
}

bool LDetachedThreadsOwner::IsAnyThere() noexcept {
    LScopedLock oLock(mtxThreads);
    return nLeaving > 0 || !lThreads.IsEmpty();
}
