#include "tests/xpc/helperlink/helper_and_recorder.h"
#include "xpc/client_manager.h"
#include "xpc/helperlink/vad_plugin_exports.h"
#include "xpc/helperlink/vad_plugin_xpc_client.h"

#include <optional>

namespace {

struct LinkTest : testing::Test {
    LinkTest() {
        LVADFillHelperKeys();
        LXPCClientManager::StartList();
        LXPCClientManager::StartMutex();
        oLink.bEnabled = true; // an earlier test's end has cleared it
        oHelper.emplace();
    }
    ~LinkTest() override {
        LXPCClientManager::EndMutex();
        LXPCClientManager::EndList();
        oLink.ForgetEndPoint();
        oHelper.reset();
    }
    // Connected to the recorder, over the helper's answer.
    void ConnectTo(FakeRecorder& oRecorder) {
        oHelper->SetOffer(oRecorder.oEndPoint.Get());
        LVADPluginConnectToXPCService();
        ASSERT_TRUE(WaitUntil([] { return LVADServerIsConnectionValid(); }));
    }
    // Sends until the recorder has one message more than now.
    bool Reaches(FakeRecorder& oRecorder) {
        size_t const nBefore = oRecorder.oSink.Count(SinkEvent::Message);
        return WaitUntil([&] {
            oLink.SendAudioData(szBuffer, sizeof szBuffer);
            return oRecorder.oSink.Count(SinkEvent::Message) > nBefore;
        });
    }

    ServiceFolder oFolder;
    std::optional<FakeHelper> oHelper;
    LVADPluginXPCClient& oLink = *LVADPluginXPCClient::GetInstance();
    char szBuffer[4096] = "audio";
};

} // namespace

TEST_F(LinkTest, TheHelpersAnswerConnectsAndAudioAndVolumeFollow) {
    FakeRecorder oRecorder;
    ConnectTo(oRecorder);
    LVADSendAudioData(nullptr, 4096); // nothing
    LVADSendAudioData(szBuffer, -1);  // nothing of use: no buffer has that many bytes
    LVADSendAudioData(szBuffer, sizeof szBuffer);
    LVADSendVolumeChanged(static_cast<double>(0.3f));
    ASSERT_TRUE(oRecorder.oSink.WaitFor(SinkEvent::Message, 2));
    auto const lMessages = oRecorder.oSink.All(SinkEvent::Message);
    EXPECT_EQ(lMessages[0].Names(), "AUDIO_DATA");
    EXPECT_EQ(oRecorder.LastAudio(), std::string(szBuffer, sizeof szBuffer));
    EXPECT_EQ(lMessages[1].Names(), "VOLUME_CHANGED");
    EXPECT_EQ(lMessages[1].lItems[0].dValue, static_cast<double>(0.3f));
    EXPECT_EQ(oHelper->nRequests, 1);
    LVADPluginConnectToXPCService(); // a new client; the old one stays
    EXPECT_TRUE(WaitUntil([&] { return oLink.IsAppConnected() && oHelper->nRequests == 2; }));
    EXPECT_TRUE(LXPCClientManager::IsConnectionValid(1, kVADAppConnection, 1));
    EXPECT_TRUE(LXPCClientManager::IsConnectionValid(2, kVADAppConnection, 1));
}

TEST_F(LinkTest, WithoutAnEndpointEachConnectToAppAsksOnceMore) {
    LVADPluginConnectToApp(); // before Connect there is nobody to ask
    for (int n = 1; n <= 3; ++n) {
        n == 1 ? oLink.Connect() : oLink.ConnectToApp();
        ASSERT_TRUE(WaitUntil([&] { return oHelper->nRequests == n; }));
        EXPECT_FALSE(oLink.IsAppConnected());
        oLink.SendVolumeChanged(0.5);
    }
    FakeRecorder oRecorder;
    oHelper->SetOffer(oRecorder.oEndPoint.Get());
    oLink.ConnectToApp();
    ASSERT_TRUE(WaitUntil([&] { return oLink.IsAppConnected(); }));
    EXPECT_TRUE(Reaches(oRecorder));
}

