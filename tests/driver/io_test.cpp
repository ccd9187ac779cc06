// The running count, the device's clock under a host clock in the test's hand, and the cycle.
#include "tests/driver/driver_test.h"

#include "driver/io/clock.h"
#include "platform/testing/clock.h"

#include <limits>

namespace {

constexpr UInt64 kPeriod44100 = 371519274; // 371519274.38 ticks of a nanosecond
constexpr UInt64 kPeriod48000 = 341333333; // 341333333.33

} // namespace

class IO : public Driver {
protected:
    struct Stamp {
        Float64 nSampleTime = -1;
        UInt64 nHostTime = ~0ull, nSeed = ~0ull;
        bool operator==(Stamp const&) const = default;
        friend void PrintTo(Stamp const& o, std::ostream* p) { *p << o.nSampleTime << " at " << o.nHostTime; }
    };
    static Stamp Period(UInt64 nNumber, UInt64 nHostTime) {
        return {static_cast<Float64>(nNumber * 16384), nHostTime, 1};
    }
    Stamp ZeroStamp() {
        Stamp o;
        EXPECT_EQ((*pDriver)->GetZeroTimeStamp(pDriver, 3, 1, &o.nSampleTime, &o.nHostTime, &o.nSeed), 0);
        return o;
    }
    OSStatus Start() { return (*pDriver)->StartIO(pDriver, 3, 1); }
    OSStatus Stop() { return (*pDriver)->StopIO(pDriver, 3, 1); }
    bool IsRunning() { return Get(3, At('goin'), 4).lBytes == U({1}); }
};

TEST_F(IO, RunsFromTheFirstStartToTheLastStop) {
    EXPECT_EQ(Stop(), 'nope');
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(Stop(), 0);
    EXPECT_TRUE(IsRunning());
    EXPECT_EQ(Stop(), 0);
    EXPECT_FALSE(IsRunning());
    EXPECT_EQ(Stop(), 'nope');
    gVADIORunningCount = std::numeric_limits<UInt64>::max();
    EXPECT_EQ(Start(), 'nope');
    EXPECT_EQ(Stop(), 0);
    EXPECT_EQ(Start(), 0);
}

TEST_F(IO, ClockStepsOnePeriodACallOnceThePeriodHasPassed) {
    TestClockHold(1000);
    ASSERT_EQ(Start(), 0);
    EXPECT_EQ(ZeroStamp(), Period(0, 1000));
    TestClockAdvance(kPeriod44100 - 1);
    EXPECT_EQ(ZeroStamp(), Period(0, 1000));
    TestClockAdvance(1);
    EXPECT_EQ(ZeroStamp(), Period(1, 1000 + kPeriod44100));
    EXPECT_EQ(ZeroStamp(), Period(1, 1000 + kPeriod44100));
    TestClockAdvance(4 * kPeriod44100 + 10);
    for (UInt64 const nPeriod : {2, 3, 4, 5, 5})
        EXPECT_EQ(ZeroStamp(),
                  Period(nPeriod, 1000 + static_cast<UInt64>(static_cast<Float64>(nPeriod) * 16384e9 / 44100)));
    EXPECT_EQ(Stop(), 0);
    EXPECT_EQ(ZeroStamp().nSampleTime, 5 * 16384.0) << "the clock outlasts the last stop";
}

TEST_F(IO, ClockIsAnchoredByTheFirstStartOnly) {
    TestClockHold(500);
    ASSERT_EQ(Start(), 0);
    TestClockAdvance(kPeriod44100);
    ASSERT_EQ(Start(), 0);
    EXPECT_EQ(ZeroStamp(), Period(1, 500 + kPeriod44100));
    ASSERT_EQ(Stop(), 0);
    ASSERT_EQ(Stop(), 0);
    TestClockAdvance(77);
    ASSERT_EQ(Start(), 0);
    EXPECT_EQ(ZeroStamp(), Period(0, 500 + kPeriod44100 + 77));
}

