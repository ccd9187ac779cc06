// Stands in for <Foundation/NSAutoreleasePool.h>: where references given to autorelease end.
//
// Kept: pools of a thread nest, and an object goes to the innermost one. The main run loop has one around each thing it
// serves.
// Differs from the OS: a pool is a scope; it ends with it.
#pragma once

#include <cstddef>

class NSAutoreleasePool {
public:
    NSAutoreleasePool() noexcept;
    ~NSAutoreleasePool(); // releases what came since, first come first
    NSAutoreleasePool(NSAutoreleasePool const&) = delete;
    NSAutoreleasePool& operator=(NSAutoreleasePool const&) = delete;

private:
    std::size_t nFirst; // place of its first object in the thread's list
};
