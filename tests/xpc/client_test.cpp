#include "tests/xpc/xpc_pair.h"

#include <string>

namespace {

struct ClientTest : XPCPair {};

} // namespace

TEST_F(ClientTest, APairIsTakenOnceWhateverTheCaseOfItsName) {
    Join();
    struct Case {
        std::string szName;
        unsigned long nInstance;
        bool bConnects;
    };
    for (Case const& oCase : {Case{"Server", 1, false},
                              {"sERVER", 1, false},
                              {"server", 2, true},
                              {"Server2", 1, true},
                              {"Serve", 1, true},
                              {"Server[", 1, true},
                              {"Server{", 1, true},   // '[' and '{' differ by the same bit, but are no letters
                              {"S\xC3\x84", 1, true}, // nor are these
                              {"S\xC3\xA4", 1, true},
                              {std::string(263, 'n'), 1, true},
                              {std::string(263, 'N'), 1, false},
                              {std::string(264, 'x'), 1, false}}) {
        SCOPED_TRACE(oCase.szName);
        EXPECT_EQ(oClient.ConnectEndPoint(oCase.szName.c_str(), oCase.nInstance, oEndPoint.Get()), oCase.bConnects);
        EXPECT_EQ(oClient.IsConnectionValid(oCase.szName.c_str(), oCase.nInstance), oCase.szName[0] != 'x');
    }
    EXPECT_FALSE(oClient.Connect(std::string(300, 'n').c_str(), 1, true));
    EXPECT_FALSE(oClient.Connect(nullptr, 1, false));
    EXPECT_FALSE(oClient.ConnectEndPoint("None", 1, nullptr));
    EXPECT_EQ(oClient.CreateEndPoint(std::string(264, 'x').c_str(), 1), nullptr);
    EXPECT_EQ(oClient.CreateEndPoint("SERVER", 1), nullptr);
    EXPECT_FALSE(oClient.IsConnectionValid("AnonymousConnection", 0)); // neither left its listener
    EXPECT_TRUE(oServer.IsConnectionValid("AnonymousConnection", 0));
}

TEST_F(ClientTest, TheNewestPeerOfAPairIsSentTo) {
    Join();
    Send(oClient, "Server", 1, 1);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 1));
    RecordingSink oNewerSink;
    LXPCClient oNewer(&oNewerSink);
    oNewer.AddKey("n", LXPCDataType_Int64, true);
    oNewer.AddKey("n", LXPCDataType_Int64, false);
    ASSERT_TRUE(oNewer.ConnectEndPoint("Server", 1, oEndPoint.Get()));
    Send(oNewer, "Server", 1, 2);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 2));
    Send(oServer, "Peer", 7, 3);
    ASSERT_TRUE(oNewerSink.WaitFor(SinkEvent::Message, 1));
    oServer.Disconnect("Peer", 7); // the newer one; the older is still there
    Send(oServer, "Peer", 7, 4);
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Message, 1));
    EXPECT_EQ(oClientSink.All(SinkEvent::Message)[0].lItems[0].nValue, 4);
    EXPECT_EQ(oNewerSink.Count(SinkEvent::Message), 1u);
}

TEST_F(ClientTest, AServiceThatNobodyOffersShowsAsAnError) {
    ASSERT_TRUE(oClient.Connect("com.example.nobody", 0, true));
    Send(oClient, "com.example.nobody", 0, 1, true);
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Error, 1));
    EXPECT_EQ(oClientSink.All(SinkEvent::Error)[0].nError, LXPCError_ConnectionInvalid);
    EXPECT_TRUE(oClient.IsConnectionValid("com.example.nobody", 0));
    oClient.Disconnect("com.example.nobody", 0);
    EXPECT_FALSE(oClient.IsConnectionValid("com.example.nobody", 0));
}

TEST_F(ClientTest, WhatNamesNoConnectionIsIgnored) {
    oClient.Disconnect("Server", 1);
    oClient.Suspend("Server", 1);
    oClient.Resume(nullptr, 1);
    Send(oClient, "Server", 1, 1);
    End();
    EXPECT_EQ(oClientSink.Count(SinkEvent::Sent) + oClientSink.Count(SinkEvent::Error), 0u);
}

// One thread sends without a pause while the connection under it is replaced again and again.
TEST_F(ClientTest, SendingRacesReconnecting) {
    Join();
    std::atomic<bool> bStop = false;
    std::thread oSender([&] {
        while (!bStop)
            Send(oClient, "Server", 1, 1);
    });
    for (int n = 0; n < 300; ++n) {
        oClient.Disconnect("Server", 1);
        ASSERT_TRUE(oClient.ConnectEndPoint("Server", 1, oEndPoint.Get()));
        oServer.Disconnect("Peer", 7);
    }
    bStop = true;
    oSender.join();
    oClient.Disconnect("Server", 1);
    ASSERT_TRUE(oClient.ConnectEndPoint("Server", 1, oEndPoint.Get()));
    Send(oClient, "Server", 1, 2);
    EXPECT_TRUE(oServerSink.WaitForValue(2));
}

// The sink's calls, the peer's messages and the client's end meet at every moment; no call outlives the client.
TEST_F(ClientTest, DestructionRacesSinkCalls) {
    oEndPoint = LXPCObject(oServer.CreateEndPoint("Peer", 7));
    for (int n = 0; n < 100; ++n) {
        auto pSink = std::make_unique<RecordingSink>();
        auto pClient = std::make_unique<LXPCClient>(pSink.get());
        LXPCClient* const pCalled = pClient.get();
        std::atomic<bool> bGone = false, bCalledAfter = false;
        pSink->SetInside([&](SinkEvent const& oEvent) {
            pCalled->IsConnectionValid("Server", 1);
            if (oEvent.nKind == SinkEvent::Message)
                Send(*pCalled, "Server", 1, 1);
            bCalledAfter = bCalledAfter || bGone;
        });
        for (bool bReceive : {false, true})
            pClient->AddKey("n", LXPCDataType_Int64, bReceive);
        ASSERT_TRUE(pClient->ConnectEndPoint("Server", 1, oEndPoint.Get()));
        Send(*pClient, "Server", 1, 1000 + n);
        ASSERT_TRUE(oServerSink.WaitForValue(1000 + n)); // so the newest peer is this client
        for (int nMessage = 0; nMessage < 5; ++nMessage)
            Send(oServer, "Peer", 7, nMessage);
        if (n % 2) {
            ASSERT_TRUE(pSink->WaitFor(SinkEvent::Message, 1));
        }
        pClient.reset();
        bGone = true;
        EXPECT_FALSE(bCalledAfter);
        EXPECT_FALSE(pSink->bEnabled);
        pSink.reset(); // a later call would be on freed memory
        oServer.Disconnect("Peer", 7);
    }
}
