// Two clients joined through an endpoint, in one process.
#pragma once

#include "tests/xpc/recording_sink.h"
#include "xpc/client.h"

#include "platform/testing/quiesce.h"

#include <gtest/gtest.h>

// The server is reached under "Server", instance 1, by the client; its peers are "Peer", instance 7. Both sides declare
// "n" and "text" both ways.
struct XPCPair : testing::Test {
    XPCPair() {
        for (LXPCClient* pSide : {&oServer, &oClient})
            for (bool bReceive : {false, true}) {
                pSide->AddKey("n", LXPCDataType_Int64, bReceive);
                pSide->AddKey("text", LXPCDataType_String, bReceive);
            }
    }
    void TearDown() override { End(); } // while there still is all that a sink refers to
    void Join() {
        oEndPoint = LXPCObject(oServer.CreateEndPoint("Peer", 7));
        ASSERT_TRUE(oEndPoint);
        ASSERT_TRUE(oClient.ConnectEndPoint("Server", 1, oEndPoint.Get()));
    }
    static void Send(LXPCClient& oFrom, char const* szName, unsigned long nInstance, long nNumber,
                     bool bWantReply = false) {
        LXPCData const oItem("n", LXPCDataType_None, nNumber);
        oFrom.SendMessage(szName, nInstance, &oItem, 1, bWantReply);
    }
    // Nothing more can come: the threads of ended connections are gone.
    void End() {
        oClient.DisconnectAll();
        oServer.DisconnectAll();
        PlatformQuiesce();
    }

    RecordingSink oServerSink, oClientSink;
    LXPCClient oServer{&oServerSink}, oClient{&oClientSink};
    LXPCObject oEndPoint;
};
