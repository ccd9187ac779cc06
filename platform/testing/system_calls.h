// Test door: the system calls under the XPC stand-in, so that a test can have them interrupted, refused or out of
// resources.
#pragma once

#include <atomic>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/types.h>

// One entry a call; each may be replaced at any moment, on any thread, for the whole process.
struct SystemCalls {
    std::atomic<ssize_t (*)(int, msghdr const*, int)> sendmsg;
    std::atomic<ssize_t (*)(int, msghdr*, int)> recvmsg;
    std::atomic<int (*)(int, int, int)> socket;
    std::atomic<int (*)(int, int, int, int*)> socketpair;
    std::atomic<int (*)(int, sockaddr const*, socklen_t)> connect;
    std::atomic<int (*)(int, sockaddr*, socklen_t*, int)> accept4;
    std::atomic<int (*)(char const*, unsigned)> memfd_create;
    std::atomic<int (*)(unsigned, int)> eventfd;
    std::atomic<int (*)(pollfd*, nfds_t, timespec const*, sigset_t const*)> ppoll;
    std::atomic<int (*)(int)> duplicate; // fcntl F_DUPFD_CLOEXEC
};

extern SystemCalls gSystemCalls;

// Puts the kernel's own back.
void SystemCallsReset();
