#include "platform/dispatch/main_queue.h"
#include "platform/foundation/main_thread.h"

#include <CoreFoundation/CFRunLoop.h>
#include <Foundation/NSAutoreleasePool.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Instant = std::optional<Clock::time_point>; // none: never

constexpr double kLongest = 1e9; // seconds; a longer run has no end

// The runs that the main thread is in, outermost first, and which of them were told to stop.
struct Runs {
    std::mutex mutex; // guards what follows
    std::vector<bool> stopped;

    static Runs& Shared() {
        static Runs& runs = *new Runs;
        return runs;
    }

    bool IsInnermostStopped() {
        std::lock_guard const lock(mutex);
        return stopped.back();
    }
};

struct RunScope {
    RunScope() {
        std::lock_guard const lock(Runs::Shared().mutex);
        Runs::Shared().stopped.push_back(false);
    }
    ~RunScope() {
        std::lock_guard const lock(Runs::Shared().mutex);
        Runs::Shared().stopped.pop_back();
    }
};

Instant After(CFTimeInterval seconds) {
    if (!(seconds < kLongest))
        return std::nullopt;
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(std::max(seconds, 0.0)));
}

bool ServeOnce() {
    NSAutoreleasePool const pool;
    bool const hadBlocks = platform::MainQueueDrain();
    return platform::PerformQueued() || hadBlocks;
}

CFRunLoopRunResult RunUntil(Instant until, bool onlyOnce) {
    if (pthread_main_np() == 0)
        return kCFRunLoopRunFinished;
    RunScope const scope;
    for (;;) {
        bool const hasServed = ServeOnce();
        if (hasServed && onlyOnce)
            return kCFRunLoopRunHandledSource;
        if (Runs::Shared().IsInnermostStopped())
            return kCFRunLoopRunStopped;
        if (until && Clock::now() >= *until)
            return kCFRunLoopRunTimedOut;
        if (!hasServed)
            platform::MainQueueWait(until);
    }
}

} // namespace

struct __CFRunLoop {};

CFRunLoopMode const kCFRunLoopDefaultMode = CFSTR("kCFRunLoopDefaultMode");

CFRunLoopRef CFRunLoopGetMain(void) {
    static __CFRunLoop theOne;
    return &theOne;
}

void CFRunLoopRun(void) {
    RunUntil(std::nullopt, false);
}

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode, CFTimeInterval seconds, Boolean returnAfterSourceHandled) {
    return RunUntil(After(seconds), returnAfterSourceHandled != 0);
}

void CFRunLoopStop(CFRunLoopRef) {
    {
        std::lock_guard const lock(Runs::Shared().mutex);
        if (Runs::Shared().stopped.empty())
            return;
        Runs::Shared().stopped.back() = true;
    }
    platform::MainQueueWake();
}
