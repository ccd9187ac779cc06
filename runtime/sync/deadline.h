// Timeouts as the library counts them: milliseconds in an unsigned 32-bit number, 0xFFFFFFFF for no limit.
#pragma once

#include <chrono>

inline constexpr unsigned int kLNoTimeout = 0xFFFFFFFF;

// The end of a timeout that began when the object was made, on the monotonic clock. Any thread.
class LDeadline {
public:
    explicit LDeadline(unsigned int nTimeout) noexcept;

    bool HasPassed() const noexcept;

    // Milliseconds that are left: the timeout less the whole ones that have passed, so that a wait for them is not
    // early and a timeout of 1 is one; 0 only when none is left. kLNoTimeout when there is no limit.
    unsigned int TimeLeft() const noexcept;

    // The same as poll wants it: -1 when there is no limit; cut at INT_MAX.
    int PollTimeout() const noexcept;

private:
    bool bLimited;
    std::chrono::steady_clock::time_point tEnd{};
};

// Sleeps the whole time, through interruptions; kLNoTimeout sleeps for ever.
void LSleep(unsigned int nMilliseconds) noexcept;
