#include "tests/xpc/xpc_pair.h"

#include <stdexcept>
#include <thread>

namespace {

struct MessagingTest : XPCPair {
    // The server answers each message, if an answer is wanted, with its number and one.
    void Answer(SinkEvent const& oEvent) {
        if (!oEvent.nMessage)
            return;
        LList<LXPCDataListable> lAnswer;
        lAnswer.Insert(std::make_unique<LXPCDataListable>("n", LXPCDataType_None, oEvent.Value() + 1));
        oServer.SendReply(oEvent.nConnection, oEvent.nMessage, lAnswer);
    }
};

} // namespace

TEST_F(MessagingTest, AMessageArrivesInKeyOrderAndIsReportedSentOnce) {
    Join();
    char const szText[] = "hello";
    LXPCData const arItems[] = {
        {"n", LXPCDataType_None, 5}, {"text", LXPCDataType_None, LXPCValue(szText)}, {"unknown", LXPCDataType_None, 1}};
    std::string szSeen;
    oServerSink.SetInside([&](SinkEvent const& oEvent) {
        if (oEvent.nKind == SinkEvent::Message)
            szSeen = LXPCPointer<char const*>(oEvent.lItems.at(1).nValue);
    });
    oClient.AddKey("foreign", LXPCDataType_Int64, false);
    oClient.AddKey(nullptr, LXPCDataType_Int64, false);
    oClient.AddKeys(nullptr, true);
    LXPCData const oForeign("foreign", LXPCDataType_None, 1);
    oClient.SendMessage("Server", 1, &oForeign, 1, false); // without a key that the server declares: dropped
    oClient.SendMessage("Server", 1, nullptr, 0, false);   // an empty one: dropped
    oClient.SendMessage("server", 1, arItems, 3, false);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 1));
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Sent, 3));
    SinkEvent const oEvent = oServerSink.All(SinkEvent::Message)[0];
    EXPECT_EQ(oEvent.Names(), "n text");
    EXPECT_EQ(oEvent.Value(), 5);
    EXPECT_EQ(szSeen, szText);
    End();
    EXPECT_EQ(oClientSink.Count(SinkEvent::Sent), 3u);
}

TEST_F(MessagingTest, ARequestIsAnsweredOnceAndNotReportedSent) {
    Join();
    oServerSink.SetInside([&](SinkEvent const& oEvent) {
        Answer(oEvent);
        Answer(oEvent); // nothing: the one reply is made
    });
    Send(oClient, "Server", 1, 41, true);
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Reply, 1));
    EXPECT_EQ(oClientSink.All(SinkEvent::Reply)[0].Value(), 42);
    Send(oClient, "Server", 1, 1, false); // wants no answer: SendReply sends none
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 2));
    End();
    EXPECT_EQ(oClientSink.Count(SinkEvent::Reply), 1u);
    EXPECT_EQ(oClientSink.Count(SinkEvent::Sent), 1u);
    EXPECT_EQ(oServerSink.Count(SinkEvent::Sent), 1u);
}

TEST_F(MessagingTest, ItemsComeInTheFormThatTheSinkAsksFor) {
    oServerSink.bUseDataArray = oClientSink.bUseDataArray = false;
    oServerSink.SetInside([&](SinkEvent const& oEvent) { Answer(oEvent); });
    Join();
    Send(oClient, "Server", 1, 1, true);
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::ReplyList, 1));
    EXPECT_TRUE(oServerSink.WaitFor(SinkEvent::MessageList, 1));
    EXPECT_EQ(oServerSink.Count(SinkEvent::Message) + oClientSink.Count(SinkEvent::Reply), 0u);
}

