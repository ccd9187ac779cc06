#include "platform/dispatch/object.h"

#include "platform/mach/host_clock.h"

#include <mach/mach_time.h>

#include <algorithm>

namespace platform {

static DispatchHeader& HeaderOf(dispatch_object_t pObject) {
    return *reinterpret_cast<DispatchHeader*>(pObject);
}

std::optional<std::chrono::steady_clock::time_point> RealDeadline(dispatch_time_t nWhen) {
    if (nWhen == DISPATCH_TIME_FOREVER)
        return std::nullopt;
    if (nWhen == DISPATCH_TIME_NOW)
        return std::chrono::steady_clock::now();
    if (auto const oWhen = RealTimeOf(nWhen))
        return oWhen;
    uint64_t const nNow = mach_absolute_time();
    uint64_t const nAhead = nWhen > nNow ? NanosecondsOfTicks(nWhen - nNow) : 0;
    constexpr uint64_t kCentury = 3'200'000'000'000'000'000; // later instants would not fit the clock's type
    return std::chrono::steady_clock::now() + std::chrono::nanoseconds(std::min(nAhead, kCentury));
}

} // namespace platform

using platform::HeaderOf;

void dispatch_retain(dispatch_object_t object) {
    HeaderOf(object).nReferences.fetch_add(1, std::memory_order_relaxed);
}

void dispatch_release(dispatch_object_t object) {
    auto& oHeader = HeaderOf(object);
    if (oHeader.pFree && oHeader.nReferences.fetch_sub(1, std::memory_order_acq_rel) == 1)
        oHeader.pFree(object);
}
