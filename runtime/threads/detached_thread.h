// Threads that delete themselves, and the list that can stop and collect them.
#pragma once

#include "base/list.h"
#include "runtime/threads/thread.h"

#include <memory>

class LDetachedThreadsOwner;

// A thread in an owner's list. When its body has returned it takes itself out of the list and deletes itself, on its
// own thread; a thread that somebody else has taken out by then is deleted by that one, and one that never was in a
// list belongs to its maker.
class LDetachedThread : public LThread {
public:
    LDetachedThread() noexcept = default;
    explicit LDetachedThread(char const* szName) noexcept : LThread(szName) {}

    // Starts the thread; unlike Start it does not look whether it runs. 0; or the error number of pthread_create; or
    // eWaitStopped when a stop was requested meanwhile (the thread runs all the same, without the priority, and sees
    // the request). Once this has returned, a listed thread may be gone.
    int StartDetached(LDetachedThreadsOwner& oOwner, int nPriority);

    static void* _ThreadCallback(void* pThread);

private:
    friend LDetachedThreadsOwner;
    friend LList<LDetachedThread>;

    LDetachedThread* pNext = nullptr;        // in the owner's list
    LDetachedThreadsOwner* pOwner = nullptr; // not owned; outlives the thread
};

// Owns the threads of its list. Any thread, except the listed ones and their destructors where it says "waits".
//
// Each thread object is deleted once, by who takes it out of the list: the thread itself, at the end of its body, or
// one of the operations below. One that is taken out counts as leaving until it is deleted or put back, and whoever
// waits for all threads waits for those too: after StopThreadsNow, or a WaitToStop that was true, no thread touches its
// object or this owner any more.
class LDetachedThreadsOwner {
public:
    LDetachedThreadsOwner() noexcept = default;
    ~LDetachedThreadsOwner() { StopThreadsNow(); } // waits
    LDetachedThreadsOwner(LDetachedThreadsOwner const&) = delete;
    LDetachedThreadsOwner& operator=(LDetachedThreadsOwner const&) = delete;

    // Puts a thread that has not been started at the front of the list. The caller calls StartDetached of what is
    // returned next, and sees to it that nothing takes the thread out before: with other threads about, StartThread.
    LDetachedThread& Add(std::unique_ptr<LDetachedThread> pThread) noexcept;

    // Add and StartDetached in one: who takes the thread out meanwhile waits until it is started. What StartDetached
    // gives; a thread that could not be started is deleted.
    int StartThread(std::unique_ptr<LDetachedThread> pThread, int nPriority);

    // If the thread is listed: takes it out, stops it, waits for its end and deletes it.
    void Destruct(LDetachedThread* pThread);

    // Requests all listed threads to stop, and the one that a WaitToStop waits for, and returns at once.
    void StopThreadsSoon() noexcept;

    // The same, then waits for each thread's end and deletes it, until the list is empty.
    void StopThreadsNow();

    // Waits for the end of all listed threads (without asking them to stop) and deletes them. False when `nTimeout`
    // milliseconds were over first or `oProcess` was to stop; what is not collected then stays listed.
    bool WaitToStop(LProcessInterface& oProcess, unsigned int nTimeout);

private:
    friend LDetachedThread;

    // Take a thread out of the list, to leave; null when there is none. Leave deletes it.
    std::unique_ptr<LDetachedThread> TakeFirst() noexcept;
    std::unique_ptr<LDetachedThread> Take(LDetachedThread const* pThread) noexcept;
    void Leave(std::unique_ptr<LDetachedThread> pThread) noexcept;

    // The same for one that is waited for meanwhile: owned by lWaitedFor until one of the two below.
    LDetachedThread* TakeFirstToWait() noexcept;
    void PutBack(LDetachedThread const* pThread) noexcept;
    void LeaveAfterWait(LDetachedThread const* pThread) noexcept;

    void CountLeaving() noexcept REQUIRES(mtxThreads);
    void CountLeft() noexcept REQUIRES(mtxThreads);

    bool WaitForEnd(LDetachedThread& oThread, LProcessInterface& oProcess, LDeadline const& oDeadline);
    bool WaitForLeaving(LProcessInterface& oProcess, LDeadline const& oDeadline);
    bool IsAnyLeaving() noexcept;
    bool IsAnyThere() noexcept;

    LMutex mtxThreads; // after a thread's mtxThread where both are held
    LList<LDetachedThread> lThreads GUARDED_BY(mtxThreads);
    LList<LDetachedThread> lWaitedFor GUARDED_BY(mtxThreads); // in the hands of a WaitToStop, for others to stop
    int nLeaving GUARDED_BY(mtxThreads) = 0;                  // threads that are out of lThreads and not yet deleted
    LSignalObject oNoneLeaving;                               // signalled when there is none any more, until one comes
};