TEST_F(LinkTest, ANewOfferReplacesTheConnectionWhereverItComesFrom) {
    FakeRecorder oFirst, oSecond, oThird;
    ConnectTo(oFirst);
    ASSERT_TRUE(Reaches(oFirst));
    oHelper->Offer(oSecond.oEndPoint.Get());
    ASSERT_TRUE(oFirst.oSink.WaitFor(SinkEvent::Error, 1)); // its connection was ended
    ASSERT_TRUE(Reaches(oSecond));
    LXPCData const oOffer(kVADKeySendEndPoint, LXPCDataType_None, LXPCValue(oThird.oEndPoint.Get()));
    oSecond.oClient.SendMessage("Device", 1, &oOffer, 1, false); // over the application's own connection
    ASSERT_TRUE(oSecond.oSink.WaitFor(SinkEvent::Error, 1));
    ASSERT_TRUE(Reaches(oThird));
    oLink.ConnectToApp(); // anew, to the same
    ASSERT_TRUE(oThird.oSink.WaitFor(SinkEvent::Error, 1));
    ASSERT_TRUE(Reaches(oThird));
}

TEST_F(LinkTest, WhatIsNoEndpointIsIgnored) {
    FakeRecorder oRecorder;
    ConnectTo(oRecorder);
    LXPCObject const oText(xpc_string_create("not an endpoint"));
    oHelper->Offer(oText.Get());
    LXPCData arItems[2] = {{"send_endpoint", LXPCDataType_Object, LXPCValue(oText.Get())},
                           {kVADKeySendEndPoint, LXPCDataType_Object, LXPCValue(oText.Get())}};
    oLink.EvMessageReceived(0, 0, arItems, 2);
    oLink.EvReplyReceived(0, arItems, 2);
    EXPECT_TRUE(Reaches(oRecorder));
    arItems[1].nValue = 0; // no endpoint any more: the connection stays, the next ConnectToApp asks
    oLink.EvMessageReceived(0, 0, arItems, 2);
    EXPECT_TRUE(Reaches(oRecorder));
    int const nBefore = oHelper->nRequests;
    oLink.ConnectToApp();
    EXPECT_TRUE(WaitUntil([&] { return oHelper->nRequests == nBefore + 1; }));
}

// Offers, reconnects and audio from several threads: what remains is one connection, to the endpoint offered last.
TEST_F(LinkTest, RacingReconnectsLeaveOneConnectionToTheNewestEndpoint) {
    FakeRecorder arRecorders[2];
    ConnectTo(arRecorders[0]);
    for (int nRound = 0; nRound < 10; ++nRound) {
        std::vector<std::jthread> lThreads;
        for (int nThread = 0; nThread < 2; ++nThread)
            lThreads.emplace_back([&] {
                for (int n = 0; n < 10; ++n)
                    oLink.ConnectToApp();
            });
        lThreads.emplace_back([&] {
            for (int n = 0; n < 200; ++n)
                oLink.SendAudioData(szBuffer, sizeof szBuffer);
        });
        FakeRecorder& oNewest = arRecorders[nRound % 2];
        LXPCData const oOffer(kVADKeySendEndPoint, LXPCDataType_Object, LXPCValue(oNewest.oEndPoint.Get()));
        oLink.EvMessageReceived(0, 0, &oOffer, 1);
        lThreads.clear();
        ASSERT_TRUE(oLink.IsAppConnected());
        ASSERT_TRUE(Reaches(oNewest)); // else it is connected to the other one
    }
    LXPCClientManager::Disconnect(1, kVADAppConnection, 1);
    EXPECT_FALSE(oLink.IsAppConnected()); // there was no second one
}