TEST_F(MessagingTest, ADisabledSinkHearsNothingAndAThrowingOneGoesOn) {
    Join();
    oServerSink.SetInside([](SinkEvent const& oEvent) {
        if (oEvent.nKind == SinkEvent::Message && oEvent.Value() == 1)
            throw std::runtime_error("a sink's own");
    });
    Send(oClient, "Server", 1, 1);
    Send(oClient, "Server", 1, 2);
    ASSERT_TRUE(oServerSink.WaitForValue(2));
    oServerSink.bEnabled = false;
    Send(oClient, "Server", 1, 3);
    Send(oServer, "Peer", 7, 4); // nor that it was sent
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Message, 1));
    End();
    EXPECT_EQ(oServerSink.Count(SinkEvent::Message), 1u);
    EXPECT_EQ(oServerSink.Count(SinkEvent::Sent), 0u);
}

// One's own end is not reported, whatever the connection held back; a request is, and what was sent is.
TEST_F(MessagingTest, EndingAConnectionEndsItsRequestAndNothingElse) {
    Join();
    LXPCObject oUnanswered;
    oServerSink.SetInside([&](SinkEvent const& oEvent) {
        if (oEvent.nKind == SinkEvent::Message && oEvent.Value() == 2)
            oUnanswered = LXPCObject::Retained(LXPCPointer<xpc_object_t>(oEvent.nMessage));
    });
    Send(oClient, "Server", 1, 1);
    Send(oClient, "Server", 1, 2, true);
    ASSERT_TRUE(oServerSink.WaitForValue(2));
    oClient.Suspend("Server", 1);
    oClient.Suspend("Server", 1);
    Send(oServer, "Peer", 7, 3); // is held back
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Sent, 1));
    oClient.Disconnect("Server", 1);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Error, 1));
    SinkEvent const oEnd = oServerSink.All(SinkEvent::Error)[0];
    EXPECT_EQ(oEnd.nError, LXPCError_ConnectionInvalid);
    EXPECT_EQ(oEnd.nConnection, oServerSink.All(SinkEvent::Message)[0].nConnection); // told by its handle
    EXPECT_TRUE(oServer.IsConnectionValid("Peer", 7));                               // until it is disconnected
    oUnanswered = LXPCObject();
    End();
    EXPECT_EQ(oClientSink.Count(SinkEvent::Message), 0u);
    EXPECT_EQ(oClientSink.Count(SinkEvent::Error), 1u);
    EXPECT_EQ(oClientSink.Count(SinkEvent::Sent), 1u);
}

TEST_F(MessagingTest, KeysMayBeDeclaredWhileMessagesFlow) {
    Join();
    std::thread oSender([&] {
        for (long n = 0; n < 2000; ++n)
            Send(oClient, "Server", 1, n);
    });
    for (int n = 0; n < 200; ++n) {
        oServer.AddKey(std::to_string(n).c_str(), LXPCDataType_Int64, true);
        oClient.AddKey(std::to_string(n).c_str(), LXPCDataType_Int64, false);
    }
    oSender.join();
    LXPCData const oLast("199", LXPCDataType_None, -9);
    oClient.SendMessage("Server", 1, &oLast, 1, false);
    EXPECT_TRUE(oServerSink.WaitForValue(-9));
}

TEST(Connection, CountsItsReferencesAndDoesNothingWithoutAHandle) {
    LXPCConnection oRecord;
    for (auto const pOperation : {&LXPCConnection::Resume, &LXPCConnection::Suspend, &LXPCConnection::Retain,
                                  &LXPCConnection::Release, &LXPCConnection::Cancel, &LXPCConnection::Destroy})
        (oRecord.*pOperation)();
    LXPCBase(nullptr).SetupConnectionHandlerAndResume(oRecord);
    EXPECT_TRUE(oRecord.bSuspended);
    EXPECT_EQ(oRecord.nRetainCount, 0u);
    for (int n = 0; n < 2; ++n)
        oRecord.Adopt(xpc_connection_create(nullptr, nullptr)); // the first one ends with the second
    oRecord.Retain();
    EXPECT_EQ(oRecord.nRetainCount, 2u);
    oRecord.Release();
    EXPECT_TRUE(oRecord.IsValid());
    oRecord.Destroy(); // the handle is suspended still
    EXPECT_FALSE(oRecord.IsValid());
    EXPECT_FALSE(oRecord.bSuspended);
}
