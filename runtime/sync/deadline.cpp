#include "runtime/sync/deadline.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <ctime>

using std::chrono::ceil;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

LDeadline::LDeadline(unsigned int nTimeout) noexcept : bLimited(nTimeout != kLNoTimeout) {
    if (bLimited)
        tEnd = steady_clock::now() + milliseconds(nTimeout);
}

bool LDeadline::HasPassed() const noexcept {
    return bLimited && steady_clock::now() >= tEnd;
}

unsigned int LDeadline::TimeLeft() const noexcept {
    if (!bLimited)
        return kLNoTimeout;
    auto const nLeft = ceil<milliseconds>(tEnd - steady_clock::now()).count();
    return static_cast<unsigned int>(std::max<long long>(nLeft, 0));
}

int LDeadline::PollTimeout() const noexcept {
    return bLimited ? static_cast<int>(std::min<unsigned int>(TimeLeft(), INT_MAX)) : -1;
}

void LSleep(unsigned int nMilliseconds) noexcept {
    do {
        timespec tRest{static_cast<time_t>(nMilliseconds / 1000), static_cast<long>(nMilliseconds % 1000) * 1'000'000};
        while (nanosleep(&tRest, &tRest) != 0 && errno == EINTR)
            ;
    } while (nMilliseconds == kLNoTimeout);
}
