// Stands in for <mach/mach_time.h>: the host clock. Any thread; no call here fails except as said.
//
// Kept: mach_absolute_time never runs backwards and costs no system call; ticks become nanoseconds as
// ticks * numer / denom; mach_wait_until waits on this same clock.
// Differs from the OS:
// - A tick is one nanosecond of CLOCK_MONOTONIC (timebase 1/1) unless a host or a test says otherwise: a host may make
//   the clock run faster (platform/host/clock.h), a test may also hold it, move it and set the timebase
//   (platform/testing/clock.h).
// - The structure of the timebase has no tag of its own, only its two type names.
#pragma once

#include <mach/kern_return.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
    uint32_t numer;
    uint32_t denom;
} mach_timebase_info_data_t;
typedef mach_timebase_info_data_t* mach_timebase_info_t;

// The host clock now, in ticks.
uint64_t mach_absolute_time(void);

// How ticks become nanoseconds. KERN_INVALID_ARGUMENT for null, else KERN_SUCCESS.
kern_return_t mach_timebase_info(mach_timebase_info_t info);

// Returns once the host clock reads `deadline` ticks or more; at once for an instant in the past. Follows the clock
// when its speed changes or a test moves it, and waits on while it is held. Always KERN_SUCCESS.
kern_return_t mach_wait_until(uint64_t deadline);

#ifdef __cplusplus
}
#endif
