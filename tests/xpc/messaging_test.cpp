#include "tests/xpc/xpc_pair.h"

#include <stdexcept>
#include <string>

namespace {

struct MessagingTest : XPCPair {};

LXPCObject NewListener() {
    return LXPCObject(xpc_connection_create(nullptr, nullptr));
}

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
    oClient.SendMessage("server", 1, arItems, 3, false);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 1));
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Sent, 1));
    SinkEvent const oEvent = oServerSink.All(SinkEvent::Message)[0];
    EXPECT_EQ(oEvent.Names(), "n text");
    EXPECT_EQ(oEvent.lItems[0].nValue, 5);
    EXPECT_EQ(szSeen, szText);
    EXPECT_NE(oEvent.nConnection, 0);
    End();
    EXPECT_EQ(oClientSink.Count(SinkEvent::Sent), 1u);
}

TEST_F(MessagingTest, AMessageWithoutADeclaredKeyIsDropped) {
    Join();
    oClient.AddKey("foreign", LXPCDataType_Int64, false);
    LXPCData const oForeign("foreign", LXPCDataType_None, 1);
    oClient.SendMessage("Server", 1, &oForeign, 1, false);
    oClient.SendMessage("Server", 1, nullptr, 0, false); // an empty message
    Send(oClient, "Server", 1, 2);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 1));
    EXPECT_EQ(oServerSink.All(SinkEvent::Message)[0].lItems[0].nValue, 2); // the last came first: the others never
}

TEST_F(MessagingTest, ARequestIsAnsweredOnceAndNotReportedSent) {
    Join();
    oServerSink.SetInside([&](SinkEvent const& oEvent) {
        if (oEvent.nKind != SinkEvent::Message)
            return;
        LList<LXPCDataListable> lAnswer;
        lAnswer.Insert(std::make_unique<LXPCDataListable>("n", LXPCDataType_None, oEvent.lItems[0].nValue + 1));
        oServer.SendReply(oEvent.nConnection, oEvent.nMessage, lAnswer);
        oServer.SendReply(oEvent.nConnection, oEvent.nMessage, lAnswer); // nothing: the one reply is made
    });
    Send(oClient, "Server", 1, 41, true);
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Reply, 1));
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Sent, 1));
    EXPECT_EQ(oClientSink.All(SinkEvent::Reply)[0].lItems[0].nValue, 42);
    Send(oClient, "Server", 1, 1, false); // wants no answer: SendReply sends none
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 2));
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Sent, 1));
    End();
    EXPECT_EQ(oClientSink.Count(SinkEvent::Reply), 1u);
    EXPECT_EQ(oClientSink.Count(SinkEvent::Sent), 1u);
    EXPECT_EQ(oServerSink.Count(SinkEvent::Sent), 1u);
}

TEST_F(MessagingTest, ItemsComeInTheFormThatTheSinkAsksFor) {
    oServerSink.bUseDataArray = oClientSink.bUseDataArray = false;
    oServerSink.SetInside([&](SinkEvent const& oEvent) {
        if (oEvent.nKind == SinkEvent::MessageList)
            oServer.SendReply(oEvent.nConnection, oEvent.nMessage, {});
    });
    Join();
    Send(oClient, "Server", 1, 1);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::MessageList, 1));
    EXPECT_EQ(oServerSink.All(SinkEvent::MessageList)[0].Names(), "n");
    oServerSink.SetInside([&](SinkEvent const& oEvent) {
        LList<LXPCDataListable> lAnswer;
        lAnswer.Insert(std::make_unique<LXPCDataListable>("n", LXPCDataType_None, 1));
        if (oEvent.nMessage)
            oServer.SendReply(oEvent.nConnection, oEvent.nMessage, lAnswer);
    });
    Send(oClient, "Server", 1, 1, true);
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::ReplyList, 1));
    EXPECT_EQ(oServerSink.Count(SinkEvent::Message) + oClientSink.Count(SinkEvent::Reply), 0u);
}

