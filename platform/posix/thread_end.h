// What each thread does for the platform when it ends.
#pragma once

#include <optional>
#include <pthread.h>

namespace platform {

// A thread_local object with a destructor tells the loader of it, on its first use, under the loader's lock; and a host
// that unloads a bundle holds that lock while the bundle waits for our threads. This asks nobody, and runs after the
// thread's thread_local objects have gone.
//
// Never destroyed: one is made for each use, as a constant local to a function. Any thread.
class ThreadEnd {
public:
    // Without memory or room for one more, nothing can be arranged.
    explicit ThreadEnd(void (*pAtEnd)(void* pArgument)) noexcept;

    // The function is called with this argument, not null, when the calling thread ends; the last call counts. Inside
    // the function it may be arranged again, a few times over. Not for the main thread: that ends with the process.
    // False when it can't be arranged.
    bool Arrange(void* pArgument) const noexcept;

private:
    std::optional<pthread_key_t> nKey;
};

} // namespace platform
