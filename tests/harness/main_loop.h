// The main run loop, as tests run it.
#pragma once

#include <CoreFoundation/CFRunLoop.h>

#include <chrono>

// Serves the main thread's work until the condition holds (true), or for ten seconds. On the main thread. A condition
// that other threads bring about is looked at every few milliseconds.
template <class Condition>
bool RunMainLoopUntil(Condition const& oHolds) {
    auto const tDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!oHolds()) {
        if (std::chrono::steady_clock::now() > tDeadline)
            return false;
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.005, true);
    }
    return true;
}

// Serves all that waits by now, and what that brings about at once.
inline void RunMainLoopDry() {
    while (CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true) == kCFRunLoopRunHandledSource)
        ;
}
