// The running count, the device's clock under a host clock in the test's hand, and what reaches a recorder.
#include "tests/driver/driver_test.h"

#include "driver/io/clock.h"
#include "platform/testing/clock.h"
#include "tests/xpc/helperlink/helper_and_recorder.h"
#include "xpc/client_manager.h"
#include "xpc/helperlink/vad_plugin_xpc_client.h"

#include <limits>
#include <utility>

namespace {

constexpr UInt64 kPeriod44100 = 371519274; // 371519274.38 ticks of a nanosecond
constexpr UInt64 kPeriod48000 = 341333333; // 341333333.33

} // namespace

class IO : public Driver {
protected:
    using Stamp = std::pair<UInt64, UInt64>; // period, host time
    Stamp ZeroStamp() {
        Float64 nSampleTime = -1;
        UInt64 nHostTime = ~0ull, nSeed = ~0ull;
        EXPECT_EQ((*pDriver)->GetZeroTimeStamp(pDriver, 3, 1, &nSampleTime, &nHostTime, &nSeed), 0);
        EXPECT_EQ(nSeed, 1u);
        UInt64 const nPeriod = static_cast<UInt64>(nSampleTime) / 16384;
        EXPECT_EQ(nSampleTime, static_cast<Float64>(nPeriod * 16384));
        return {nPeriod, nHostTime};
    }
    OSStatus Start() { return (*pDriver)->StartIO(pDriver, 3, 1); }
    OSStatus Stop() { return (*pDriver)->StopIO(pDriver, 3, 1); }
    OSStatus Change(AudioObjectID nObject, UInt64 nRate) {
        return (*pDriver)->PerformDeviceConfigurationChange(pDriver, nObject, nRate, nullptr);
    }
};

TEST_F(IO, RunsFromTheFirstStartToTheLastStop) {
    auto const running = [&] { return Get(3, At('goin'), 4).lBytes == U({1}); };
    EXPECT_EQ(Stop(), 'nope');
    EXPECT_EQ(Start() + Start() + Stop(), 0);
    EXPECT_TRUE(running());
    EXPECT_EQ(Stop(), 0);
    EXPECT_FALSE(running());
    EXPECT_EQ(Stop(), 'nope');
    gVADIORunningCount = std::numeric_limits<UInt64>::max();
    EXPECT_EQ(Start(), 'nope');
    EXPECT_EQ(Stop() + Start(), 0);
    for (UInt32 const nOperation : {'rite', 'read', 'mixo', 'zzzz'}) {
        Boolean bWillDo = 2, bInPlace = 2;
        EXPECT_EQ((*pDriver)->WillDoIOOperation(pDriver, 3, 1, nOperation, &bWillDo, nullptr), 0);
        EXPECT_EQ((*pDriver)->WillDoIOOperation(pDriver, 3, 1, nOperation, nullptr, &bInPlace), 0);
        EXPECT_EQ(bWillDo, nOperation == 'rite' || nOperation == 'read');
        EXPECT_EQ(bInPlace, 1);
    }
}

TEST_F(IO, ClockStepsOnePeriodACallFromTheFirstStart) {
    TestClockHold(1000);
    ASSERT_EQ(Start(), 0);
    TestClockAdvance(kPeriod44100 - 1);
    EXPECT_EQ(ZeroStamp(), Stamp(0, 1000));
    TestClockAdvance(1);
    ASSERT_EQ(Start(), 0); // no new anchor
    EXPECT_EQ(ZeroStamp(), Stamp(1, 1000 + kPeriod44100));
    EXPECT_EQ(ZeroStamp(), Stamp(1, 1000 + kPeriod44100));
    TestClockAdvance(2 * kPeriod44100 + 1);
    for (UInt64 const n : {2, 3, 3})
        EXPECT_EQ(ZeroStamp(), Stamp(n, 1000 + static_cast<UInt64>(static_cast<Float64>(n) * 16384e9 / 44100)));
    ASSERT_EQ(Stop() + Stop(), 0);
    EXPECT_EQ(ZeroStamp().first, 3u) << "the clock outlasts the last stop";
    ASSERT_EQ(Start(), 0);
    EXPECT_EQ(ZeroStamp(), Stamp(0, 1001 + 3 * kPeriod44100));
}

TEST_F(IO, ClockTakesANewRateWithoutANewAnchor) {
    TestClockHold(0);
    ASSERT_EQ(Start(), 0);
    TestClockAdvance(kPeriod44100);
    for (auto const& [nObject, nRate] : {std::pair<UInt32, UInt64>{3, 96000}, {8, 48000}, {3, (1ull << 32) + 48000}})
        EXPECT_EQ(Change(nObject, nRate), '!obj');
    EXPECT_EQ(ZeroStamp(), Stamp(1, kPeriod44100));
    EXPECT_EQ(Change(3, 48000), 0);
    EXPECT_EQ(ZeroStamp(), Stamp(1, kPeriod48000));
    TestClockAdvance(2 * kPeriod48000 - kPeriod44100 - 1);
    EXPECT_EQ(ZeroStamp(), Stamp(1, kPeriod48000));
    TestClockAdvance(1); // two thirds of a tick short of the second period, which are cut off
    EXPECT_EQ(ZeroStamp(), Stamp(2, 2 * kPeriod48000));
}

