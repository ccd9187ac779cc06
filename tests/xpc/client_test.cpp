#include "tests/xpc/xpc_pair.h"

#include <atomic>
#include <latch>
#include <string>
#include <thread>
#include <vector>

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
    EXPECT_EQ(oClientSink.All(SinkEvent::Message)[0].Value(), 4);
    EXPECT_EQ(oNewerSink.Count(SinkEvent::Message), 1u);
}

TEST_F(ClientTest, AServiceThatNobodyOffersShowsAsAnErrorAndAnUnknownPairAsNothing) {
    ASSERT_TRUE(oClient.Connect("com.example.nobody", 0, true));
    Send(oClient, "com.example.nobody", 0, 1, true);
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Error, 1));
    EXPECT_EQ(oClientSink.All(SinkEvent::Error)[0].nError, LXPCError_ConnectionInvalid);
    EXPECT_TRUE(oClient.IsConnectionValid("com.example.nobody", 0));
    oClient.Disconnect("com.example.nobody", 0);
    EXPECT_FALSE(oClient.IsConnectionValid("com.example.nobody", 0));
    oClient.Suspend("com.example.nobody", 0);
    oClient.Resume(nullptr, 0);
    Send(oClient, "com.example.nobody", 0, 1);
    End();
    EXPECT_EQ(oClientSink.Count(SinkEvent::Sent), 0u);
}

TEST_F(ClientTest, OfThreadsThatConnectOnePairOneReachesThePeer) {
    oEndPoint = LXPCObject(oServer.CreateEndPoint("Peer", 7));
    for (long nRound = 0; nRound < 50; ++nRound) {
        std::atomic<int> nConnected = 0;
        std::latch oReady(4);
        {
            std::vector<std::jthread> lThreads;
            for (int n = 0; n < 4; ++n)
                lThreads.emplace_back([&] {
                    oReady.arrive_and_wait();
                    nConnected += oClient.ConnectEndPoint("Server", 1, oEndPoint.Get());
                });
        }
        EXPECT_EQ(nConnected, 1);
        Send(oClient, "Server", 1, nRound);
        ASSERT_TRUE(oServerSink.WaitForValue(nRound));
        oServer.Disconnect("Peer", 7);
        ASSERT_FALSE(oServer.IsConnectionValid("Peer", 7)); // there was no other
        oClient.Disconnect("Server", 1);
    }
}
