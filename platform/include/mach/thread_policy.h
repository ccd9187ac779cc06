// Stands in for <mach/thread_policy.h> and the two calls of <mach/thread_act.h> that go with it: how a thread wants to
// be scheduled. Any thread.
//
// Kept: a policy that was set reads back; one that was not, and one asked for with get_default, reads as the default,
// and get_default says which of the two it was. Durations are in ticks of the host clock. Requests that the OS's
// limits refuse fail with KERN_INVALID_ARGUMENT, and so do a dead thread's port and a short count.
// Differs from the OS:
// - The time-constraint policy is the only one; others answer KERN_INVALID_ARGUMENT.
// - It is remembered, and the kernel's scheduler is not told: here real time takes a privilege.
#pragma once

#include <mach/boolean.h>
#include <mach/kern_return.h>
#include <mach/port.h>

#include <stdint.h>

typedef natural_t thread_policy_flavor_t;
typedef integer_t* thread_policy_t;
typedef natural_t mach_msg_type_number_t;
typedef mach_port_t thread_t;
typedef mach_port_t thread_act_t;
typedef mach_port_t thread_inspect_t;

#define THREAD_TIME_CONSTRAINT_POLICY 2

struct thread_time_constraint_policy {
    uint32_t period;      // between two runs; 0: none in particular
    uint32_t computation; // of each run, 50 us to 50 ms
    uint32_t constraint;  // from a run's beginning to its end at the latest, at least `computation`
    boolean_t preemptible;
};
typedef struct thread_time_constraint_policy thread_time_constraint_policy_data_t;
typedef struct thread_time_constraint_policy* thread_time_constraint_policy_t;
static_assert(sizeof(thread_time_constraint_policy_data_t) == 16);

#define THREAD_TIME_CONSTRAINT_POLICY_COUNT                                                                            \
    ((mach_msg_type_number_t)(sizeof(thread_time_constraint_policy_data_t) / sizeof(integer_t)))

extern "C" {

// `count` is the size of `policy_info` in 4-byte units.
kern_return_t thread_policy_set(thread_act_t thread, thread_policy_flavor_t flavor, thread_policy_t policy_info,
                                mach_msg_type_number_t count);

// Fills `policy_info` and sets `count` to what was filled. `get_default`: in, whether the default is wanted; out,
// whether it is what was given.
kern_return_t thread_policy_get(thread_inspect_t thread, thread_policy_flavor_t flavor, thread_policy_t policy_info,
                                mach_msg_type_number_t* count, boolean_t* get_default);

} // extern "C"
