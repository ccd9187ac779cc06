// Stands in for <mach/mach.h>: the task's and its threads' ports. Ports of the task's own: <mach/mach_port.h>. Any
// thread.
//
// Kept: mach_thread_self gives the caller one more reference to the thread's port, which mach_port_deallocate gives
// back; a port outlives its thread for as long as references to it are held, and is then good for nothing else.
// Differs from the OS:
// - Of tasks there is the calling one only.
// - A thread gets its port when it first asks for it (mach_thread_self, pthread_mach_thread_np of itself,
//   pthread_setschedparam of itself). Until then other threads do not find it.
#pragma once

#include <mach/host_info.h>
#include <mach/kern_return.h>
#include <mach/port.h>
#include <mach/task_info.h>
#include <mach/thread_policy.h>

extern "C" {

extern mach_port_t const mach_task_self_;
#define mach_task_self() mach_task_self_

// The calling thread's port, with one more reference, which is the caller's.
mach_port_t mach_thread_self(void);

// Gives back one reference to a thread's port, or one send right to another. KERN_INVALID_TASK for a task that is not
// the calling one, KERN_INVALID_NAME for a name without references, KERN_INVALID_RIGHT for a port without a send right.
kern_return_t mach_port_deallocate(mach_port_t task, mach_port_name_t name);

} // extern "C"
