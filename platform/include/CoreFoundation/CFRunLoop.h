// Stands in for <CoreFoundation/CFRunLoop.h>: the main thread's run loop.
//
// Kept: running it serves the main dispatch queue and what performSelectorOnMainThread has queued
// (<Foundation/NSObject.h>), each in the order submitted; runs nest; a stop ends the innermost run and is lost when
// there is none.
// Differs from the OS:
// - The process's first thread is the only one with a run loop: on any other thread a run is finished at once.
// - Modes are accepted and mean nothing. There are no sources, timers or observers of one's own.
// - While a main queue's block runs the loop, the queue's blocks submitted later are served too.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>

extern "C" {

typedef struct __CFRunLoop* CFRunLoopRef;
typedef CFStringRef CFRunLoopMode;

typedef SInt32 CFRunLoopRunResult;
enum {
    kCFRunLoopRunFinished = 1,
    kCFRunLoopRunStopped = 2,
    kCFRunLoopRunTimedOut = 3,
    kCFRunLoopRunHandledSource = 4,
};

extern CFRunLoopMode const kCFRunLoopDefaultMode;

// The first thread's run loop. Never freed. Any thread.
CFRunLoopRef CFRunLoopGetMain(void);

// Runs until it is stopped. The process's first thread.
void CFRunLoopRun(void);

// Runs for so many seconds: timed out; for 0 serves once what waits, without waiting itself. With
// `returnAfterSourceHandled` it also returns after the first round that had something to serve (handled source).
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds, Boolean returnAfterSourceHandled);

// Ends the innermost run, after what it is serving. Any thread.
void CFRunLoopStop(CFRunLoopRef loop);

} // extern "C"
