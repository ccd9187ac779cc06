#include "xpc/gate.h"

constinit LMutex LXPCGate::mtxGates;
constinit LCondition LXPCGate::oCallEnded;
constinit LXPCGate::Closing* LXPCGate::pClosing = nullptr;
constinit unsigned LXPCGate::nClosing = 0;

template <class Entry>
void LXPCGate::Unlink(Entry*& pHead, Entry& oEntry) noexcept {
    Entry** ppLink = &pHead;
    while (*ppLink != &oEntry)
        ppLink = &(*ppLink)->pNext;
    *ppLink = oEntry.pNext;
}

LXPCGate::Call::Call(LXPCGate& oGateToEnter) noexcept : oGate(oGateToEnter) {
    LScopedLock const oLock(mtxGates);
    if (oGate.bClosed)
        return;
    bInside = true;
    pNext = oGate.pCalls;
    oGate.pCalls = this;
}

LXPCGate::Call::~Call() {
    if (!bInside)
        return;
    LScopedLock const oLock(mtxGates);
    Unlink(oGate.pCalls, *this);
    if (oGate.bClosed)
        oCallEnded.WakeAll();
}

void LXPCGate::Close() noexcept {
    Closing oClosing{*this};
    LScopedLock const oLock(mtxGates);
    bClosed = true;
    oClosing.pNext = pClosing;
    pClosing = &oClosing;
    ++nClosing;
    while (MustWait(oClosing.nThread))
        oCallEnded.Wait(mtxGates);
    Unlink(pClosing, oClosing);
    --nClosing;
}

bool LXPCGate::MustWait(pthread_t nCloser) const noexcept {
    for (Call const* pCall = pCalls; pCall; pCall = pCall->pNext)
        if (!WaitsFor(pCall->nThread, nCloser, nClosing))
            return true;
    return false;
}

// Whether `nWaiting` is the closing thread or stands in Close behind a call of its, over at most `nHops` other threads.
bool LXPCGate::WaitsFor(pthread_t nWaiting, pthread_t nCloser, unsigned nHops) noexcept {
    if (pthread_equal(nWaiting, nCloser))
        return true;
    for (Closing const* pEntry = pClosing; pEntry && nHops > 0; pEntry = pEntry->pNext) {
        if (!pthread_equal(pEntry->nThread, nWaiting))
            continue;
        for (Call const* pCall = pEntry->oGate.pCalls; pCall; pCall = pCall->pNext)
            if (WaitsFor(pCall->nThread, nCloser, nHops - 1))
                return true;
    }
    return false;
}
