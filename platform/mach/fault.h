// The signals that hardware faults arrive as: which exception each is, and the dispositions that were there before
// ours.
#pragma once

#include <mach/exception_types.h>

#include <csignal>

namespace platform {

// What a fault is called by the OS.
struct Exception {
    exception_type_t type;
    mach_exception_data_type_t code, subcode;
};

inline constexpr int kFaultSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE};

// The kind that the signal's faults are of.
exception_type_t ExceptionTypeOf(int signal) noexcept;

// Whether the processor, not another process or thread, is the signal's reason.
bool IsFault(siginfo_t const& info) noexcept;
Exception Describe(siginfo_t const& info) noexcept;

using FaultHandler = void (*)(int, siginfo_t*, void*);

// Installs the handler, unless it is installed already, and remembers what was there. One thread at a time.
void TakeSignal(int signal, FaultHandler handler) noexcept;
// Puts that back exactly, unless the handler is no longer what is installed.
void GiveSignalBack(int signal, FaultHandler handler) noexcept;

// In the handler, which then returns: what would have happened without it happens. A fault happens again.
void PassFaultOn(int signal, siginfo_t* info, void* context, FaultHandler handler) noexcept;
void PassSentSignalOn(int signal, siginfo_t* info, void* context, FaultHandler handler) noexcept;

} // namespace platform
