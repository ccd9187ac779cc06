// Timeouts as the library counts them: milliseconds in an unsigned 32-bit number, 0xFFFFFFFF for no limit.
#pragma once

#include <chrono>

inline constexpr unsigned int kLNoTimeout = 0xFFFFFFFF;

// The end of a timeout that began when the object was made, on the monotonic clock. Any thread.
class LDeadline {
public:
    explicit LDeadline(unsigned int nTimeout) noexcept;

    bool HasPassed() const noexcept;

    // Whole milliseconds that are left, rounded down; kLNoTimeout when there is no limit.
    unsigned int TimeLeft() const noexcept;

    // The same as poll wants it: rounded up, so that poll is not early; -1 when there is no limit; cut at INT_MAX.
    int PollTimeout() const noexcept;

private:
    bool bLimited;
    std::chrono::steady_clock::time_point tEnd{};
};

// Sleeps the whole time, through interruptions; kLNoTimeout sleeps for ever.
void LSleep(unsigned int nMilliseconds) noexcept;
