// `lumora record`: the whole road, with real processes.
#include "tests/end_to_end/roles.h"
#include "tools/audio/content_hash.h"
#include "tools/audio/level_meter.h"
#include "tools/audio/mixer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.hh>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

// The hash of what a mix of the inputs at that rate is, made here and not by the processes under test.
uint64_t HashOfMix(std::vector<std::string> const& lInputs, double nRate) {
    auto const pMixer = OpenInputs(lInputs, {}, -1, nRate);
    ContentHash oHash;
    std::vector<float> lBlock(333 * kChannels);
    while (size_t const nRead = pMixer->Read(lBlock.data(), 333))
        oHash.Add(lBlock.data(), nRead);
    return oHash.Value();
}

} // namespace

struct CycleCase {
    int nRate;
    int nCycleFrames;
    size_t nFrames;
};

class Record : public testing::TestWithParam<CycleCase> {};

TEST_P(Record, IsBitExactInContentAndLength) {
    CycleCase const& oCase = GetParam();
    Roles oRoles;
    std::string const szInput = oRoles.MakeInput("in.wav", oCase.nFrames, oCase.nRate);
    std::string const szOutput = oRoles / "out.wav";
    Ended const oEnded =
        oRoles.Run({"record", "--speed", "20", "--frames", std::to_string(oCase.nCycleFrames), szInput, szOutput});
    EXPECT_EQ(oEnded.nStatus, 0) << oEnded.szErrors << oEnded.szOutput;
    EXPECT_EQ(WhatIsWrongWith(szOutput, 0, oCase.nFrames), "");
    EXPECT_EQ(MeasureFile(szOutput).nRate, oCase.nRate);
    size_t const nCycles =
        (oCase.nFrames + static_cast<size_t>(oCase.nCycleFrames) - 1) / static_cast<size_t>(oCase.nCycleFrames);
    EXPECT_THAT(oEnded.szOutput, AllOf(HasSubstr(std::to_string(nCycles) + " played, 0 lost"),
                                       HasSubstr("bit-exact  yes"), HasSubstr("peak")));
}

INSTANTIATE_TEST_SUITE_P(RatesAndCycles, Record,
                         testing::Values(CycleCase{44100, 64, 44100}, CycleCase{44100, 512, 100001},
                                         CycleCase{44100, 4096, 88200}, CycleCase{48000, 64, 48001},
                                         CycleCase{48000, 512, 96000}, CycleCase{48000, 4096, 4097},
                                         CycleCase{44100, 512, 1}),
                         [](auto const& oInfo) {
                             return std::to_string(oInfo.param.nRate) + "HzBy" +
                                    std::to_string(oInfo.param.nCycleFrames) + "Of" +
                                    std::to_string(oInfo.param.nFrames);
                         });

TEST(RecordMix, MixesInputsOfSeveralRatesAndLengths) {
    Roles oRoles;
    std::vector<std::string> const lInputs = {oRoles.MakeInput("a.wav", 30000, 48000),
                                              oRoles.MakeInput("b.wav", 10000, 22050, 5000),
                                              oRoles.MakeInput("c.wav", 50001, 48000, 70000)};
    std::string const szOutput = oRoles / "out.wav";
    Ended const oEnded = oRoles.Run({"record", "--speed", "20", lInputs[0], lInputs[1], lInputs[2], szOutput});
    EXPECT_EQ(oEnded.nStatus, 0) << oEnded.szErrors << oEnded.szOutput;
    EXPECT_EQ(MeasureFile(szOutput).nHash, HashOfMix(lInputs, 48000));
    EXPECT_EQ(MeasureFile(szOutput).nFrames, 50001u);
}

TEST(RecordMix, PlaysHeaderlessAudioFromAPipe) {
    Roles oRoles;
    {
        std::ofstream oRaw(oRoles / "in.raw", std::ios::binary);
        for (size_t n = 0; n < 100000; ++n) {
            float const arFrame[] = {LeftAt(n), RightAt(n)};
            oRaw.write(reinterpret_cast<char const*>(arFrame), sizeof arFrame);
        }
    }
    std::string const szOutput = oRoles / "out.wav";
    Ended const oEnded =
        oRoles.Run({"record", "--speed", "20", "--raw-rate", "48000", "--raw-format", "f32", "-", szOutput},
                   "cat '" + (oRoles / "in.raw") + "'");
    EXPECT_EQ(oEnded.nStatus, 0) << oEnded.szErrors << oEnded.szOutput;
    EXPECT_EQ(WhatIsWrongWith(szOutput, 0, 100000), "");
    EXPECT_EQ(MeasureFile(szOutput).nRate, 48000);
}

