// Stands in for <pthread.h>: the kernel's own header, and what the OS adds to it or does differently.
//
// Kept: pthread_main_np; a thread's mach port; priorities under SCHED_OTHER: any of 0 to 127 is taken and reads back,
// 31 to begin with, and taking one ends a real-time policy of the thread (<mach/thread_policy.h>).
// Differs from the OS:
// - A priority under SCHED_OTHER is remembered, and the kernel's scheduler is not told: here raising one takes a
//   privilege, and so would taking a lowered one back.
// - Calls about another thread than the caller fail (ESRCH, port 0) until that thread has asked for its own port.
#pragma GCC system_header

#include_next <pthread.h> // outside of the guard, so that this file may be reached by two names

#ifndef LUMORA_PLATFORM_PTHREAD_H
#define LUMORA_PLATFORM_PTHREAD_H

#include <mach/port.h>

extern "C" {

// Non-zero on the process's first thread, the one that runs main().
int pthread_main_np(void);

// The port of a thread that has not ended, without a reference for the caller; 0 when it is not known.
mach_port_t pthread_mach_thread_np(pthread_t thread);

// 0, EINVAL for a policy or a priority that does not exist, ESRCH for a thread that is not known, or the kernel's
// refusal of a real-time policy.
int pthread_setschedparam(pthread_t thread, int policy, struct sched_param const* parameters) noexcept
    __asm__("platform_pthread_setschedparam");
int pthread_getschedparam(pthread_t thread, int* policy, struct sched_param* parameters) noexcept
    __asm__("platform_pthread_getschedparam");

} // extern "C"

#endif
