#include "xpc/client_manager.h"

#include "tests/xpc/xpc_pair.h"

#include <atomic>
#include <latch>
#include <thread>

namespace {

// Around everything else of a test: the end waits for all handlers, those of the pair included.
struct LoadedRegistry {
    LoadedRegistry() {
        LXPCClientManager::StartList();
        LXPCClientManager::StartMutex();
    }
    ~LoadedRegistry() {
        LXPCClientManager::EndMutex();
        LXPCClientManager::EndList();
    }
    RecordingSink oSink;
};

struct RegistryTest : LoadedRegistry, XPCPair {
    // A registered client that is joined to the server.
    int NewJoined(LXPCClientEventNotify* pSink) {
        static LXPCDictionaryKey const arKeys[] = {{"n", LXPCDataType_Int64}, {}, {"text", LXPCDataType_String}};
        if (!oEndPoint)
            oEndPoint = LXPCObject(oServer.CreateEndPoint("Peer", 7));
        int const nId = LXPCClientManager::Create(pSink);
        LXPCClientManager::AddKeys(nId, arKeys, true);
        LXPCClientManager::AddKeys(nId, arKeys, false);
        EXPECT_TRUE(LXPCClientManager::ConnectEndPoint(nId, "Server", 1, oEndPoint.Get()));
        return nId;
    }
    static void SendById(int nId, long nNumber) {
        LList<LXPCDataListable> lItems;
        lItems.Insert(std::make_unique<LXPCDataListable>("n", LXPCDataType_None, nNumber));
        LXPCClientManager::SendMessage(nId, "Server", 1, lItems, false);
    }
};

} // namespace

TEST_F(RegistryTest, NumbersClientsFromOneAndAgainOnlyAfterDestroyAll) {
    EXPECT_EQ(LXPCClientManager::Create(&oSink), 1);
    EXPECT_EQ(LXPCClientManager::Create(&oSink), 2);
    LXPCClientManager::Destroy(2);
    LXPCClientManager::Destroy(2);
    EXPECT_FALSE(oSink.bEnabled);
    EXPECT_EQ(LXPCClientManager::Create(&oSink), 3);
    EXPECT_EQ(LXPCClientManager::GetClient(0), nullptr);
    EXPECT_EQ(LXPCClientManager::GetClient(2), nullptr);
    EXPECT_NE(LXPCClientManager::GetClient(3), nullptr);
    LXPCClientManager::DestroyAll();
    EXPECT_EQ(LXPCClientManager::GetClient(1), nullptr);
    EXPECT_EQ(LXPCClientManager::Create(&oSink), 1);
}

TEST_F(RegistryTest, ForwardsToTheClientAndIgnoresUnknownIds) {
    int const nId = NewJoined(&oSink);
    for (int const n : {0, -1, nId + 1}) {
        EXPECT_FALSE(LXPCClientManager::ConnectEndPoint(n, "Server", 2, oEndPoint.Get()));
        EXPECT_EQ(LXPCClientManager::CreateEndPoint(n, "Server", 2), nullptr);
        EXPECT_FALSE(LXPCClientManager::IsConnectionValid(n, "Server", 1));
        LXPCClientManager::Disconnect(n, "Server", 1);
        LXPCClientManager::AddKeys(n, nullptr, false);
        SendById(n, 1);
    }
    SendById(nId, 2);
    ASSERT_TRUE(oServerSink.WaitForValue(2));
    LXPCClientManager::Suspend(nId, "server", 1);
    LXPCClientManager::Suspend(nId, "Server", 1);
    Send(oServer, "Peer", 7, 3);
    LXPCClientManager::Resume(nId, "SERVER", 1); // suspensions don't nest
    EXPECT_TRUE(oSink.WaitForValue(3));
    EXPECT_EQ(oServerSink.All(SinkEvent::Message)[0].Names(), "n"); // AddKeys stopped at the empty name
    EXPECT_EQ(oServerSink.All(SinkEvent::Message)[0].Value(), 2);
    LXPCObject const oOwn(LXPCClientManager::CreateEndPoint(nId, "Guest", 1));
    EXPECT_TRUE(oOwn);
    EXPECT_TRUE(LXPCClientManager::IsConnectionValid(nId, "anonymousconnection", 0));
    LXPCClientManager::Disconnect(nId, "Server", 1);
    EXPECT_FALSE(LXPCClientManager::IsConnectionValid(nId, "Server", 1));
}

