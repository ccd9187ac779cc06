// Stands in for <mach/mach_port.h>: the rights that the task has to ports. Any thread.
//
// Kept: a receive right is the port itself, and when it goes the port dies: its messages are lost, threads that receive
// at it or send to it go on with an error, and the task's exceptions go where they went before (<mach/task.h>). Send
// rights are counted; what remains of them at a dead port's name is a dead name's references.
// Differs from the OS:
// - At most 64 ports with a receive right, and dead names, at one time: KERN_NO_SPACE. Without memory too.
// - Other rights than receive and send are not to be had: KERN_INVALID_VALUE.
// - A port that is the task's exception port does not thereby have one more send right.
#pragma once

#include <mach/mach.h>
#include <mach/message.h>

typedef natural_t mach_port_right_t;
typedef natural_t mach_port_urefs_t;
typedef integer_t mach_port_delta_t;

#define MACH_PORT_RIGHT_SEND ((mach_port_right_t)0)
#define MACH_PORT_RIGHT_RECEIVE ((mach_port_right_t)1)

extern "C" {

// A new port, with its receive right.
kern_return_t mach_port_allocate(mach_port_t task, mach_port_right_t right, mach_port_name_t* name);

// One more send right under the port's own name: MACH_MSG_TYPE_MAKE_SEND makes it from the receive right,
// MACH_MSG_TYPE_COPY_SEND from a send right.
kern_return_t mach_port_insert_right(mach_port_t task, mach_port_name_t name, mach_port_t poly,
                                     mach_msg_type_name_t polyPoly);

// Adds to the count of send rights, or takes away; -1 gives the receive right back.
kern_return_t mach_port_mod_refs(mach_port_t task, mach_port_name_t name, mach_port_right_t right,
                                 mach_port_delta_t delta);

} // extern "C"
