// Stands in for <mach/thread_status.h>: a thread's registers, as messages carry them.
// Differs from the OS: no state is ever given, so the only flavour is none.
#pragma once

#include <mach/port.h>

typedef natural_t* thread_state_t;
typedef int thread_state_flavor_t;

#define THREAD_STATE_NONE 13
#define THREAD_STATE_MAX 614 // words of the largest state