TEST_F(MessagingTest, ADisabledSinkHearsNothingAndAThrowingOneGoesOn) {
    Join();
    oServerSink.SetInside([](SinkEvent const& oEvent) {
        if (oEvent.nKind == SinkEvent::Message && oEvent.lItems[0].nValue == 1)
            throw std::runtime_error("a sink's own");
    });
    Send(oClient, "Server", 1, 1);
    Send(oClient, "Server", 1, 2);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 1));
    EXPECT_EQ(oServerSink.All(SinkEvent::Message)[0].lItems[0].nValue, 2);
    oServerSink.bEnabled = false;
    Send(oClient, "Server", 1, 3);
    Send(oServer, "Peer", 7, 4); // nor that it was sent
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Message, 1));
    End();
    EXPECT_EQ(oServerSink.Count(SinkEvent::Message), 1u);
    EXPECT_EQ(oServerSink.Count(SinkEvent::Sent), 0u);
}

TEST_F(MessagingTest, ThePeersEndIsReportedButOnesOwnIsNot) {
    Join();
    Send(oClient, "Server", 1, 1);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 1));
    oClient.Disconnect("Server", 1);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Error, 1));
    EXPECT_EQ(oServerSink.All(SinkEvent::Error)[0].nError, LXPCError_ConnectionInvalid);
    EXPECT_EQ(oServerSink.All(SinkEvent::Error)[0].nConnection,
              oServerSink.All(SinkEvent::Message)[0].nConnection); // told by its handle
    EXPECT_TRUE(oServer.IsConnectionValid("Peer", 7));             // until it is disconnected
    End();
    EXPECT_EQ(oClientSink.Count(SinkEvent::Error), 0u);
}

TEST_F(MessagingTest, PlatformErrorsAreToldApartByIdentity) {
    struct Case {
        xpc_object_t pError;
        LXPCErrorType nType;
    };
    LXPCObject const oOther(xpc_dictionary_create(nullptr, nullptr, 0));
    for (Case const& oCase : {Case{XPC_ERROR_CONNECTION_INVALID, LXPCError_ConnectionInvalid},
                              {XPC_ERROR_CONNECTION_INTERRUPTED, LXPCError_ConnectionInterrupted},
                              {XPC_ERROR_TERMINATION_IMMINENT, LXPCError_TerminationImminent},
                              {oOther.Get(), LXPCError_Other}}) {
        RecordingSink oSink;
        ErrorHandler(oCase.pError, 9, &oSink);
        ASSERT_EQ(oSink.Count(SinkEvent::Error), 1u);
        EXPECT_EQ(oSink.All(SinkEvent::Error)[0].nError, oCase.nType);
        EXPECT_EQ(oSink.All(SinkEvent::Error)[0].nConnection, 9);
    }
}

TEST_F(MessagingTest, SuspensionsDoNotNest) {
    Join();
    Send(oClient, "Server", 1, 1);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 1));
    oServer.Suspend("peer", 7);
    oServer.Suspend("Peer", 7);
    Send(oClient, "Server", 1, 2);
    oServer.Resume("PEER", 7);
    oServer.Resume("Peer", 7);
    ASSERT_TRUE(oServerSink.WaitFor(SinkEvent::Message, 2));
    oServer.Suspend("Peer", 7);
    oServer.Disconnect("Peer", 7); // resumed, cancelled and released, without a word
    ASSERT_TRUE(oClientSink.WaitFor(SinkEvent::Error, 1));
    End();
    EXPECT_EQ(oServerSink.Count(SinkEvent::Error), 0u);
}

TEST(Connection, CountsItsReferences) {
    LXPCConnection oRecord;
    EXPECT_FALSE(oRecord.IsValid());
    EXPECT_TRUE(oRecord.bSuspended);
    oRecord.Release();
    oRecord.Cancel();
    oRecord.Destroy();
    EXPECT_EQ(oRecord.nRetainCount, 0u);
    LXPCObject oListener = NewListener();
    oRecord.Adopt(static_cast<xpc_connection_t>(xpc_retain(oListener.Get())));
    oRecord.Retain();
    EXPECT_EQ(oRecord.nRetainCount, 2u);
    oRecord.Release();
    EXPECT_TRUE(oRecord.IsValid());
    oRecord.Destroy(); // the handle is suspended still
    EXPECT_FALSE(oRecord.IsValid());
    EXPECT_FALSE(oRecord.bSuspended);
}
