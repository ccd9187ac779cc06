// Stands in for <dispatch/dispatch.h>: queues, groups, semaphores, timed submission and block objects. Any thread.
//
// Kept: global queues run blocks on a pool of threads, many at a time; a serial queue runs its blocks one at a time, in
// the order submitted; the main queue's blocks run on the process's first thread, once that thread is in dispatch_main
// or in a run loop. A block is destroyed by the thread that ran it, after it ran. Queues, groups and semaphores are
// counted: a queue with blocks waiting, and a group with blocks running, live until those are done. Instants count on
// the host clock (mach_absolute_time), so timed work follows a clock that a host speeds up.
// Differs from the OS:
// - Where the compiler has no blocks, a block is a std::function. Submitting an empty one does nothing.
// - Queue priorities are accepted and mean nothing; the pool grows to 64 threads, and its idle threads end after a
//   second. Work that waits for other work beyond that many threads waits for ever.
// - dispatch_sync onto a queue from a block of that same queue waits for ever, where the OS may stop the process.
// - Releasing an object too often is not noticed.
// - Cancelling a block object that has not begun destroys what it captured and ends it there and then; on the OS it ends
//   when its turn comes. One ends only after what it captured has been destroyed; on the OS, once it has run. It has no
//   flags, and runs once: further times do nothing.
// - No concurrent private queues, target queues, sources or quality-of-service classes.
#pragma once

#include <stddef.h>
#include <stdint.h>

#if !defined(__BLOCKS__)
#include <functional>
#endif

// What all dispatch objects derive from; made and freed by the calls below only.
struct dispatch_object_s {
    dispatch_object_s(dispatch_object_s const&) = delete;
    dispatch_object_s& operator=(dispatch_object_s const&) = delete;

protected:
    dispatch_object_s() = default;
    ~dispatch_object_s() = default;
};
struct dispatch_queue_s : dispatch_object_s {};
struct dispatch_group_s : dispatch_object_s {};
struct dispatch_semaphore_s : dispatch_object_s {};
struct dispatch_queue_attr_s : dispatch_object_s {};

typedef dispatch_object_s* dispatch_object_t;
typedef dispatch_queue_s* dispatch_queue_t;
typedef dispatch_queue_s* dispatch_queue_global_t;
typedef dispatch_queue_s* dispatch_queue_main_t;
typedef dispatch_group_s* dispatch_group_t;
typedef dispatch_semaphore_s* dispatch_semaphore_t;
typedef dispatch_queue_attr_s* dispatch_queue_attr_t;

#if defined(__BLOCKS__)
typedef void (^dispatch_block_t)(void);
#else
using dispatch_block_t = std::function<void()>;
#endif

// An instant: ticks of the host clock, or one of the two constants.
typedef uint64_t dispatch_time_t;
#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)

#ifndef NSEC_PER_SEC
#define NSEC_PER_SEC 1000000000ull
#define NSEC_PER_MSEC 1000000ull
#define USEC_PER_SEC 1000000ull
#define NSEC_PER_USEC 1000ull
#endif

#define DISPATCH_QUEUE_PRIORITY_HIGH 2
#define DISPATCH_QUEUE_PRIORITY_DEFAULT 0
#define DISPATCH_QUEUE_PRIORITY_LOW (-2)
#define DISPATCH_QUEUE_PRIORITY_BACKGROUND (-32768)

#define DISPATCH_QUEUE_SERIAL NULL

extern "C" {

// One more reference; one fewer, the last one frees. Global queues and the main queue are never freed. Not null.
void dispatch_retain(dispatch_object_t object);
void dispatch_release(dispatch_object_t object);

// The global queue of a priority above; null for any other number or for flags other than 0. Never freed.
dispatch_queue_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags);

// The queue whose blocks run on the process's first thread. Never freed.
dispatch_queue_t dispatch_get_main_queue(void);

// A new serial queue, with one reference that is the caller's; null for an attribute other than DISPATCH_QUEUE_SERIAL.
// The label (may be null) is copied.
dispatch_queue_t dispatch_queue_create(char const* label, dispatch_queue_attr_t attr);

// The queue's label, "" without one; valid as long as the queue.
char const* dispatch_queue_get_label(dispatch_queue_t queue);

// Runs the main queue's blocks for ever. To be called on the process's first thread, from no block.
[[noreturn]] void dispatch_main(void);

// Submits a block; returns at once.
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);

// Returns once the block has run on the queue: on the calling thread when a private or global queue is free for it.
#if defined(__BLOCKS__)
void dispatch_sync(dispatch_queue_t queue, dispatch_block_t block);
#else
void dispatch_sync(dispatch_queue_t queue, dispatch_block_t const& block);
#endif

// Submits a block once the host clock reads `when`; at once for an instant in the past, never for the "forever" one.
// The queue is retained until then.
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);

// A block object: a block that runs the given one, whose copies are one, and that the calls below know. It is submitted
// as any other. Null for flags other than 0, and for an empty block.
typedef unsigned long dispatch_block_flags_t;
dispatch_block_t dispatch_block_create(dispatch_block_flags_t flags, dispatch_block_t block);

// Of a block object only. Cancel: if it has not begun, it never runs; testcancel: non-zero after that call.
void dispatch_block_cancel(dispatch_block_t block);
intptr_t dispatch_block_testcancel(dispatch_block_t block);

// Waits until the block object has ended: 0; or until `timeout` (as dispatch_group_wait): non-zero. Until it has
// returned 0, once.
intptr_t dispatch_block_wait(dispatch_block_t block, dispatch_time_t timeout);

// The instant `delta` nanoseconds after `when` (DISPATCH_TIME_NOW: after now). Stops at the ends of the range;
// DISPATCH_TIME_FOREVER stays what it is.
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);

// A new group with nothing in it and one reference, the caller's.
dispatch_group_t dispatch_group_create(void);

// Something enters the group, or leaves it. Entered groups keep themselves alive. Leaving an empty group aborts.
void dispatch_group_enter(dispatch_group_t group);
void dispatch_group_leave(dispatch_group_t group);

// dispatch_async with the block counted as entered until it has run and has been destroyed.
void dispatch_group_async(dispatch_group_t group, dispatch_queue_t queue, dispatch_block_t block);

// Submits the block to the queue once the group is empty: at once when it is now.
void dispatch_group_notify(dispatch_group_t group, dispatch_queue_t queue, dispatch_block_t block);

// Waits until the group is empty: 0; or until `timeout`: non-zero. While a test holds the clock, a timeout waits as
// long as it would on a running one.
intptr_t dispatch_group_wait(dispatch_group_t group, dispatch_time_t timeout);

// A counting semaphore with one reference, the caller's; null for a negative value.
dispatch_semaphore_t dispatch_semaphore_create(intptr_t value);

// Takes one: 0; or gives up at `timeout` (as dispatch_group_wait): non-zero.
intptr_t dispatch_semaphore_wait(dispatch_semaphore_t semaphore, dispatch_time_t timeout);

// Gives one: non-zero when that woke a waiter.
intptr_t dispatch_semaphore_signal(dispatch_semaphore_t semaphore);

} // extern "C"
