// Stands in for <mach/mach.h>: the task's and its threads' ports. Any thread.
//
// Kept: mach_thread_self gives the caller one more reference to the thread's port, which mach_port_deallocate gives
// back; a port outlives its thread for as long as references to it are held, and is then good for nothing else.
// Differs from the OS:
// - Of tasks there is the calling one only.
// - A thread gets its port when it first asks for it (mach_thread_self, pthread_mach_thread_np of itself,
//   pthread_setschedparam of itself). Until then other threads do not find it.
#pragma once

#include <mach/kern_return.h>
#include <mach/port.h>
#include <mach/thread_policy.h>

extern "C" {

extern mach_port_t const mach_task_self_;
#define mach_task_self() mach_task_self_

// The calling thread's port, with one more reference, which is the caller's.
mach_port_t mach_thread_self(void);

// Gives one reference to a thread's port back. KERN_INVALID_TASK for a task that is not the calling one,
// KERN_INVALID_NAME for a name without references.
kern_return_t mach_port_deallocate(mach_port_t task, mach_port_name_t name);

} // extern "C"