TEST(RecordStop, CtrlCFinishesAWholeFileOfWhatWasPlayed) {
    Roles oRoles;
    std::string const szInput = oRoles.MakeInput("in.wav", 44100 * 60);
    std::string const szOutput = oRoles / "out.wav";
    auto const pRecord = oRoles.Start({"record", "--set", "0.1 volume=0.5", szInput, szOutput});
    // The volume line shows that it plays.
    auto const szLine = pRecord->WaitLine(30000);
    EXPECT_THAT(szLine.value_or(""), HasSubstr("volume"));
    pRecord->Signal(SIGINT);
    std::string szOutputText;
    while (auto const szMore = pRecord->WaitLine(30000))
        szOutputText += *szMore + "\n";
    EXPECT_EQ(pRecord->WaitExit(30000), 0);
    EXPECT_THAT(szOutputText, AllOf(HasSubstr("stopped early"), HasSubstr("bit-exact  yes")));
    EXPECT_EQ(WhatIsWrongWith(szOutput, 0, kAnyNumber), "");
}

// A limit on the size of files, set by a shell around the command, fails the same write that a full disk would.
TEST(RecordStop, SaysThatTheDiskIsFullAndLeavesNothingUnderTheFinalName) {
    Roles oRoles;
    std::string const szInput = oRoles.MakeInput("in.wav", 44100 * 20);
    Ended const oEnded = oRoles.RunLimited(2 << 20, {"record", "--speed", "50", szInput, oRoles / "out.wav"});
    EXPECT_EQ(oEnded.nStatus, 4) << oEnded.szErrors;
    EXPECT_THAT(oEnded.szErrors, HasSubstr("out.wav.part: File too large. The "));
    EXPECT_FALSE(oRoles.Has("out.wav"));
    EXPECT_EQ(WhatIsWrongWith(oRoles / "out.wav.part", 0, kAnyNumber), "");
}

// What is wrong is said exactly, before anything is started, and the exit status tells which kind it was.
TEST(RecordErrors, AreExactAndHaveTheirOwnExitStatus) {
    Roles oRoles;
    std::string const szInput = oRoles.MakeInput("in.wav", 4410);
    std::ofstream(oRoles / "exists.wav") << "precious";
    std::ofstream(oRoles / "text.wav") << "no audio";
    std::ofstream(oRoles / "empty.wav");
    std::string const szOut = oRoles / "out.wav";
    struct Row {
        Roles::Arguments lArguments;
        int nStatus;
        char const* szError;
    };
    for (Row const& oRow : {
             Row{{}, 2, "A subcommand is required"},
             Row{{"play"}, 2, "there is no command 'play'"},
             Row{{"record", szInput}, 2, ""},
             Row{{"record", "--frames", "63", szInput, szOut}, 2, "--frames"},
             Row{{"record", "--frames", "4097", szInput, szOut}, 2, "--frames"},
             Row{{"record", "--rate", "96000", szInput, szOut}, 2, "--rate"},
             Row{{"record", "--speed", "0", szInput, szOut}, 2, "--speed"},
             Row{{"record", "--speed", "nan", szInput, szOut}, 2, "'nan' is not a number from 0.1 to 1000"},
             Row{{"record", "--raw-rate", "nan", "-", szOut}, 2, "--raw-rate"},
             Row{{"record", szInput, ""}, 2, "name of the recording is empty"},
             Row{{"helper", "--control", "99"}, 2, "'99' is not an open descriptor"},
             Row{{"record", "--set", "1 loudness=1", szInput, szOut}, 2, "'loudness' cannot be set"},
             Row{{"record", "--raw-format", "s17", "-", szOut}, 2, "'s17' is no raw format"},
             Row{{"record", "-", "-", szOut}, 2, "only once"},
             Row{{"record", oRoles / "missing.wav", szOut}, 3, "missing.wav: No such file or directory"},
             Row{{"record", oRoles / "text.wav", szOut}, 3, "text.wav is not an audio file"},
             Row{{"record", oRoles / "empty.wav", szOut}, 3, "empty.wav is empty"},
             Row{{"record", szInput, oRoles / "exists.wav"},
                 4,
                 "exists.wav exists. Choose another name, or give --force"},
             Row{{"record", "--force", szInput, oRoles / "./in.wav"}, 4, "is an input too"},
             Row{{"record", szInput, oRoles / "no/folder/out.wav"}, 4, "there is no folder"},
             Row{{"record", "--force", szInput, "/dev/null"}, 4, "/dev/null is not a file"},
             Row{{"record", "--bundle", oRoles / "X.driver", szInput, szOut}, 5, "there is no plug-in bundle at"},
             Row{{"inspect", "--bundle", oRoles / "X.driver"}, 5, "there is no plug-in bundle at"},
             Row{{"server", "--wait-for-recorder", "0.3", szInput}, 5, "no recorder answered"},
             Row{{"recorder", oRoles / "exists.wav"}, 4, "--force"},
         }) {
        Ended const oEnded = oRoles.Run(oRow.lArguments);
        std::string const szCommand = testing::PrintToString(oRow.lArguments);
        EXPECT_EQ(oEnded.nStatus, oRow.nStatus) << szCommand << oEnded.szErrors;
        EXPECT_THAT(oEnded.szErrors, HasSubstr(oRow.szError)) << szCommand;
        EXPECT_THAT(oEnded.szErrors, Not(HasSubstr("unexpectedly"))) << szCommand;
        EXPECT_FALSE(oRoles.Has("out.wav") || oRoles.Has("out.wav.part")) << szCommand;
    }
}

