// Handlers of signals for a host application to install with sigaction and SA_SIGINFO. The plug-in installs neither:
// the process's signals are its host's.
#pragma once

#include <atomic>
#include <csignal>

// Set by the first signal that LDebugSignalHandler gets.
extern constinit std::atomic<bool> bLLibExceptionAlreadyTrapped;

// The reason for a bug report that the first signal has left, "SIGNAL%d"; "" before.
char const* LDebugSignalReason() noexcept;

// The first signal leaves its number as the reason above and, if it is one that ends a process by a fault (6, 8, 9, 10
// or 11), ends it with exit(666). Everything after the first, and any other signal, is ignored.
// exit runs the program's clean-ups, which a handler strictly may not do. It is for a program that is lost anyway.
void LDebugSignalHandler(int nSignal, siginfo_t* pInfo, void* pContext);

// Ends the process with exit(0) on SIGTERM and SIGINT; ignores any other signal.
void LIntTermSignalHandler(int nSignal, siginfo_t* pInfo, void* pContext);
