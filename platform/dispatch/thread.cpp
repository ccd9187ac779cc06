#include "platform/dispatch/thread.h"

#include <csignal>
#include <cstdio>
#include <memory>
#include <new>
#include <pthread.h>

namespace platform {
namespace {

struct Start {
    char szName[16];
    std::function<void()> oBody;
};

void* Run(void* pArgument) {
    std::unique_ptr<Start> const pStart(static_cast<Start*>(pArgument));
    pthread_setname_np(pthread_self(), pStart->szName);
    pStart->oBody();
    return nullptr;
}

// What a fault raises goes to the faulting thread whatever its mask says; blocked, it could only kill.
sigset_t AsynchronousSignals() {
    sigset_t oSignals;
    sigfillset(&oSignals);
    for (int nSignal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP, SIGABRT, SIGSYS})
        sigdelset(&oSignals, nSignal);
    return oSignals;
}

} // namespace

bool StartThread(char const* szName, std::function<void()> oBody) {
    std::unique_ptr<Start> pStart(new (std::nothrow) Start);
    if (!pStart)
        return false;
    std::snprintf(pStart->szName, sizeof pStart->szName, "%s", szName);
    pStart->oBody = std::move(oBody);

    sigset_t const oBlocked = AsynchronousSignals();
    sigset_t oBefore;
    pthread_attr_t oAttributes;
    pthread_attr_init(&oAttributes);
    pthread_attr_setdetachstate(&oAttributes, PTHREAD_CREATE_DETACHED);
    pthread_sigmask(SIG_SETMASK, &oBlocked, &oBefore);
    pthread_t oThread;
    bool const bStarted = pthread_create(&oThread, &oAttributes, Run, pStart.get()) == 0;
    pthread_sigmask(SIG_SETMASK, &oBefore, nullptr);
    pthread_attr_destroy(&oAttributes);
    if (bStarted)
        pStart.release(); // the thread's now
    return bStarted;
}

} // namespace platform
