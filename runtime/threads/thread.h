// A worker thread that can be asked to stop, and whose waits end when it is.
#pragma once

#include "base/mutex.h"
#include "runtime/sync/process_interface.h"

#include <mach/mach.h>

#include <pthread.h>

// The priority that asks for real-time scheduling.
inline constexpr int kLRealTimePriority = 91;

// A thread that runs ThreadProc, once a Start. Within ThreadProc the object is the body's LProcessInterface: the waits
// there end as soon as a stop is requested. All members may be called from any thread, except as said.
//
// Idle, running (from Start until ThreadProc has returned) or ended; an ended thread may be started again. A stop
// request stays until the next Start.
//
// The destructor requests a stop and waits for the body. By then the derived part of the object is gone: a class whose
// body uses members of its own calls StopThreadNow first thing in its own destructor. Neither may run on the thread
// itself.
class LThread : public LProcessInterface {
public:
    LThread() noexcept;
    explicit LThread(char const* szName) noexcept; // the name is for the reader of the caller's code; it is not kept
    LThread(LThread const&) = delete;
    LThread& operator=(LThread const&) = delete;

    bool IsToStop() override;
    bool ProcessWait(unsigned int nTimeout) override;

    // Failed waits are timeouts; "stopped" wins over "signalled".
    LWaitResult ProcessWaitSignal(LSignalObjectRef oSignal, unsigned int nTimeout) override;

    // Appends the stop request to the group, unless it is its last member already or the group is full. A group used
    // here holds at most 255 events of its own.
    LWaitResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& oGroup, unsigned int nTimeout) override;

    virtual ~LThread();

    // Starts the thread, and returns once it is on its way with its priority set; nothing while it runs. A thread that
    // can't be made leaves the object idle (see IsRunning).
    void Start(int nPriority);

    // For a running thread; nothing otherwise. kLRealTimePriority asks for real time, with half of the computation time
    // and half of the deadline that are the system's default. Any other, and that one too when the system refuses:
    // sharing time with that priority.
    void SetPriority(int nPriority);

    // Requests a stop and returns at once. Also from the thread itself.
    void StopThreadSoon() noexcept { oStop.Signal(); }

    // Requests a stop and waits until the body has returned. Not while another thread may Start it again: the wait
    // would be for the end of that run.
    void StopThreadNow() noexcept;

    bool IsRunning() noexcept;

    // Signalled from the end of a run, or from a Start that made no thread, until the next Start.
    LSignalObjectRef GetEnded() const noexcept { return oEnded; }

    // What the new thread runs around the body, and the entry that leads there (its argument is the LThread).
    void ThreadCallback();
    static void* _ThreadCallback(void* pThread);

protected:
    // The thread's body. Nothing may be thrown out of it.
    virtual void ThreadProc() = 0;

    // The pieces of Start and of ThreadCallback. CreateThread: 0, or why there is no thread (an error number); returns
    // once the new thread has told that it runs.
    int CreateThread(int nWantedPriority, void* (*pEntry)(void*)) noexcept REQUIRES(mtxThread);
    void RunBody();
    void EndRun() noexcept;

    // Whether there was a run since the last Start; waits for a Start that is under way.
    bool HasStarted() noexcept;

    pthread_t hThread GUARDED_BY(mtxThread){}; // 0 when there is none
    mach_port_t nMachThread GUARDED_BY(mtxThread) = MACH_PORT_DEAD;
    int nPriority GUARDED_BY(mtxThread) = 0; // as given to Start
    bool bRunning GUARDED_BY(mtxThread) = false;
    LSignalObject oStop;
    LSignalObject oEnded;
    LSignalObject oStarted; // the new thread's first act
    LRecursiveMutex mtxThread;
};
