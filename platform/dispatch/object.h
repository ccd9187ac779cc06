// What every dispatch object begins with, so that dispatch_retain and dispatch_release can tell them apart.
#pragma once

#include <dispatch/dispatch.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace platform {

// The first member of every dispatch object. The public structures are empty, so it lies at the object's address.
struct DispatchHeader {
    std::atomic<uint32_t> nReferences{1};
    void (*pFree)(dispatch_object_t); // null: never freed
};

// When `nWhen` comes by the machine's clock; none for DISPATCH_TIME_FOREVER. A held host clock is taken to run from
// here on, so that a timeout never hangs.
std::optional<std::chrono::steady_clock::time_point> RealDeadline(dispatch_time_t nWhen);

// Waits on `cv` until `IsDone`, true, or until the instant, false. `oLock` holds the mutex of what IsDone reads.
template <class Predicate>
bool WaitOn(std::condition_variable& cv, std::unique_lock<std::mutex>& oLock, dispatch_time_t nWhen,
            Predicate const& IsDone) {
    if (auto const oDeadline = RealDeadline(nWhen))
        return cv.wait_until(oLock, *oDeadline, IsDone);
    cv.wait(oLock, IsDone);
    return true;
}

} // namespace platform