// The due time is the cut-off offset plus the anchor in integers; the reported one is a floating-point sum, which at
// this host time (centuries) has steps of 256.
TEST_F(IO, ClockRoundsTheReportedTimeAndNotTheDueOne) {
    TestClockHold((1ull << 60) + 1);
    ASSERT_EQ(Start(), 0);
    TestClockAdvance(kPeriod44100 - 1);
    EXPECT_EQ(ZeroStamp(), Stamp(0, 1ull << 60));
    TestClockAdvance(1);
    EXPECT_EQ(ZeroStamp(), Stamp(1, (1ull << 60) + 371519232));
}

TEST_F(IO, ClockCountsInTheHostsTicks) {
    TestClockSetTimebase(125, 3);
    TestClockHold(24);
    EXPECT_EQ(Change(3, 44100) + Start(), 0);
    TestClockAdvance(8916462); // 8916462.59 cut off
    EXPECT_EQ(ZeroStamp(), Stamp(1, 24 + 8916462));
    for (Float64 const nTicks : {1e300, std::numeric_limits<Float64>::quiet_NaN()}) { // useless, but defined
        gVADHostTicksPerFrame = nTicks;
        ZeroStamp();
    }
}

// Over the real link; the recorder's endpoint comes as the helper's message would bring it.
TEST_F(IO, WhatIsMixedAndTheVolumeReachTheRecorder) {
    ServiceFolder const oNoHelper;
    FakeRecorder oRecorder;
    LVADPluginXPCClient& oLink = *LVADPluginXPCClient::GetInstance();
    Bytes lMix(512 * 8, 'm'), lLost(8, 'l');
    auto const cycle = [&](UInt32 nOperation, Bytes& lBuffer, UInt32 nFrames) {
        Bytes const lBefore = lBuffer;
        EXPECT_EQ((*pDriver)->DoIOOperation(pDriver, 3, 8, 1, nOperation, nFrames, nullptr, lBuffer.data(), nullptr),
                  0);
        EXPECT_EQ(lBuffer, lBefore) << "the host's buffer was touched";
    };
    ASSERT_EQ((*pDriver)->Initialize(pDriver, oHost.Ref()), 0);
    EXPECT_EQ(Start(), 0); // no recorder is known: IO goes on all the same
    cycle('rite', lLost, 1);
    LXPCData const oEndPoint(kVADKeySendEndPoint, LXPCDataType_Object, LXPCValue(oRecorder.oEndPoint.Get()));
    oLink.EvMessageReceived(1, 1, &oEndPoint, 1);
    ASSERT_TRUE(oLink.IsAppConnected());
    for (UInt32 const nOperation : {'read', 'mixo', 'rite', 'pmix'})
        cycle(nOperation, lMix, 512);
    for (UInt32 const nFrames : {0x10000000u, 0x20000000u, 0xFFFFFFFFu}) // more bytes than an int can say
        cycle('rite', lLost, nFrames);
    for (Float32 const nVolume : {0.5f, 0.5f, 3.0f})
        EXPECT_EQ(Set(9, 'lcsv', F(nVolume)), 0);
    EXPECT_EQ(Set(9, 'lcdv', F(0)) + Set(10, 'bcvl', U({1})), 0);
    EXPECT_TRUE(oRecorder.oSink.WaitFor(SinkEvent::Message, 4));
    EXPECT_EQ(oRecorder.LastAudio(), lMix);
    std::vector<double> lVolumes;
    for (SinkEvent const& oEvent : oRecorder.oSink.All(SinkEvent::Message))
        lVolumes.push_back(oEvent.lItems[0].dValue);
    EXPECT_EQ(lVolumes, (std::vector<double>{0, 0.5, 1, 0.970142484f})); // the first is the audio

    ASSERT_EQ((*pDriver)->Initialize(pDriver, oHost.Ref()), 0); // a new client, which only a start connects
    cycle('rite', lLost, 1);
    EXPECT_EQ(Start(), 0);
    lMix.assign(8, 'n');
    cycle('rite', lMix, 1);
    EXPECT_TRUE(oRecorder.oSink.WaitFor(SinkEvent::Message, 5));
    EXPECT_EQ(oRecorder.LastAudio(), lMix);
    LXPCClientManager::DestroyAll();
    oLink.ForgetEndPoint();
}
