#include "platform/mach/host_clock.h"

#include "platform/host/clock.h"
#include "platform/testing/clock.h"

#include <mach/mach_time.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <time.h>
#include <vector>

namespace platform {
namespace {

uint64_t RealNanoseconds() {
    timespec oNow;
    clock_gettime(CLOCK_MONOTONIC, &oNow);
    return uint64_t(oNow.tv_sec) * 1'000'000'000 + uint64_t(oNow.tv_nsec);
}

// nValue * nMultiplier / nDivisor without losing the product's upper half; the largest value when it does not fit.
uint64_t Scale(uint64_t nValue, uint32_t nMultiplier, uint32_t nDivisor) {
    uint64_t nWhole;
    if (__builtin_mul_overflow(nValue / nDivisor, nMultiplier, &nWhole))
        return UINT64_MAX;
    uint64_t const nPart = nValue % nDivisor * nMultiplier / nDivisor;
    return nWhole > UINT64_MAX - nPart ? UINT64_MAX : nWhole + nPart;
}

// The clock read nTicks at the machine's nReal, and goes fSpeed times as fast since; 0 when held.
struct Course {
    uint64_t nReal = 0;
    uint64_t nTicks = 0;
    double fSpeed = 1;
    uint32_t nNumerator = 1, nDenominator = 1;

    uint64_t At(uint64_t nRealNow) const {
        auto const nElapsed = static_cast<uint64_t>(static_cast<double>(nRealNow - nReal) * fSpeed);
        return nTicks + Scale(nElapsed, nDenominator, nNumerator);
    }
};

class HostClock {
public:
    uint64_t Now() {
        if (bPlain.load(std::memory_order_acquire))
            return RealNanoseconds();
        std::lock_guard oLock(mtx);
        return oCourse.At(RealNanoseconds());
    }

    Course Current() {
        std::lock_guard oLock(mtx);
        return oCourse;
    }

    // `Change` gets the course, re-anchored at the present instant.
    template <class Change>
    void Set(Change&& oChange) {
        std::vector<void (*)()> lToNotify;
        {
            std::lock_guard oLock(mtx);
            uint64_t const nRealNow = RealNanoseconds();
            oCourse.nTicks = oCourse.At(nRealNow);
            oCourse.nReal = nRealNow;
            oChange(oCourse);
            bPlain.store(oCourse.nTicks == oCourse.nReal && oCourse.fSpeed == 1.0 && oCourse.nNumerator == 1 &&
                             oCourse.nDenominator == 1,
                         std::memory_order_release);
            ++nChanges;
            lToNotify = lWatchers;
        }
        cvChanged.notify_all();
        for (auto pNotify : lToNotify)
            pNotify();
    }

    void Watch(void (*pNotify)()) {
        std::lock_guard oLock(mtx);
        lWatchers.push_back(pNotify);
    }

    void WaitUntil(uint64_t nDeadline) {
        while (Now() < nDeadline) {
            std::unique_lock oLock(mtx);
            uint64_t const nBefore = nChanges;
            auto const Changed = [&] { return nChanges != nBefore; };
            if (auto const oWhen = RealTimeOn(oCourse, nDeadline))
                cvChanged.wait_until(oLock, *oWhen, Changed);
            else
                cvChanged.wait(oLock, Changed);
        }
    }

    static std::optional<RealTime> RealTimeOn(Course const& oOn, uint64_t nTicks) {
        using std::chrono::nanoseconds;
        uint64_t nReal = oOn.nReal;
        if (nTicks > oOn.nTicks) {
            if (oOn.fSpeed == 0)
                return std::nullopt;
            double const fAhead =
                static_cast<double>(Scale(nTicks - oOn.nTicks, oOn.nNumerator, oOn.nDenominator)) / oOn.fSpeed;
            constexpr double kCentury = 3.2e18; // later instants would not fit the clock's type
            nReal += static_cast<uint64_t>(std::ceil(std::min(fAhead, kCentury)));
        }
        return RealTime(nanoseconds(nReal));
    }

private:
    std::atomic<bool> bPlain{true};
    std::mutex mtx; // guards what follows
    std::condition_variable cvChanged;
    Course oCourse;
    uint64_t nChanges = 0;
    std::vector<void (*)()> lWatchers;
};

// Never destroyed: threads may still read the clock while the process ends.
HostClock& Clock() {
    static HostClock& oClock = *new HostClock;
    return oClock;
}

} // namespace

std::optional<RealTime> RealTimeOf(uint64_t nTicks) {
    return HostClock::RealTimeOn(Clock().Current(), nTicks);
}

uint64_t TicksOfNanoseconds(uint64_t nNanoseconds) {
    Course const oCourse = Clock().Current();
    return Scale(nNanoseconds, oCourse.nDenominator, oCourse.nNumerator);
}

uint64_t NanosecondsOfTicks(uint64_t nTicks) {
    Course const oCourse = Clock().Current();
    return Scale(nTicks, oCourse.nNumerator, oCourse.nDenominator);
}

void WatchHostClock(void (*pNotify)()) {
    Clock().Watch(pNotify);
}

} // namespace platform

using platform::Clock;
using platform::Course;

uint64_t mach_absolute_time(void) {
    return Clock().Now();
}

kern_return_t mach_timebase_info(mach_timebase_info_t info) {
    if (!info)
        return KERN_INVALID_ARGUMENT;
    Course const oCourse = Clock().Current();
    *info = {oCourse.nNumerator, oCourse.nDenominator};
    return KERN_SUCCESS;
}

kern_return_t mach_wait_until(uint64_t deadline) {
    Clock().WaitUntil(deadline);
    return KERN_SUCCESS;
}

bool HostClockSetSpeed(double fFactor) {
    if (!std::isfinite(fFactor) || fFactor <= 0)
        return false;
    Clock().Set([&](Course& oCourse) { oCourse.fSpeed = fFactor; });
    return true;
}

void TestClockHold(uint64_t nTicks) {
    Clock().Set([&](Course& oCourse) {
        oCourse.nTicks = nTicks;
        oCourse.fSpeed = 0;
    });
}

void TestClockAdvance(uint64_t nTicks) {
    Clock().Set([&](Course& oCourse) { oCourse.nTicks += nTicks; });
}

void TestClockSetTimebase(uint32_t nNumerator, uint32_t nDenominator) {
    Clock().Set([&](Course& oCourse) {
        oCourse.nNumerator = nNumerator;
        oCourse.nDenominator = nDenominator;
        if (oCourse.fSpeed != 0)
            oCourse.nTicks = platform::Scale(oCourse.nReal, nDenominator, nNumerator);
    });
}

void TestClockReset() {
    Clock().Set([](Course& oCourse) { oCourse = {oCourse.nReal, oCourse.nReal, 1, 1, 1}; });
}
