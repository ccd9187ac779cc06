// Stands in for <mach/task.h>: the task's exception ports. Any thread.
//
// Kept: with a port set, a hardware fault of a kind in the mask, on any thread of the process, becomes a request at the
// port (<mach/mach_exc.h>), and the faulting thread waits until it is answered. KERN_SUCCESS lets it go on where it
// stood; anything else passes the fault on, to what the process would have done without the port. A signal that was
// only sent is no exception. A thread that faults with nobody to ask dies of its fault.
// Differs from the OS:
// - The kinds are bad access (SIGSEGV, SIGBUS), bad instruction (SIGILL) and arithmetic (SIGFPE); other masks, other
//   behaviours than EXCEPTION_DEFAULT with 64-bit codes and flavours other than none: KERN_NOT_SUPPORTED.
// - A fault waits only for a thread that is there: where none is receiving at the port, or the one that received ends
//   without an answer, the fault is passed on. The OS's thread would wait for good.
// - It rests on the process's dispositions of those signals, which it saves when a port is set and puts back when the
//   port dies or is taken out, unless somebody has set others meanwhile. A fault that is passed on puts them back too
//   and happens again; a process that survives that has no exception port for this signal until it sets one again.
// - A forked child has no exception ports. A fault of a thread that has no room left on its stack, and no alternate
//   one, never gets as far as the port.
#pragma once

#include <mach/exception_types.h>
#include <mach/mach.h>
#include <mach/thread_status.h>

extern "C" {

// MACH_PORT_NULL takes the port out. KERN_INVALID_TASK for a task that is not the calling one, KERN_INVALID_RIGHT for
// a name that is no port with a send right, KERN_INVALID_ARGUMENT for an empty mask.
kern_return_t task_set_exception_ports(task_t task, exception_mask_t exception_mask, mach_port_t new_port,
                                       exception_behavior_t behavior, thread_state_flavor_t new_flavor);

} // extern "C"
