// Reading, mixing, converting, queueing and writing audio.
#include "tests/harness/child_process.h"
#include "tests/harness/temporary_folder.h"
#include "tools/audio/audio_queue.h"
#include "tools/audio/audio_source.h"
#include "tools/audio/content_hash.h"
#include "tools/audio/level_meter.h"
#include "tools/audio/mixer.h"
#include "tools/audio/rate_converter.h"
#include "tools/audio/wav_writer.h"
#include "tools/process/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.hh>

#include <cmath>
#include <csignal>
#include <cstring>
#include <fstream>
#include <numeric>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

using testing::HasSubstr;

namespace {

// A source of given samples.
class ListSource : public AudioSource {
public:
    ListSource(std::vector<float> lGiven, double nGivenRate = 44100) : lSamples(std::move(lGiven)), nRate(nGivenRate) {}
    size_t Read(float* pFrames, size_t nFrames) override {
        size_t const nTake = std::min(nFrames, (lSamples.size() - nAt) / kChannels);
        std::copy_n(lSamples.begin() + static_cast<long>(nAt), nTake * kChannels, pFrames);
        nAt += nTake * kChannels;
        return nTake;
    }
    double Rate() const override { return nRate; }
    std::optional<uint64_t> FrameCount() const override { return lSamples.size() / kChannels; }

private:
    std::vector<float> lSamples;
    double nRate;
    size_t nAt = 0;
};

std::vector<float> ReadAll(AudioSource& oSource, size_t nBlock) {
    std::vector<float> lAll, lBlock(nBlock * kChannels);
    for (size_t nRead = nBlock; nRead == nBlock;) {
        nRead = oSource.Read(lBlock.data(), nBlock);
        lAll.insert(lAll.end(), lBlock.begin(), lBlock.begin() + static_cast<long>(nRead * kChannels));
    }
    return lAll;
}

template <class Call>
std::string FailureText(Call const& oCall, ExitCode nExpected) {
    try {
        oCall();
    } catch (Failure const& oWhy) {
        EXPECT_EQ(oWhy.Code(), nExpected) << oWhy.what();
        return oWhy.what();
    }
    return "no failure";
}

} // namespace

TEST(Mixer, AddsAsLongAsTheLongestAndPassesOneSourceBitForBit) {
    std::vector<std::unique_ptr<AudioSource>> lTwo;
    lTwo.push_back(std::make_unique<ListSource>(std::vector<float>{0.5f, -0.5f, 0.9f, 0.9f}));
    lTwo.push_back(std::make_unique<ListSource>(std::vector<float>{0.25f, 0.25f, 0.9f, -0.9f, 1, 2, 3, 4}));
    Mixer oMixer(std::move(lTwo));
    EXPECT_EQ(oMixer.FrameCount(), 4u);
    EXPECT_EQ(ReadAll(oMixer, 3), (std::vector<float>{0.75f, -0.25f, 1.8f, 0, 1, 2, 3, 4}));

    float const nOdd = std::nanf("0x123"); // a NaN's own bits, and the sign of a zero, survive
    std::vector<float> const lBits = {-0.0f, nOdd, 1e-42f, INFINITY};
    std::vector<std::unique_ptr<AudioSource>> lOne;
    lOne.push_back(std::make_unique<ListSource>(lBits));
    Mixer oSingle(std::move(lOne));
    auto const lRead = ReadAll(oSingle, 64);
    ASSERT_EQ(lRead.size(), lBits.size());
    EXPECT_EQ(std::memcmp(lRead.data(), lBits.data(), sizeof(float) * lBits.size()), 0);
}

TEST(RateConverter, KeepsPitchAndLengthAndLeavesTheRightRateAlone) {
    constexpr double kFrom = 22050, kTo = 44100, kPitch = 1000;
    std::vector<float> lSine(static_cast<size_t>(kFrom) * kChannels);
    for (size_t n = 0; n < lSine.size() / 2; ++n)
        lSine[2 * n] = lSine[2 * n + 1] =
            0.5f * static_cast<float>(std::sin(2 * M_PI * kPitch * static_cast<double>(n) / kFrom));
    auto pConverted = ConvertRate(std::make_unique<ListSource>(lSine, kFrom), kTo);
    EXPECT_EQ(pConverted->FrameCount(), 44100u);
    auto const lOut = ReadAll(*pConverted, 1000);
    EXPECT_NEAR(static_cast<double>(lOut.size() / kChannels), kTo, 2);
    double nWorst = 0;
    for (size_t n = 4000; n < 40000; ++n) // away from the ends, where the filter rings
        nWorst = std::max(nWorst, std::fabs(lOut[2 * n] - 0.5 * std::sin(2 * M_PI * kPitch * double(n) / kTo)));
    EXPECT_LT(nWorst, 1e-4);

    auto pSame = std::make_unique<ListSource>(lSine, kTo);
    AudioSource* const pBefore = pSame.get();
    EXPECT_EQ(ConvertRate(std::move(pSame), kTo).get(), pBefore);
}

