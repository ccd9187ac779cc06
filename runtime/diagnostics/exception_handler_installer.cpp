#include "runtime/diagnostics/exception_handler_installer.h"

#include <csignal>
#include <mach/mach_port.h>
#include <mach/task.h>
#include <unistd.h>

constinit LImmortal<std::optional<LExceptionHandlerInstaller>> gLExceptionHandlerInstaller;

int LExceptionHandlerInstaller::LMachExceptionHandlerInstall() {
    Remove();
    mach_port_t const hTask = mach_task_self();
    if (kern_return_t const nResult = mach_port_allocate(hTask, MACH_PORT_RIGHT_RECEIVE, &hPort);
        nResult != KERN_SUCCESS)
        return nResult;
    if (kern_return_t const nResult = mach_port_insert_right(hTask, hPort, hPort, MACH_MSG_TYPE_MAKE_SEND);
        nResult != KERN_SUCCESS)
        return nResult;
    constexpr exception_mask_t kMask = EXC_MASK_BAD_ACCESS | EXC_MASK_BAD_INSTRUCTION | EXC_MASK_ARITHMETIC;
    constexpr auto kBehaviour = static_cast<exception_behavior_t>(EXCEPTION_DEFAULT | MACH_EXCEPTION_CODES);
    if (kern_return_t const nResult = task_set_exception_ports(hTask, kMask, hPort, kBehaviour, THREAD_STATE_NONE);
        nResult != KERN_SUCCESS)
        return nResult;
    return StartThread();
}

// The thread belongs to the host's process, whose signals are none of its business: a handler of the host's that ran
// here would end the wait, and could wait for the very thread that waits for this one at unload. Faults of its own must
// still take their usual way.
int LExceptionHandlerInstaller::StartThread() {
    sigset_t oBlocked, oBefore;
    sigfillset(&oBlocked);
    for (int const nFault : {SIGSEGV, SIGBUS, SIGILL, SIGFPE})
        sigdelset(&oBlocked, nFault);
    pthread_sigmask(SIG_SETMASK, &oBlocked, &oBefore);
    int const nResult = pthread_create(&hThread, nullptr, LMachExceptionHandlerThread, this);
    pthread_sigmask(SIG_SETMASK, &oBefore, nullptr);
    nThreadProcess = nResult == 0 ? getpid() : 0;
    return nResult;
}

// The code is about to be unmapped, and a cancelled thread is still in it for a while: wait for its end. Without giving
// back the receive right nothing would tell the system that the port is dead, and the next load would leave one more
// port behind; it also ends the wait of a thread that was not cancelled. A host's handler of signals may end the
// process on this very thread, which must then not end on the way; and a forked child that ends has this object, but not
// the thread.
void LExceptionHandlerInstaller::Remove() {
    if (hPort == MACH_PORT_NULL)
        return;
    bool const bWait = nThreadProcess == getpid() && !pthread_equal(hThread, pthread_self());
    if (mach_port_deallocate(mach_task_self(), hPort) == KERN_SUCCESS && bWait)
        pthread_cancel(hThread);
    mach_port_mod_refs(mach_task_self(), hPort, MACH_PORT_RIGHT_RECEIVE, -1);
    if (bWait)
        pthread_join(hThread, nullptr);
    nThreadProcess = 0;
    hPort = MACH_PORT_NULL;
}

// The faulting thread may hold any lock of the process, that of the heap too: nothing here takes one.
void* LExceptionHandlerInstaller::LMachExceptionHandlerThread(void* pInstaller) {
    if (!pInstaller)
        return nullptr;
    auto& oSelf = *static_cast<LExceptionHandlerInstaller*>(pInstaller);
    mach_msg_header_t& oRequest = oSelf.oRequest.Head;
    mach_msg_header_t& oReply = oSelf.oReply.Head;
    if (mach_msg(&oRequest, MACH_RCV_MSG | MACH_RCV_INTERRUPT, 0, sizeof oSelf.oRequest, oSelf.hPort,
                 MACH_MSG_TIMEOUT_NONE, MACH_PORT_NULL) != MACH_MSG_SUCCESS)
        return nullptr;
    if (mach_exc_server(&oRequest, &oReply))
        mach_msg(&oReply, MACH_SEND_MSG, oReply.msgh_size, 0, MACH_PORT_NULL, MACH_MSG_TIMEOUT_NONE, MACH_PORT_NULL);
    return nullptr;
}
