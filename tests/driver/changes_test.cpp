// What a change stores, what it tells the host, and what it leaves alone.
#include "tests/driver/driver_test.h"

#include "driver/state/state.h"
#include "platform/testing/clock.h"
#include "platform/testing/objects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <limits>

namespace {

constexpr Float32 kInfinity = std::numeric_limits<Float32>::infinity();
constexpr Float32 kNaN = std::numeric_limits<Float32>::quiet_NaN();

} // namespace

TEST_F(Driver, ChangesAreStoredAndReportedWhenTheValueMoves) {
    FakeHost::Events const lNone, lVolume = {"9 lcsv lcdv"}, lAsked = {"3 nsrt", "change 48000"};
    struct {
        char const* szCase;
        AudioObjectID nObject;
        UInt32 nSelector;
        Bytes lData;
        OSStatus nStatus;
        FakeHost::Events lEvents;
        UInt32 nReadSelector;
        Bytes lReadBack;
    } const lSteps[] = {
        {"volume 0 at load", 9, 'lcsv', F(0), 0, lNone, 'lcsv', F(0)},
        {"half", 9, 'lcsv', F(0.5f), 0, lVolume, 'lcdv', F(-70.5f)},
        {"the same in decibels", 9, 'lcdv', F(-70.5f), 0, lNone, 'lcsv', F(0.5f)},
        {"far below the range", 9, 'lcdv', F(-200), 0, lVolume, 'lcsv', F(0)},
        {"0 dB", 9, 'lcdv', F(0), 0, lVolume, 'lcsv', F(0.970142484f)},
        {"no number is no volume", 9, 'lcsv', F(kNaN), 'nope', lNone, 'lcsv', F(0.970142484f)},
        {"nor in decibels", 9, 'lcdv', F(-kNaN), 'nope', lNone, 'lcsv', F(0.970142484f)},
        {"above the range in decibels", 9, 'lcdv', F(20), 0, lVolume, 'lcsv', F(1)},
        {"above the range", 9, 'lcsv', F(kInfinity), 0, lNone, 'lcdv', F(6)},
        {"negative zero is zero", 9, 'lcsv', F(-0.0f), 0, lVolume, 'lcsv', F(0)},
        {"not muted already", 10, 'bcvl', U({0}), 0, lNone, 'bcvl', U({0})},
        {"any value mutes", 10, 'bcvl', U({0x100}), 0, {"10 bcvl"}, 'bcvl', U({1})},
        {"active already", 8, 'sact', U({7}), 0, lNone, 'sact', U({1})},
        {"inactive", 8, 'sact', U({0}), 0, {"8 sact"}, 'sact', U({0})},
        {"last source", 11, 'scci', U({3}), 0, {"11 scci"}, 'scci', U({3})},
        {"source past the last", 11, 'scci', U({4}), 'nope', lNone, 'scci', U({3})},
        {"items are unsigned", 11, 'scci', U({~0u}), 'nope', lNone, 'scci', U({3})},
        {"the destination is another", 12, 'scci', U({0}), 0, lNone, 'scci', U({0})},
        {"destination", 12, 'scci', U({2}), 0, {"12 scci"}, 'scci', U({2})},
        {"acquired already", 2, 'bxon', U({2}), 0, lNone, 'bxon', U({1})},
        {"released", 2, 'bxon', U({0}), 0, {"1 dev#", "2 bxon bdv#", "store 0"}, 'bxon', U({0})},
        {"acquired", 2, 'bxon', U({1u << 31}), 0, {"1 dev#", "2 bxon bdv#", "store 1"}, 'bxon', U({1})},
        {"the current rate", 3, 'nsrt', D({44100}), 0, lNone, 'nsrt', D({44100})},
        {"nearly a rate", 3, 'nsrt', D({48000.00001}), 'nope', lNone, 'nsrt', D({44100})},
        {"not a number", 3, 'nsrt', D({kNaN}), 'nope', lNone, 'nsrt', D({44100})},
        {"the other rate waits for the host", 3, 'nsrt', D({48000}), 0, lAsked, 'nsrt', D({44100})},
        {"asked for again", 3, 'nsrt', D({48000}), 0, lAsked, 'nsrt', D({44100})},
    };
    for (auto const& oStep : lSteps) {
        SCOPED_TRACE(oStep.szCase);
        EXPECT_EQ(Set(oStep.nObject, oStep.nSelector, oStep.lData), oStep.nStatus);
        EXPECT_EQ(oHost.TakeEvents(oStep.lEvents.size()), oStep.lEvents);
        EXPECT_EQ(Get(oStep.nObject, At(oStep.nReadSelector), 8).lBytes, oStep.lReadBack);
    }
    EXPECT_EQ((*pDriver)->PerformDeviceConfigurationChange(pDriver, 3, 48000, nullptr), 0);
    EXPECT_EQ(Get(3, At('nsrt'), 8).lBytes, D({48000}));
    EXPECT_EQ(Get(8, At('sfmt'), 40).lBytes.substr(0, 8), D({48000}));
    EXPECT_EQ(Get(3, At('nsr#'), 16).lBytes, D({44100, 44100}));
    EXPECT_EQ(Get(8, At('sfma'), 56).lBytes.substr(0, 8), D({44100}));
}