TEST(RateConverter, CarriesASourcesFailurePastTheLibrary) {
    struct Broken : ListSource {
        Broken() : ListSource(std::vector<float>(4000), 22050) {}
        size_t Read(float*, size_t) override { throw Failure(ExitCode::Input, "the pipe broke"); }
    };
    auto pConverted = ConvertRate(std::make_unique<Broken>(), 44100);
    std::vector<float> lBlock(64);
    EXPECT_EQ(FailureText([&] { pConverted->Read(lBlock.data(), 32); }, ExitCode::Input), "the pipe broke");
}

TEST(RateConverter, ChoosesTheDeviceRateOfTheSameFamily) {
    for (auto const& [nSource, nDevice] : std::initializer_list<std::pair<double, double>>{
             {44100, 44100}, {48000, 48000}, {22050, 44100}, {88200, 44100}, {96000, 48000}, {8000, 48000}})
        EXPECT_EQ(DeviceRateFor(nSource), nDevice) << nSource;
}

TEST(AudioFile, ReadsMonoAsStereoAndSaysWhatItCannotRead) {
    TemporaryFolder oFolder;
    std::vector<short> const lMono = {0, 16384, -32768};
    SndfileHandle(oFolder / "mono.wav", SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 44100).writef(lMono.data(), 3);
    EXPECT_EQ(ReadAll(*OpenAudioFile(oFolder / "mono.wav"), 2), (std::vector<float>{0, 0, 0.5f, 0.5f, -1, -1}));

    std::vector<float> const lSix(12);
    SndfileHandle(oFolder / "six.wav", SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 6, 44100).writef(lSix.data(), 2);
    SndfileHandle(oFolder / "none.wav", SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100);
    std::ofstream(oFolder / "empty.wav");
    std::ofstream(oFolder / "text.wav") << "this is no audio";
    struct Row {
        char const* szFile;
        char const* szText;
    };
    for (Row const& oRow :
         {Row{"six.wav", "has 6 channels"}, Row{"none.wav", "holds no audio"}, Row{"empty.wav", "is empty"},
          Row{"text.wav", "is not an audio file"}, Row{"missing.wav", "No such file"}, Row{".", "is a folder"}})
        EXPECT_THAT(FailureText([&] { OpenAudioFile(oFolder / oRow.szFile); }, ExitCode::Input),
                    HasSubstr(oRow.szText));
}

TEST(AudioFile, ReadsHeaderlessAudioFromAPipeAndLeavesAPartialFrameOut) {
    int arPipe[2];
    ASSERT_EQ(pipe(arPipe), 0);
    short const lSamples[] = {16384, -16384, 8192, 0, 77}; // two frames and half of a third
    ASSERT_EQ(write(arPipe[1], lSamples, sizeof lSamples), static_cast<ssize_t>(sizeof lSamples));
    close(arPipe[1]);
    auto pSource = OpenRawAudio(arPipe[0], {48000, 2, "s16"}, "the pipe");
    EXPECT_EQ(pSource->FrameCount(), std::nullopt);
    EXPECT_EQ(pSource->Rate(), 48000);
    EXPECT_EQ(ReadAll(*pSource, 16), (std::vector<float>{0.5f, -0.5f, 0.25f, 0}));
    close(arPipe[0]);
    EXPECT_THAT(FailureText([] { OpenRawAudio(0, {44100, 2, "s17"}, "-"); }, ExitCode::Usage), HasSubstr("s16, s24"));
}

TEST(AudioQueue, PassesEverythingInOrderBetweenTwoThreads) {
    AudioQueue oQueue(1024);
    constexpr size_t kFrames = 300001;
    std::thread oWriter([&] {
        std::vector<float> lBlock;
        for (size_t n = 0; n < kFrames; n += lBlock.size() / kChannels) {
            lBlock.resize(std::min<size_t>(777, kFrames - n) * kChannels);
            for (size_t i = 0; i < lBlock.size(); ++i)
                lBlock[i] = static_cast<float>((n * kChannels + i) % 65536);
            oQueue.Write(lBlock.data(), lBlock.size() / kChannels);
        }
        oQueue.Finish();
    });
    std::vector<float> lCycle(512 * kChannels);
    size_t nSeen = 0, nWrong = 0;
    while (!oQueue.AtEnd()) {
        size_t const nRead = oQueue.Read(lCycle.data(), 512);
        EXPECT_TRUE(nRead == 0 || nRead == 512 || nSeen + nRead == kFrames);
        for (size_t i = 0; i < nRead * kChannels; ++i)
            nWrong += lCycle[i] != static_cast<float>((nSeen * kChannels + i) % 65536);
        nSeen += nRead;
        std::this_thread::yield();
    }
    oWriter.join();
    EXPECT_EQ(nSeen, kFrames);
    EXPECT_EQ(nWrong, 0u);
}

