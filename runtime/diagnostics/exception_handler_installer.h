// Catches the process's hardware faults on their way to the system.
#pragma once

#include "base/immortal.h"

#include <mach/mach_exc.h>
#include <pthread.h>
#include <sys/types.h>

#include <optional>

// While one lives, bad accesses, bad instructions and arithmetic faults of every thread of the process are sent to a
// port of its own, and the first of them wakes its thread. The thread answers that the fault was not handled, so the
// process ends as it would have without it, and serves no second. Made and destroyed on the loading and the unloading
// thread. Nothing throws.
class LExceptionHandlerInstaller {
public:
    LExceptionHandlerInstaller() { LMachExceptionHandlerInstall(); } // the process can do without: no result
    // Returns when the port is gone, the system sends the faults where it sent them before, and the thread has left
    // this code.
    ~LExceptionHandlerInstaller() { Remove(); }
    LExceptionHandlerInstaller(LExceptionHandlerInstaller const&) = delete;
    LExceptionHandlerInstaller& operator=(LExceptionHandlerInstaller const&) = delete;

    // Gives back what an earlier call has installed and installs anew. 0, or the result of the kernel or pthread call
    // that failed; what came before it stays until the object is destroyed.
    int LMachExceptionHandlerInstall();

    // The thread's body: waits for one message at the port of the installer that it is given, and answers it. Ends
    // without an answer when the message is none of the exception interface. Always null.
    static void* LMachExceptionHandlerThread(void* pInstaller);

private:
    // The longest message that the port is asked for.
    struct Request {
        mach_msg_header_t Head;
        mach_msg_body_t msgh_body;
        char arData[1024];
    };
    static_assert(sizeof(Request) == 1052);

    int StartThread();
    void Remove();

    mach_port_t hPort = MACH_PORT_NULL; // a receive right and a send right
    pid_t nThreadProcess = 0;           // where hThread is to be joined; 0: there is none
    pthread_t hThread{};
    Request oRequest;         // the thread's, as is the reply
    mig_reply_error_t oReply; // no reply is longer
};

// The process's, between load and unload.
extern constinit LImmortal<std::optional<LExceptionHandlerInstaller>> gLExceptionHandlerInstaller;
