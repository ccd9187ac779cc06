#include "runtime/threads/thread.h"

#include <mach/thread_policy.h>

#include <cerrno>

namespace {

bool SetRealTime(mach_port_t nThread) noexcept {
    thread_time_constraint_policy_data_t oPolicy;
    auto* const pPolicy = reinterpret_cast<thread_policy_t>(&oPolicy);
    mach_msg_type_number_t nCount = THREAD_TIME_CONSTRAINT_POLICY_COUNT;
    boolean_t bDefault = 1;
    if (thread_policy_get(nThread, THREAD_TIME_CONSTRAINT_POLICY, pPolicy, &nCount, &bDefault) != KERN_SUCCESS)
        return false;
    oPolicy.computation /= 2;
    oPolicy.constraint /= 2;
    return thread_policy_set(nThread, THREAD_TIME_CONSTRAINT_POLICY, pPolicy, nCount) == KERN_SUCCESS;
}

} // namespace

LThread::LThread() noexcept {
    mtxThread.Create();
}

LThread::LThread(char const*) noexcept : LThread() {}

LThread::~LThread() {
    StopThreadNow();
    mtxThread.Destroy();
}

bool LThread::IsToStop() {
    return oStop.IsSignaled();
}

bool LThread::ProcessWait(unsigned int nTimeout) {
    return oStop.WaitSignal(nTimeout);
}

LWaitResult LThread::ProcessWaitSignal(LSignalObjectRef oSignal, unsigned int nTimeout) {
    pollfd arEntries[] = {{oSignal.GetReadEnd(), POLLIN, 0}, {oStop.GetReadEnd(), POLLIN, 0}};
    if (!LPoll(arEntries, 2, nTimeout))
        return eWaitTimeout;
    return (arEntries[1].revents & POLLIN) ? eWaitStopped : eWaitSignaled;
}

LWaitResult LThread::ProcessWaitSignalObjectGroup(LSignalObjectGroup& oGroup, unsigned int nTimeout) {
    if (!oGroup.EndsWith(oStop)) // a body that waits in a loop would fill its group with stop requests
        oGroup.Add(oStop);
    bool bStopped;
    if (!oGroup.Select(nTimeout, bStopped))
        return eWaitTimeout;
    return bStopped ? eWaitStopped : eWaitSignaled;
}

// Holds the mutex to the end: until then the new thread can't end, so whoever waits for its end and then deletes this
// object leaves us the time.
void LThread::Start(int nWantedPriority) {
    LScopedLock oLock(mtxThread);
    if (bRunning)
        return;
    if (hThread != pthread_t()) {
        pthread_join(hThread, nullptr);
        hThread = pthread_t();
        nMachThread = MACH_PORT_DEAD;
    }
    if (CreateThread(nWantedPriority, _ThreadCallback) == 0)
        SetPriority(nWantedPriority);
}

int LThread::CreateThread(int nWantedPriority, void* (*pEntry)(void*)) noexcept {
    if (!oStop.IsValid() || !oEnded.IsValid() || !oStarted.IsValid())
        return EMFILE; // nobody could stop it or wait for it
    oStop.Reset();
    oEnded.Reset();
    oStarted.Reset();
    bRunning = true;
    nPriority = nWantedPriority;
    int const nError = pthread_create(&hThread, nullptr, pEntry, this);
    if (nError != 0) {
        bRunning = false;
        hThread = pthread_t();
        oEnded.Signal(); // nobody is to wait for a run that does not come
        return nError;
    }
    // Not a wait that a stop request ends: a thread that has not told yet must not look like one that never ran, or the
    // destructor would not wait for it.
    oStarted.WaitSignal(kLNoTimeout);
    return 0;
}

void LThread::SetPriority(int nWantedPriority) {
    LScopedLock oLock(mtxThread);
    if (hThread == pthread_t())
        return;
    if (nWantedPriority == kLRealTimePriority && SetRealTime(pthread_mach_thread_np(hThread)))
        return;
    sched_param oParameters{};
    oParameters.sched_priority = nWantedPriority;
    pthread_setschedparam(hThread, SCHED_OTHER, &oParameters);
}

void LThread::StopThreadNow() noexcept {
    bool const bStarted = HasStarted(); // and a Start that is under way has reset the request
    oStop.Signal();
    if (!bStarted)
        return;
    oEnded.WaitSignal(kLNoTimeout);
    LScopedLock oLock(mtxThread); // the thread signals its end with the mutex held: let it out
}

bool LThread::HasStarted() noexcept {
    LScopedLock oLock(mtxThread);
    return oStarted.IsSignaled();
}

bool LThread::IsRunning() noexcept {
    LScopedLock oLock(mtxThread);
    return bRunning;
}

void* LThread::_ThreadCallback(void* pThread) {
    static_cast<LThread*>(pThread)->ThreadCallback();
    return nullptr;
}

void LThread::ThreadCallback() {
    RunBody();
    EndRun();
}

// Writes without the mutex: who started this thread holds it until the signal.
void LThread::RunBody() NO_THREAD_SAFETY_ANALYSIS {
    nMachThread = mach_thread_self();
    oStarted.Signal();
    ThreadProc();
}

// The end is signalled with the mutex held, so that a new Start can't come in between and take it for its own.
void LThread::EndRun() noexcept {
    LScopedLock oLock(mtxThread);
    pthread_detach(hThread);
    mach_port_deallocate(mach_task_self(), nMachThread);
    bRunning = false;
    hThread = pthread_t();
    nMachThread = MACH_PORT_DEAD;
    oEnded.Signal();
}