TEST(AudioQueue, StopEndsAWaitForRoom) {
    AudioQueue oQueue(64);
    std::vector<float> const lMuch(1000 * kChannels);
    std::thread oWriter([&] { EXPECT_FALSE(oQueue.Write(lMuch.data(), 1000)); });
    oQueue.Stop();
    oWriter.join();
}

TEST(ContentHash, DependsOnFramesAndNotOnTheirBlocks) {
    std::vector<float> lFrames(64);
    std::iota(lFrames.begin(), lFrames.end(), -20.0f);
    ContentHash oWhole, oParts, oSwapped;
    oWhole.Add(lFrames.data(), 32);
    oParts.Add(lFrames.data(), 5);
    oParts.Add(lFrames.data() + 10, 27);
    EXPECT_EQ(oWhole.Value(), oParts.Value());
    std::swap(lFrames[8], lFrames[10]);
    oSwapped.Add(lFrames.data(), 32);
    EXPECT_NE(oWhole.Value(), oSwapped.Value());
}

TEST(WavWriter, GivesTheFileItsNameOnlyWhenItIsWhole) {
    TemporaryFolder oFolder;
    std::string const szPath = oFolder / "out.wav";
    std::vector<float> lFrames(1000 * kChannels);
    std::iota(lFrames.begin(), lFrames.end(), 0.0f);
    {
        WavWriter oWriter(szPath, 48000, false);
        oWriter.Write(lFrames.data(), 1000);
        EXPECT_FALSE(oFolder.Has("out.wav"));
        EXPECT_THAT(FailureText([&] { WavWriter(szPath, 48000, false); }, ExitCode::Output),
                    HasSubstr("another recorder is writing"));
        oWriter.Finish(990); // the ten last were silence to fill a cycle up
    }
    EXPECT_FALSE(oFolder.Has("out.wav.part"));
    FileFigures const oFigures = MeasureFile(szPath);
    ContentHash oHash;
    oHash.Add(lFrames.data(), 990);
    EXPECT_EQ(oFigures.nFrames, 990u);
    EXPECT_EQ(oFigures.nHash, oHash.Value());
    EXPECT_EQ(oFigures.nRate, 48000);
    EXPECT_EQ(oFigures.nPeak, 1979);

    EXPECT_THAT(FailureText([&] { WavWriter(szPath, 48000, false); }, ExitCode::Output), HasSubstr("--force"));
    WavWriter oReplacing(szPath, 44100, true);
    EXPECT_EQ(MeasureFile(szPath).nFrames, 990u) << "the old recording stays until the new one is whole";
    oReplacing.Finish(0);
    EXPECT_EQ(MeasureFile(szPath).nFrames, 0u);
}

TEST(WavWriter, KeepsAPlayablePartFileAndMovesADeadRecordersAside) {
    TemporaryFolder oFolder;
    std::string const szPath = oFolder / "out.wav";
    std::vector<float> const lSecond(44100 * kChannels, 0.5f);
    {
        WavWriter oWriter(szPath, 44100, false);
        for (int n = 0; n < 5; ++n)
            oWriter.Write(lSecond.data(), 44100);
        // What another program sees while the recorder has not closed it, as after a kill.
        EXPECT_GE(MeasureFile(oWriter.PartPath()).nFrames, 4u * 44100);
    }
    WavWriter oNext(szPath, 44100, false);
    EXPECT_EQ(oNext.LeftOver(), szPath + ".left-1.part");
    EXPECT_EQ(MeasureFile(oNext.LeftOver()).nFrames, 5u * 44100);
}

// The limit on a file's size stands in for a full disk: the same call fails in the same way.
TEST(WavWriter, SaysThatTheDiskIsFullAndKeepsWhatFitted) {
    TemporaryFolder oFolder;
    std::string const szPath = oFolder / "out.wav";
    ChildProcess oLimited([&](auto const&) {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit const oLimit = {1 << 20, 1 << 20};
        setrlimit(RLIMIT_FSIZE, &oLimit);
        std::string const szText = FailureText(
            [&] {
                WavWriter oWriter(szPath, 44100, false);
                std::vector<float> const lSecond(44100 * kChannels, 0.5f);
                for (int n = 0; n < 10; ++n)
                    oWriter.Write(lSecond.data(), 44100);
            },
            ExitCode::Output);
        return szText.find("out.wav.part: File too large") != std::string::npos ? 0 : 1;
    });
    EXPECT_EQ(oLimited.Wait(), 0);
    EXPECT_FALSE(oFolder.Has("out.wav"));
    EXPECT_GE(MeasureFile(szPath + ".part").nFrames, 2u * 44100);
}
