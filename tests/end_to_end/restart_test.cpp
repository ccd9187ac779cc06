// Users kill things, and strangers knock: the three roles by hand.
#include "tests/end_to_end/roles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <random>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using testing::HasSubstr;

namespace {

constexpr size_t kSixSeconds = 520 * 512; // whole cycles: no silence at the end

// Plays to the end, has the recorder keep exactly that (or what it has got, of a part), and waits for its end.
void FinishBoth(RoleProcess& oServer, RoleProcess& oRecorder, bool bPart = false) {
    EventLine const oPlayed = WaitFor(oServer, "finished");
    oRecorder.Command(bPart ? "finish" : "finish " + oPlayed.Text("frames").value_or("0"));
    EventLine const oRecorded = WaitFor(oRecorder, "finished");
    EXPECT_EQ(oRecorded.Number("dropped"), 0u);
    EXPECT_EQ(oRecorder.WaitExit(30000), 0);
    oServer.CloseControl();
    EXPECT_EQ(oServer.WaitExit(30000), 0);
}

// Helper, recorder and server at work.
struct Playing : Roles {
    explicit Playing(Arguments lServer = {"--speed", "2"}, size_t nFramesToPlay = kSixSeconds)
        : nFrames(nFramesToPlay) {
        lServer.insert(lServer.end(), {"--wait-for-recorder", "20", MakeInput("in.wav", nFrames)});
        pServer = StartServer(lServer);
    }
    // Played and recorded to the end, without a frame lost.
    void FinishWhole() {
        FinishBoth(*pServer, *pRecorder);
        EXPECT_EQ(WhatIsWrongWith(*this / "out.wav", 0, nFrames), "");
    }

