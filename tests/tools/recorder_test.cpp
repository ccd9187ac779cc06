// What a recorder does with what its connections bring.
#include "tools/roles/audio_intake.h"

#include <gtest/gtest.h>

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
