// What stands between the platform's handlers and a messaging object that may be gone when they run.
#pragma once

#include "base/mutex.h"

#include <atomic>
#include <utility>

class LXPCBase;

// A messaging object shares its gate, by LXPCGateRef, with every handler that it gives to the platform: event, reply,
// barrier, accept. A handler never sees the object itself: it enters the gate, and only inside does it get at the
// object. The object's destruction closes the gate; whoever comes later is turned away and calls nothing.
//
// Closing also waits for the calls that are inside, so that on its return no sink call of the object runs any more and
// nobody reads its keys: sink, keys and object may then be deleted. Exempt are the calls that would wait for the
// closing thread in turn: one further up its own stack (a sink that destroys the client that is calling it), and calls
// whose sinks are closing gates that the closing thread stands in (two sinks that destroy each other's clients, or a
// ring of them, each destroying the next one's). Such a call is past reading the keys and touches nothing but the gate
// when its sink returns.
//
// Close is called with no lock held: the sinks it waits for take the registry's mutex and the clients' locks. The
// gates' own mutex is a leaf, held for a few lines at a time and never over a call. Any thread.
class LXPCGate {
public:
    explicit LXPCGate(LXPCBase& oGuarded) noexcept : oBase(oGuarded) {}
    LXPCGate(LXPCGate const&) = delete;
    LXPCGate& operator=(LXPCGate const&) = delete;

    void Close() noexcept EXCLUDES(mtxGates);

    // One stay inside, on the handler's stack. Whoever makes it keeps the gate alive meanwhile.
    class Call {
    public:
        explicit Call(LXPCGate& oGateToEnter) noexcept EXCLUDES(mtxGates);
        ~Call() EXCLUDES(mtxGates);
        Call(Call const&) = delete;
        Call& operator=(Call const&) = delete;

        // The messaging object, or null when the gate was closed. After a sink call it may be gone.
        LXPCBase* Base() const noexcept { return bInside ? &oGate.oBase : nullptr; }

    private:
        friend class LXPCGate;
        LXPCGate& oGate;
        pthread_t const nThread = pthread_self();
        bool bInside = false;
        Call* pNext = nullptr; // of the calls inside the same gate
    };

private:
    // One thread in Close, on its stack.
    struct Closing {
        LXPCGate const& oGate;
        pthread_t const nThread = pthread_self();
        Closing* pNext = nullptr;
    };

    template <class Entry>
    static void Unlink(Entry*& pHead, Entry& oEntry) noexcept REQUIRES(mtxGates);
    bool MustWait(pthread_t nCloser) const noexcept REQUIRES(mtxGates);
    static bool WaitsFor(pthread_t nWaiting, pthread_t nCloser, unsigned nHops) noexcept REQUIRES(mtxGates);

    static constinit LMutex mtxGates; // one for all gates: who waits for whom is asked across them
    static constinit LCondition oCallEnded;
    static Closing* pClosing GUARDED_BY(mtxGates);
    static unsigned nClosing GUARDED_BY(mtxGates);

    friend class LXPCGateRef;
    std::atomic<long> nReferences = 0; // the owners' count; a gate on the stack has none

    LXPCBase& oBase;
    bool bClosed GUARDED_BY(mtxGates) = false;
    Call* pCalls GUARDED_BY(mtxGates) = nullptr;
};

// One of a gate's owners; the last one deletes it.
class LXPCGateRef {
public:
    // One more reference, to a gate that has owners already or that came from `new` just now.
    explicit LXPCGateRef(LXPCGate& oGate) noexcept : pGate(&oGate) {
        pGate->nReferences.fetch_add(1, std::memory_order_relaxed);
    }
    LXPCGateRef(LXPCGateRef const& oOther) noexcept : LXPCGateRef(*oOther.pGate) {}
    LXPCGateRef& operator=(LXPCGateRef const&) = delete;
    ~LXPCGateRef() {
        if (pGate && pGate->nReferences.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete pGate;
    }

    LXPCGate& operator*() const noexcept { return *pGate; }
    LXPCGate* operator->() const noexcept { return pGate; }
    LXPCGate* Get() const noexcept { return pGate; }

    // Gives the reference away, after which this one may only be destroyed; and takes one that was given away.
    LXPCGate* Detach() noexcept { return std::exchange(pGate, nullptr); }
    static LXPCGateRef Adopt(LXPCGate* pCounted) noexcept { return LXPCGateRef(pCounted); }

private:
    explicit LXPCGateRef(LXPCGate* pCounted) noexcept : pGate(pCounted) {}

    LXPCGate* pGate;
};