    size_t const nFrames;
    std::unique_ptr<RoleProcess> pHelper = StartHelper(), pRecorder = StartRecorder("out.wav"), pServer;
};

// One stranger's packet to the helper's socket.
void Knock(std::string const& szSocket, std::vector<unsigned char> const& arPacket, size_t nTimes) {
    int const nSocket = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un oAddress = {};
    oAddress.sun_family = AF_UNIX;
    szSocket.copy(oAddress.sun_path, sizeof oAddress.sun_path - 1);
    ASSERT_EQ(connect(nSocket, reinterpret_cast<sockaddr*>(&oAddress), sizeof oAddress), 0) << szSocket;
    for (size_t n = 0; n < nTimes; ++n)
        static_cast<void>(send(nSocket, arPacket.data(), arPacket.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
    close(nSocket);
}

} // namespace

TEST(Roles, VolumeChangesArriveInOrderAsScalars) {
    Playing oPlaying({"--speed", "10", "--set", "0.1 volume=0.25", "--set", "0.2 decibels=0", "--set", "0.3 mute=1",
                      "--set", "0.4 volume=1.7", "--set", "0.5 volume=1", "--set", "0.6 decibels=-96", "--set",
                      "0.7 source=9"},
                     44100);
    // Muting sends nothing, and the second 1.0 changes nothing.
    for (double const nExpected : {0.25, double{std::sqrt(96.0f / 102.0f)}, 1.0, 0.0})
        EXPECT_EQ(WaitFor(*oPlaying.pRecorder, "volume").Real("value"), nExpected);
    EventLine oSet("");
    do
        oSet = WaitFor(*oPlaying.pServer, "set");
    while (oSet.Text("name").value_or("source") != "source");
    EXPECT_EQ(oSet.Text("result"), "'nope'");
    oPlaying.FinishWhole();
}

TEST(Roles, TheServerPlaysOnWithoutHelperAndRecorder) {
    Roles oRoles;
    auto const pServer = oRoles.StartServer({"--speed", "10", "--frames", "1000", oRoles.MakeInput("in.wav", 44100)});
    EventLine const oEnd = WaitFor(*pServer, "finished");
    EXPECT_EQ(oEnd.Number("frames"), 44100u);
    EXPECT_EQ(oEnd.Number("cycles"), 45u);
    pServer->CloseControl();
    EXPECT_EQ(pServer->WaitExit(30000), 0);
}

TEST(Roles, ARateChangeWhilePlayingStopsAndStartsIOAndLosesNothing) {
    Playing({"--speed", "10", "--set", "0.5 rate=48000", "--set", "1 rate=44100"}, 2 * 44100).FinishWhole();
}

TEST(Roles, ARecorderThatComesLateIsFoundWhilePlaying) {
    Roles oRoles;
    auto const pHelper = oRoles.StartHelper();
    auto const pServer = oRoles.StartServer({"--speed", "2", oRoles.MakeInput("in.wav", kSixSeconds)});
    WaitForFrames(*pServer, 1000);
    auto const pRecorder = oRoles.StartRecorder("out.wav");
    FinishBoth(*pServer, *pRecorder, true);
    EXPECT_EQ(WhatIsWrongWith(oRoles / "out.wav", kAnywhere, kAnyNumber), "");
}

TEST(Roles, AKilledRecorderStartedAgainGoesOnRecording) {
    Playing oPlaying;
    WaitForFrames(*oPlaying.pRecorder, 20000);
    oPlaying.pRecorder->Signal(SIGKILL);
    EXPECT_EQ(oPlaying.pRecorder->WaitExit(30000), 128 + SIGKILL);
    WaitFor(*oPlaying.pHelper, "recorder-gone");
    EXPECT_FALSE(oPlaying.Has("out.wav")) << "half a recording has the whole one's name";

    auto const pSecond = oPlaying.StartRecorder("out.wav"); // under the same name: the first one's part is kept
    EXPECT_TRUE(oPlaying.Has("out.wav.left-1.part"));
    WaitForFrames(*pSecond, 1000);
    FinishBoth(*oPlaying.pServer, *pSecond, true);
    EXPECT_EQ(WhatIsWrongWith(oPlaying / "out.wav", kAnywhere, kAnyNumber), "");
}

TEST(Roles, ARecorderThatEndsLeavesItsPlaceToTheOneBefore) {
    Playing oPlaying({}, 60 * 44100); // longer than any of this takes
    auto const pSecond = oPlaying.StartRecorder("second.wav");
    WaitForFrames(*pSecond, 1000);
    pSecond->Command("finish");
    EXPECT_EQ(pSecond->WaitExit(30000), 0);
    uint64_t nBefore = 0;
    while (auto const szLine = oPlaying.pRecorder->WaitLine(0))
        nBefore = std::max(nBefore, EventLine::Parse(*szLine).Number("frames"));
    WaitForFrames(*oPlaying.pRecorder, nBefore + 1);
}

TEST(Roles, AKilledHelperCostsNoAudioAndTheNextOneIsToldOfTheRecorder) {
    Playing oPlaying;
    WaitForFrames(*oPlaying.pRecorder, 10000);
    oPlaying.pHelper->Signal(SIGKILL);
    WaitFor(*oPlaying.pRecorder, "unregistered");
    EXPECT_EQ(oPlaying.pHelper->WaitExit(30000), 128 + SIGKILL);
    oPlaying.pHelper = oPlaying.Start({"helper", "--control", "3"}); // the recorder may be there before it is "ready"
    WaitFor(*oPlaying.pHelper, "recorder");
    WaitFor(*oPlaying.pRecorder, "registered");
    oPlaying.FinishWhole();
}

TEST(Roles, ASecondHelperSaysSoAndLeavesTheFirstAlone) {
    Roles oRoles;
    auto const pHelper = oRoles.StartHelper();
    Ended const oSecond = oRoles.Run({"helper"});
    EXPECT_EQ(oSecond.nStatus, 5);
    EXPECT_THAT(oSecond.szErrors, HasSubstr("another helper serves com.tarnwicksoftware.Lumora.VadHelper"));
    oRoles.StartRecorder("out.wav"); // registers with the first
}

TEST(Roles, AHelperWhoseNameIsTakenBySomethingElseSaysSo) {
    Roles oRoles;
    auto const szFolder = oRoles / "mach-services/com.tarnwicksoftware.Lumora.VadHelper";
    std::filesystem::create_directories(szFolder);
    std::filesystem::permissions(oRoles / "mach-services", std::filesystem::perms::owner_all);
    Ended const oEnded = oRoles.Run({"helper"});
    EXPECT_EQ(oEnded.nStatus, 5);
    EXPECT_THAT(oEnded.szErrors, HasSubstr("something else has the name"));
}

TEST(Roles, AServiceFolderThatOthersCanWriteToIsRefusedByAll) {
    Roles oRoles;
    std::filesystem::create_directory(oRoles / "mach-services");
    std::filesystem::permissions(oRoles / "mach-services", std::filesystem::perms::all);
    for (Roles::Arguments const& lArguments :
         {Roles::Arguments{"helper"},
          {"recorder", oRoles / "out.wav"},
          {"server", "--wait-for-recorder", "5", oRoles.MakeInput("in.wav", 100)}}) {
        Ended const oEnded = oRoles.Run(lArguments);
        EXPECT_EQ(oEnded.nStatus, 5) << lArguments[0];
        EXPECT_THAT(oEnded.szErrors, HasSubstr("mach-services")) << lArguments[0];
    }
    EXPECT_FALSE(oRoles.Has("out.wav.part"));
}

TEST(Roles, HostileFramesDisturbNobody) {
    Playing oPlaying;
    WaitForFrames(*oPlaying.pRecorder, 10000);

    std::string const szSocket = oPlaying.ServiceFolder() + "/mach-services/com.tarnwicksoftware.Lumora.VadHelper";
    std::mt19937 oRandom(1);
    for (size_t const nSize : {0, 1, 3, 4, 15, 16, 17, 31, 32, 64, 1000, 60000, 150000})
        for (int n = 0; n < 8; ++n) {
            std::vector<unsigned char> arPacket(nSize);
            for (unsigned char& nByte : arPacket)
                nByte = static_cast<unsigned char>(n == 0 ? 0 : n == 1 ? 0xFF : oRandom());
            Knock(szSocket, arPacket, 4);
        }
    oPlaying.FinishWhole();
    auto const pNext = oPlaying.StartRecorder("next.wav"); // the helper still serves
    oPlaying.pHelper->Signal(SIGTERM);
    EXPECT_EQ(oPlaying.pHelper->WaitExit(30000), 0);
}

TEST(Roles, ParentsThatVanishAreTheSameAsBeingToldToStop) {
    Playing oPlaying({}, 10 * kSixSeconds);
    WaitForFrames(*oPlaying.pRecorder, 1000);
    for (auto* const pRole : {&oPlaying.pServer, &oPlaying.pRecorder, &oPlaying.pHelper}) {
        (*pRole)->CloseControl();
        EXPECT_EQ((*pRole)->WaitExit(30000), 0);
    }
    EXPECT_EQ(WhatIsWrongWith(oPlaying / "out.wav", 0, kAnyNumber), "");
}
