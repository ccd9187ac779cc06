// What a recorder does with what its connections bring.
#include "tests/harness/leak_check.h"
#include "tools/roles/audio_intake.h"
#include "tools/roles/plugin_connections.h"
#include "xpc/helperlink/helper_keys.h"

#include <gtest/gtest.h>
#include <xpc/xpc.h>

#include <thread>

namespace {

std::vector<float> Block(float nFirst, size_t nFrames) {
    std::vector<float> lBlock(nFrames * kChannels);
    for (size_t n = 0; n < lBlock.size(); ++n)
        lBlock[n] = nFirst + static_cast<float>(n / kChannels);
    return lBlock;
}

void Add(AudioIntake& oIntake, long nConnection, float nFirst, size_t nFrames = 2) {
    auto const lBlock = Block(nFirst, nFrames);
    oIntake.Add(nConnection, lBlock.data(), lBlock.size() * sizeof(float));
}

// The left channel of everything, in order.
std::vector<float> TakeAll(AudioIntake& oIntake) {
    oIntake.Close();
    std::vector<float> lAll, lFrames;
    while (oIntake.Take(lFrames))
        for (size_t n = 0; n < lFrames.size(); n += kChannels)
            lAll.push_back(lFrames[n]);
    return lAll;
}

} // namespace

TEST(AudioIntake, PutsAReconnectedDevicesBlocksBehindItsEarlierOnes) {
    AudioIntake oIntake;
    Add(oIntake, 1, 0);
    Add(oIntake, 2, 4); // the new connection's first block overtakes the old one's last
    Add(oIntake, 3, 8);
    Add(oIntake, 1, 2);
    oIntake.ConnectionEnded(2); // before its turn has come
    Add(oIntake, 3, 10);
    oIntake.ConnectionEnded(1);
    Add(oIntake, 3, 12);
    oIntake.ConnectionEnded(3);
    Add(oIntake, 4, 14);
    EXPECT_EQ(TakeAll(oIntake), (std::vector<float>{0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, 14, 15}));
    EXPECT_EQ(oIntake.Now().nFrames, 14u);
}

TEST(AudioIntake, RefusesOddSizesAndASecondDevice) {
    AudioIntake oIntake;
    float const arBytes[4] = {};
    for (size_t const nByteCount : {0, 1, 7, 9, 12})
        oIntake.Add(1, arBytes, nByteCount);
    EXPECT_EQ(oIntake.Now().nRefusedBlocks, 5u);
    Add(oIntake, 1, 0);
    size_t const nPerBlock = AudioIntake::kMostWaiting / kBytesPerFrame / 2;
    for (int n = 0; n < 4; ++n)
        Add(oIntake, 2, 0, nPerBlock);
    EXPECT_EQ(oIntake.Now().nRefusedBlocks, 7u) << "two fill what may wait, two are refused";
    EXPECT_EQ(TakeAll(oIntake), (std::vector<float>{0, 1}));
}

TEST(AudioIntake, BoundsWhatManyConnectionsThatComeAndGoLeaveBehind) {
    AudioIntake oIntake;
    Add(oIntake, 1, 0);
    size_t const nPerBlock = AudioIntake::kMostWaiting / kBytesPerFrame / 4;
    for (long n = 0; n < 1000; ++n) {
        Add(oIntake, 2 + n, 0, n < 500 ? nPerBlock : 1);
        oIntake.ConnectionEnded(2 + n);
    }
    oIntake.ConnectionEnded(1);
    EXPECT_EQ(oIntake.Now().nBlocks, 1u + 4u) << "the current one's, and what has room to wait";
    for (long n = 0; n < 1000; ++n)
        Add(oIntake, 2000 + n, 0, 1); // the first is the current one
    oIntake.ConnectionEnded(2000);
    EXPECT_EQ(oIntake.Now().nBlocks, 5u + 2u);
    EXPECT_EQ(oIntake.Now().nRefusedBlocks, 996u + 999u - AudioIntake::kMostWaiters);
}

// Also a recorder that is connected to every minute for weeks has one thread a connection, not one for each there was.
TEST(PlugInConnections, ForgetsThoseWhoseOtherEndHasGone) {
    AudioIntake oIntake;
    PlugInConnections const oDoor(oIntake, [](EventLine const&) {});
    int const nBefore = ProcessCounts::Now().nThreads;
    float const arFrame[kChannels] = {};
    for (unsigned n = 1; n <= 20; ++n) {
        xpc_connection_t const pPlugIn =
            xpc_connection_create_from_endpoint(static_cast<xpc_endpoint_t>(oDoor.EndPoint()));
        xpc_connection_set_event_handler(pPlugIn, [](xpc_object_t) {});
        xpc_connection_resume(pPlugIn);
        LXPCObject const oMessage(xpc_dictionary_create(nullptr, nullptr, 0));
        xpc_dictionary_set_data(oMessage.Get(), kVADKeyAudioData, arFrame, sizeof arFrame);
        xpc_connection_send_message(pPlugIn, oMessage.Get());
        EXPECT_TRUE(oIntake.WaitForFrames(n, std::chrono::seconds(10)));
        xpc_connection_cancel(pPlugIn);
        xpc_release(pPlugIn);
    }
    auto const oDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (ProcessCounts::Now().nThreads > nBefore && std::chrono::steady_clock::now() < oDeadline)
        std::this_thread::yield();
    EXPECT_EQ(ProcessCounts::Now().nThreads, nBefore);
}

TEST(AudioIntake, DropsAndCountsWhatTheDiskIsTooSlowFor) {
    AudioIntake oIntake;
    size_t const nPerBlock = AudioIntake::kMostPending / kBytesPerFrame / 4;
    for (int n = 0; n < 6; ++n)
        Add(oIntake, 1, 0, nPerBlock);
    AudioIntake::Figures const oFigures = oIntake.Now();
    EXPECT_EQ(oFigures.nBlocks, 4u);
    EXPECT_EQ(oFigures.nDroppedBlocks, 2u);
    EXPECT_TRUE(oIntake.WaitForFrames(6 * nPerBlock, std::chrono::seconds(0))) << "dropped ones have arrived too";
}

TEST(AudioIntake, WaitsForFramesOnlyWhileTheyComeAndWakesItsReader) {
    AudioIntake oIntake;
    EXPECT_FALSE(oIntake.WaitForFrames(1, std::chrono::milliseconds(1)));
    std::thread oReader([&] {
        std::vector<float> lFrames;
        size_t nSeen = 0;
        while (oIntake.Take(lFrames))
            nSeen += lFrames.size() / kChannels;
        EXPECT_EQ(nSeen, 2000u);
    });
    std::thread oSender([&] {
        for (int n = 0; n < 1000; ++n)
            Add(oIntake, 1, 0);
    });
    EXPECT_TRUE(oIntake.WaitForFrames(2000, std::chrono::seconds(60)));
    oSender.join();
    oIntake.Close();
    oReader.join();
}
