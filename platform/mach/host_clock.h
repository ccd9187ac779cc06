// The host clock behind mach_absolute_time, for the parts of the platform that wait on it. Any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace platform {

using RealTime = std::chrono::steady_clock::time_point;

// When the host clock will read `nTicks`, by the machine's clock, as things stand: none while it is held before that.
std::optional<RealTime> RealTimeOf(uint64_t nTicks);

// Ticks to nanoseconds and back by the present timebase; what does not fit becomes the largest value.
uint64_t TicksOfNanoseconds(uint64_t nNanoseconds);
uint64_t NanosecondsOfTicks(uint64_t nTicks);

// `pNotify` is called, on the changing thread and with no lock held, after each change of speed, position or timebase.
// For the life of the process.
void WatchHostClock(void (*pNotify)());

} // namespace platform