// A source that ends before its time, or has nothing, makes no recording.
TEST(RecordErrors, LeaveNothingUnderTheFinalNameWhenAnInputBreaksOff) {
    Roles oRoles;
    std::string const szOutput = oRoles / "out.wav";
    Ended oEnded = oRoles.Run({"record", "--speed", "100", "-", szOutput}, "true");
    EXPECT_EQ(oEnded.nStatus, 3);
    EXPECT_THAT(oEnded.szErrors, HasSubstr("standard input held no audio"));
    EXPECT_FALSE(oRoles.Has("out.wav") || oRoles.Has("out.wav.part"));

    std::string const szFlac = oRoles / "in.flac";
    std::vector<short> lNoise(2 * 44100);
    std::mt19937 oRandom(1);
    std::generate(lNoise.begin(), lNoise.end(), [&] { return static_cast<short>(oRandom()); });
    SndfileHandle(szFlac, SFM_WRITE, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 2, 44100).write(lNoise.data(), 2 * 44100);
    std::filesystem::resize_file(szFlac, std::filesystem::file_size(szFlac) / 2);
    oEnded = oRoles.Run({"record", "--speed", "20", szFlac, szOutput});
    EXPECT_EQ(oEnded.nStatus, 3);
    EXPECT_THAT(oEnded.szErrors, AllOf(HasSubstr("in.flac any further"), HasSubstr("kept in")));
    EXPECT_FALSE(oRoles.Has("out.wav"));
    EXPECT_TRUE(oRoles.Has("out.wav.part"));
}

TEST(Inspect, ShowsEightObjectsAndTheirValues) {
    Roles oRoles;
    Ended const oText = oRoles.Run({"inspect"});
    EXPECT_EQ(oText.nStatus, 0);
    EXPECT_EQ(oText.szErrors, "");
    for (char const* szExpected :
         {"1  'aplg' plug-in", "2  'abox' box", "3  'adev' device", "8  'astr' stream", "9  'vlme' volume control",
          "10  'mute' mute control", "11  'dsrc' data source control", "12  'dest' data destination control",
          "\"Lumora Virtual Device\"", "\"RightElementName\"", "44100 to 44100 Hz", "'virt' virtual", "-96 to 6 dB",
          "left, right", "\"Data Source Item 3\"", "DeviceIcon.icns", "'nsrt' * nominal sample rate"})
        EXPECT_THAT(oText.szOutput, HasSubstr(szExpected));

    Ended const oJson = oRoles.Run({"inspect", "--json"});
    EXPECT_THAT(
        oJson.szOutput,
        HasSubstr(
            "{\"selector\": \"nsrt\", \"scopes\": [\"glob\", \"inpt\", \"outp\", \"ptru\"], \"element\": 0, \"name\": "
            "\"nominal sample rate\", \"settable\": true, \"value\": \"44100 Hz\"}"));
}