TEST_F(Driver, StreamFormatMayOnlyChangeItsRate) {
    auto const format = [](Float64 nRate) { return AudioStreamBasicDescription{nRate, 'lpcm', 9, 8, 1, 8, 2, 32, 99}; };
    for (UInt32 const nSelector : {'sfmt', 'pft '}) {
        for (size_t nField = 0; nField < 7; ++nField) {
            Bytes lWrong = BytesOf({format(nField % 2 ? 48000 : 96000)}); // the format is named first
            lWrong[8 + 4 * nField] ^= 1;
            EXPECT_EQ(Set(8, nSelector, lWrong), '!dat') << "field " << nField;
        }
        EXPECT_EQ(Set(8, nSelector, BytesOf({format(96000)})), 'nope');
        EXPECT_EQ(Set(8, nSelector, BytesOf({format(44100)})), 0);
        EXPECT_EQ(oHost.TakeEvents(), FakeHost::Events{});
        EXPECT_EQ(Set(8, nSelector, BytesOf({format(48000)})), 0);
        EXPECT_EQ(oHost.TakeEvents(1), FakeHost::Events{"change 48000"});
    }
}

TEST_F(Driver, BoxNamesAreReportedAlwaysAndOwned) {
    long const nObjects = PlatformCountLiveObjects();
    CFStringRef const szName = CFStringCreateWithCString(nullptr, "Cellar", kCFStringEncodingUTF8);
    for (int n = 0; n < 2; ++n) {
        EXPECT_EQ(Set(2, 'lnam', Ref(szName)), 0);
        EXPECT_EQ(oHost.TakeEvents(), FakeHost::Events{"2 lnam"});
    }
    CFRelease(szName);
    Bytes const lTaken = Get(2, At('lnam'), 8).lBytes;
    EXPECT_EQ(Set(2, 'lnam', Ref(nullptr)), 0);
    EXPECT_EQ(TakeText(lTaken), "Cellar") << "what a caller took outlives the driver's name";
    EXPECT_EQ(Get(2, At('lnam'), 8).lBytes, Ref(nullptr));
    EXPECT_EQ(PlatformCountLiveObjects(), nObjects);
}

TEST_F(Driver, IdentifyEndsTwoSecondsLaterForEachRequest) {
    TestClockHold(1000);
    auto const oAddress = At('iden');
    EXPECT_EQ((*pDriver)->SetPropertyData(pDriver, 2, 0, &oAddress, 0, nullptr, 4, nullptr), 0); // the value isn't read
    TestClockAdvance(1'000'000'000);
    EXPECT_EQ(Set(2, 'iden', U({0})), 0);
    TestClockAdvance(999'999'999);
    EXPECT_EQ(oHost.TakeEvents(), FakeHost::Events{});
    for (int n = 0; n < 2; ++n) {
        TestClockAdvance(n == 0 ? 1 : 1'000'000'000);
        EXPECT_EQ(oHost.TakeEvents(1), FakeHost::Events{"2 iden"});
    }
}

TEST_F(Driver, ChangesWorkWithoutAHost) {
    gVADHost = nullptr;
    EXPECT_EQ(Set(9, 'lcsv', F(0.25f)) + Set(2, 'bxon', U({0})) + Set(3, 'nsrt', D({48000})), 0);
    EXPECT_EQ(Get(9, At('lcsv'), 4).lBytes, F(0.25f));
    EXPECT_EQ(oHost.TakeEvents(), FakeHost::Events{});
}

TEST_F(Driver, CurveConvertsInPlaceAndStaysInRange) {
    struct {
        UInt32 nSelector;
        Float32 nIn, nOut;
    } const lCases[] = {
        // clang-format off
        {'lcsd', 0.25f, -89.625f}, {'lcsd', 1, 6}, {'lcsd', -1, -96}, {'lcsd', 1.5f, 6}, {'lcsd', kNaN, -96},
        {'lcds', -48, 0.685994327f}, {'lcds', 6, 1}, {'lcds', -1000, 0}, {'lcds', 1000, 1}, {'lcds', kNaN, 0},
        // Where a fused or a double-precision product would end in another bit.
        {'lcsd', 0.8f, -30.7199936f}, {'lcsd', 0.95f, -3.94499969f}, {'lcsd', 0.98f, 1.9608078f},
        // clang-format on
    };
    for (auto const& oCase : lCases)
        EXPECT_EQ(Get(9, At(oCase.nSelector), 4, {}, F(oCase.nIn)).lBytes, F(oCase.nOut))
            << CodeText(oCase.nSelector) << " of " << oCase.nIn;
}
