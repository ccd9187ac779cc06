// A forked child has the locks of all threads, but only one of the threads: it would wait for good for a lock that
// another held. So a fork waits until nobody is at the task's ports.
#include "platform/mach/exceptions.h"
#include "platform/mach/ports.h"
#include "platform/mach/thread_ports.h"

#include <iterator>
#include <pthread.h>

namespace {

constexpr std::mutex& (*kMutexes[])() noexcept = {platform::ExceptionsMutex, platform::PortsMutex,
                                                  platform::ThreadPortsMutex}; // in the order in which they nest

void Lock() {
    for (auto const pMutex : kMutexes)
        pMutex().lock();
}

void Unlock() {
    for (auto p = std::rbegin(kMutexes); p != std::rend(kMutexes); ++p)
        (*p)().unlock();
}

[[gnu::constructor]] void Register() {
    pthread_atfork(Lock, Unlock, Unlock);
}

} // namespace