TEST_F(IO, ClockTakesANewRateWithoutANewAnchor) {
    TestClockHold(0);
    ASSERT_EQ(Start(), 0);
    TestClockAdvance(kPeriod44100);
    EXPECT_EQ(ZeroStamp(), Period(1, kPeriod44100));
    EXPECT_EQ((*pDriver)->PerformDeviceConfigurationChange(pDriver, 3, 96000, nullptr), '!obj');
    EXPECT_EQ((*pDriver)->PerformDeviceConfigurationChange(pDriver, 8, 48000, nullptr), '!obj');
    EXPECT_EQ(ZeroStamp(), Period(1, kPeriod44100));
    EXPECT_EQ((*pDriver)->PerformDeviceConfigurationChange(pDriver, 3, 48000, nullptr), 0);
    EXPECT_EQ(ZeroStamp(), Period(1, kPeriod48000));
    TestClockAdvance(2 * kPeriod48000 - kPeriod44100 - 1);
    EXPECT_EQ(ZeroStamp(), Period(1, kPeriod48000));
    TestClockAdvance(1); // two thirds of a tick short of the second period, which are cut off
    EXPECT_EQ(ZeroStamp(), Period(2, 2 * kPeriod48000));
}

// The due time is the cut-off offset plus the anchor in integers; the reported one is a floating-point sum, which at
// this host time (centuries) has steps of 256.
TEST_F(IO, ClockRoundsTheReportedTimeAndNotTheDueOne) {
    constexpr UInt64 kAnchor = (1ull << 60) + 1;
    TestClockHold(kAnchor);
    ASSERT_EQ(Start(), 0);
    TestClockAdvance(kPeriod44100 - 1);
    EXPECT_EQ(ZeroStamp(), Period(0, 1ull << 60));
    TestClockAdvance(1);
    EXPECT_EQ(ZeroStamp(), Period(1, (1ull << 60) + 371519232));
}

TEST_F(IO, ClockCountsInTheHostsTicks) {
    TestClockSetTimebase(125, 3);
    TestClockHold(24);
    gVADHostTicksPerFrame = LVADTicksPerFrame(44100);
    EXPECT_DOUBLE_EQ(gVADHostTicksPerFrame, 24000000.0 / 44100);
    ASSERT_EQ(Start(), 0);
    TestClockAdvance(8916462); // 8916462.59 cut off
    EXPECT_EQ(ZeroStamp(), Period(1, 24 + 8916462));
}

TEST_F(IO, ClockOfAHostWithoutATimebaseStaysDefined) {
    for (Float64 const nTicks :
         {0.0, 1e300, std::numeric_limits<Float64>::infinity(), std::numeric_limits<Float64>::quiet_NaN()}) {
        gVADHostTicksPerFrame = nTicks;
        ASSERT_EQ(Start(), 0);
        for (int n = 0; n < 3; ++n)
            EXPECT_EQ(ZeroStamp().nSeed, 1u);
        ASSERT_EQ(Stop(), 0);
    }
}

TEST_F(IO, AnnouncesWriteMixAndReadInput) {
    for (UInt32 const nOperation : {'rite', 'read', 'mixo', 'thrd', 'cycl', 'pmix', 'cmix', 'pout', 'zzzz'}) {
        bool const bExpected = nOperation == 'rite' || nOperation == 'read';
        Boolean bWillDo = 2, bInPlace = 2;
        EXPECT_EQ((*pDriver)->WillDoIOOperation(pDriver, 3, 1, nOperation, &bWillDo, nullptr), 0);
        EXPECT_EQ((*pDriver)->WillDoIOOperation(pDriver, 3, 1, nOperation, nullptr, &bInPlace), 0);
        EXPECT_EQ(bWillDo, bExpected) << CodeText(nOperation);
        EXPECT_EQ(bInPlace, 1) << CodeText(nOperation);
    }
}