// A sink that uses the registry while its client is being destroyed: no deadlock, and no call after the return.
TEST_F(RegistryTest, DestructionWaitsForSinksThatUseTheRegistry) {
    for (int n = 0; n < 60; ++n) {
        auto pSink = std::make_unique<RecordingSink>();
        std::atomic<int> nId = 0;
        std::atomic<bool> bGone = false, bCalledAfter = false;
        pSink->SetInside([&](SinkEvent const& oEvent) {
            if (oEvent.nKind == SinkEvent::Message)
                SendById(nId, 1);
            LXPCClientManager::IsConnectionValid(nId, "Server", 1);
            LXPCClientManager::Destroy(1000000);
            bCalledAfter = bCalledAfter || bGone;
        });
        nId = NewJoined(pSink.get());
        SendById(nId, 1000 + n);
        ASSERT_TRUE(oServerSink.WaitForValue(1000 + n)); // so the newest peer is this client
        for (int nMessage = 0; nMessage < 5; ++nMessage)
            Send(oServer, "Peer", 7, nMessage);
        if (n % 2) {
            ASSERT_TRUE(pSink->WaitFor(SinkEvent::Message, 1));
        }
        n % 3 ? LXPCClientManager::Destroy(nId) : LXPCClientManager::DestroyAll();
        bGone = true;
        EXPECT_FALSE(bCalledAfter);
        pSink.reset();
        oServer.Disconnect("Peer", 7);
    }
}

TEST_F(RegistryTest, ASinkMayDestroyItsOwnClient) {
    RecordingSink oOwn;
    std::atomic<int> nId = 0;
    oOwn.SetInside([&](SinkEvent const& oEvent) {
        if (oEvent.nKind == SinkEvent::Message)
            LXPCClientManager::Destroy(nId);
    });
    nId = NewJoined(&oOwn);
    SendById(nId, 1000);
    ASSERT_TRUE(oServerSink.WaitForValue(1000));
    for (long n = 0; n < 3; ++n)
        Send(oServer, "Peer", 7, n);
    ASSERT_TRUE(oOwn.WaitFor(SinkEvent::Message, 1));
    EXPECT_EQ(LXPCClientManager::GetClient(nId), nullptr);
    End();
    EXPECT_EQ(oOwn.Count(SinkEvent::Message), 1u);
}

// The unload takes the clients that sinks still make while it waits for them.
TEST_F(RegistryTest, TheEndTakesClientsThatSinksCreateMeanwhile) {
    std::atomic<int> nId = 0;
    std::atomic<int> nMade = 0;
    std::latch oInside(1);
    oSink.SetInside([&](SinkEvent const& oEvent) {
        if (oEvent.nKind != SinkEvent::Message)
            return;
        oInside.count_down();
        while (LXPCClientManager::GetClient(nId))
            std::this_thread::yield();
        nMade = LXPCClientManager::Create(nullptr);
    });
    nId = NewJoined(&oSink);
    SendById(nId, 1000);
    ASSERT_TRUE(oServerSink.WaitForValue(1000));
    Send(oServer, "Peer", 7, 1);
    oInside.wait();
    LXPCClientManager::EndMutex();
    LXPCClientManager::StartMutex();
    EXPECT_NE(nMade, 0);
    EXPECT_EQ(LXPCClientManager::GetClient(nMade), nullptr);
}
