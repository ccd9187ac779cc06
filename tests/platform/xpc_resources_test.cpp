// Peers that stop reading, large bodies, and a machine that interrupts, runs out or says no.
#include "platform/host/xpc_inspection.h"
#include "platform/testing/system_calls.h"
#include "tests/platform/xpc_scene.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

struct XpcResources : testing::Test {
    ~XpcResources() override { SystemCallsReset(); }
};

std::atomic<int> nCallsToSpoil;
std::atomic<int> nSpoiledError;
SystemCalls oReal; // what the spoiled ones fall back to

// Answers the next few calls with the error, and lets the others through.
template <auto SystemCalls::*pCall, class... Arguments>
auto Spoiled(Arguments... lArguments) {
    auto const pReal = (oReal.*pCall).load();
    if (nCallsToSpoil.fetch_sub(1) > 0) {
        errno = nSpoiledError;
        return decltype(pReal(lArguments...))(-1);
    }
    return pReal(lArguments...);
}

template <auto SystemCalls::*pCall, class Result, class... Arguments>
void Spoil(std::atomic<Result (*)(Arguments...)> SystemCalls::*, int nError, int nCalls) {
    SystemCallsReset(); // one call is spoiled at a time
    (oReal.*pCall).store((gSystemCalls.*pCall).load());
    nSpoiledError = nError;
    nCallsToSpoil = nCalls;
    (gSystemCalls.*pCall).store([](Arguments... lArguments) -> Result { return Spoiled<pCall>(lArguments...); });
}
#define SPOIL(call, error, calls) Spoil<&SystemCalls::call>(&SystemCalls::call, error, calls)

xpc_object_t NewFilled(size_t nBytes) {
    xpc_object_t const pMessage = xpc_dictionary_create(nullptr, nullptr, 0);
    std::string const szBytes(nBytes, 'x');
    xpc_dictionary_set_string(pMessage, "text", "data");
    xpc_dictionary_set_data(pMessage, "bytes", szBytes.data(), szBytes.size());
    return pMessage;
}

} // namespace

TEST_F(XpcResources, APeerThatStopsReadingCostsBoundedMemoryAndLosesTheRest) {
    Listener oListener;
    Party oCaller(oListener.NewCaller());
    oCaller.Resume().Send(Message("stop"));
    xpc_connection_t const pStopped = oListener.StoppedPeer();
    Message const oBlock(NewFilled(4096));
    constexpr uint64_t kSent = 3000;
    for (uint64_t n = 0; n < kSent; ++n)
        oCaller.Send(oBlock);
    oCaller.Ask(oBlock);
    oCaller.Barrier("let go");
    EXPECT_EQ(Words{"reply interrupted"}, oCaller.Notes().WaitFor(1)) << "and the barrier waits for what is queued";
    XpcTraffic const oFull = XpcConnectionTraffic(oCaller);
    EXPECT_LE(oFull.nQueuedBytes, 4u << 20);
    EXPECT_GT(oFull.nQueuedBytes, 3u << 20);
    EXPECT_GT(oFull.nDropped, 1000u);

    xpc_connection_resume(pStopped);
    EXPECT_EQ((Words{"reply interrupted", "let go"}), oCaller.Notes().WaitFor(2));
    auto const nArrived = kSent - oFull.nDropped + 1;
    EXPECT_EQ(nArrived, oListener.PeerNotes().WaitFor(nArrived).size()) << "what was queued arrives";
    EXPECT_EQ(0u, XpcConnectionTraffic(oCaller).nQueued);
}

TEST_F(XpcResources, BarriersBehindAPeerThatStopsReadingAreBoundedAndKeepTheirOrder) {
    Listener oListener;
    Party oCaller(oListener.NewCaller());
    oCaller.Resume().Send(Message("stop"));
    xpc_connection_t const pStopped = oListener.StoppedPeer();
    Message const oBlock(NewFilled(4096));
    constexpr size_t kSent = 12000, kMostWaiting = 4096;
    for (size_t n = 0; n < kSent; ++n) {
        oCaller.Send(oBlock);
        oCaller.Barrier(std::to_string(n));
    }
    EXPECT_GE(oCaller.Notes().WaitFor(kSent - kMostWaiting).size(), kSent - kMostWaiting);
    EXPECT_GT(XpcConnectionTraffic(oCaller).nQueued, 0u) << "their messages wait";
    xpc_connection_resume(pStopped);
    Words const lRan = oCaller.Notes().WaitFor(kSent);
    ASSERT_EQ(kSent, lRan.size());
    for (size_t n = 0; n < kSent; ++n)
        ASSERT_EQ(std::to_string(n), lRan[n]);
}

TEST_F(XpcResources, BodiesOfAnySizeArriveWhole) {
    std::atomic<size_t> nWrong{0};
    Listener oListener([&](xpc_connection_t, xpc_object_t p) {
        size_t nLength = 0;
        auto const* const pBytes = static_cast<char const*>(xpc_dictionary_get_data(p, "bytes", &nLength));
        for (size_t n = 0; n < nLength; ++n)
            nWrong += pBytes[n] != 'x';
        xpc_object_t const pReply = xpc_dictionary_create_reply(p);
        if (!pReply)
            return;
        xpc_dictionary_set_int64(pReply, "number", static_cast<int64_t>(nLength));
        xpc_connection_send_message(xpc_dictionary_get_remote_connection(p), pReply);
        xpc_release(pReply);
    });
    Party oCaller(oListener.NewCaller());
    oCaller.Resume();
    for (size_t nBytes : {size_t{0}, size_t{1}, size_t{511}, size_t{512}, size_t{65000}, size_t{65536}, size_t{70000},
                          size_t{9} << 20}) {
        Message const oMessage(NewFilled(nBytes));
        Message const oReply(xpc_connection_send_message_with_reply_sync(oCaller, oMessage));
        EXPECT_EQ(std::to_string(nBytes), WordFor(oReply));
    }
    EXPECT_EQ(0u, nWrong);
}

TEST_F(XpcResources, WhatGoesBeyondALimitIsRefusedAtTheSender) {
    Listener oListener([](xpc_connection_t, xpc_object_t p) { AnswerWith(p, "fits"); });
    Party oCaller(oListener.NewCaller());
    oCaller.Resume();
    auto const Ask = [&](xpc_object_t pMessage) {
        return WordFor(Message(xpc_connection_send_message_with_reply_sync(oCaller, pMessage)));
    };
    for (int nFiles : {64, 65}) {
        Message oMessage("files");
        Message const oArray(xpc_array_create(nullptr, 0));
        for (int n = 0; n < nFiles; ++n) {
            Message const oFile(xpc_fd_create(STDIN_FILENO));
            xpc_array_append_value(oArray, oFile);
        }
        xpc_dictionary_set_value(oMessage, "files", oArray);
        EXPECT_EQ(nFiles == 64 ? "fits" : "invalid", Ask(oMessage)) << nFiles;
    }
    for (int nDepth : {32, 33}) {
        xpc_object_t pInner = xpc_dictionary_create(nullptr, nullptr, 0);
        for (int n = 1; n < nDepth; ++n) {
            xpc_object_t const pOuter = xpc_dictionary_create(nullptr, nullptr, 0);
            xpc_dictionary_set_value(pOuter, "inner", pInner);
            xpc_release(pInner);
            pInner = pOuter;
        }
        EXPECT_EQ(nDepth == 32 ? "fits" : "invalid", Ask(Message(pInner))) << nDepth;
    }
    Message oConnection("a connection is no value");
    xpc_dictionary_set_value(oConnection, "connection", static_cast<xpc_connection_t>(oCaller));
    EXPECT_EQ("invalid", Ask(oConnection));
}

TEST_F(XpcResources, CallsThatAreInterruptedOrShortOfMemoryAreMadeAgain) {
    Listener oListener([](xpc_connection_t, xpc_object_t p) { AnswerWith(p, "yes"); });
    Party oCaller(oListener.NewCaller());
    oCaller.Resume();
    auto const Ask = [&](char const* szWhat) {
        EXPECT_EQ("yes", WordFor(Message(xpc_connection_send_message_with_reply_sync(oCaller, Message("question")))))
            << szWhat;
    };
    struct {
        char const* szWhat;
        std::function<void()> oSpoil;
    } const lCases[] = {
        {"sendmsg interrupted", [] { SPOIL(sendmsg, EINTR, 3); }},
        {"sendmsg full", [] { SPOIL(sendmsg, EAGAIN, 2); }},
        {"sendmsg without buffers", [] { SPOIL(sendmsg, ENOBUFS, 2); }},
        {"sendmsg with too many descriptors on the way", [] { SPOIL(sendmsg, ETOOMANYREFS, 1); }},
        {"sendmsg too long for the socket", [] { SPOIL(sendmsg, EMSGSIZE, 1); }},
        {"recvmsg interrupted", [] { SPOIL(recvmsg, EINTR, 3); }},
        {"recvmsg without buffers", [] { SPOIL(recvmsg, ENOBUFS, 2); }},
        {"recvmsg told of a reset", [] { SPOIL(recvmsg, ECONNRESET, 1); }},
        {"ppoll interrupted", [] { SPOIL(ppoll, EINTR, 5); }},
        {"ppoll without memory", [] { SPOIL(ppoll, ENOMEM, 5); }},
    };
    for (auto const& oCase : lCases) {
        oCase.oSpoil();
        Ask(oCase.szWhat);
        Ask(oCase.szWhat);
        SystemCallsReset();
    }
}

TEST_F(XpcResources, WithoutDescriptorsThingsFailByNameAndNothingHangs) {
    ServiceFolder oFolder;
    Listener oListener([](xpc_connection_t, xpc_object_t p) { AnswerWith(p, "yes"); },
                       ServiceFolder::NewServer("name"));
    {
        SPOIL(socketpair, EMFILE, 1);
        Party oAnonymous(xpc_connection_create(nullptr, nullptr));
        EXPECT_EQ(nullptr, xpc_endpoint_create(oAnonymous));
    }
    {
        Party oAnonymous(xpc_connection_create(nullptr, nullptr));
        xpc_endpoint_t const pEndpoint = xpc_endpoint_create(oAnonymous);
        SPOIL(socketpair, EMFILE, 1);
        Party oCaller(xpc_connection_create_from_endpoint(pEndpoint));
        EXPECT_EQ(Words{"invalid"}, oCaller.Resume().Notes().WaitFor(1));
        xpc_release(pEndpoint);
    }
    {
        SPOIL(eventfd, EMFILE, 1); // the thread finds out by looking
        Party oCaller(ServiceFolder::NewClient("name"));
        oCaller.Resume().Ask(Message("question"));
        EXPECT_EQ(Words{"reply yes"}, oCaller.Notes().WaitFor(1));
    }
    {
        SPOIL(accept4, EMFILE, 2);
        Party oCaller(ServiceFolder::NewClient("name"));
        oCaller.Resume().Ask(Message("question"));
        EXPECT_EQ(Words{"reply yes"}, oCaller.Notes().WaitFor(1)) << "it stays in line until there is a descriptor";
    }
    {
        SPOIL(socket, EMFILE, 1);
        Party oCaller(ServiceFolder::NewClient("name"));
        EXPECT_EQ(Words{"invalid"}, oCaller.Resume().Notes().WaitFor(1));
        oCaller.Ask(Message("question"));
        EXPECT_EQ((Words{"invalid", "reply yes"}), oCaller.Notes().WaitFor(2)) << "the name is looked up again";
    }
    {
        SPOIL(duplicate, EMFILE, 1);
        Message oMessage("no file");
        xpc_dictionary_set_fd(oMessage, "file", STDIN_FILENO);
        EXPECT_EQ(nullptr, xpc_dictionary_get_value(oMessage, "file"));
        EXPECT_EQ(-1, xpc_dictionary_dup_fd(oMessage, "file"));
    }
    {
        SPOIL(memfd_create, EMFILE, 1);
        Party oCaller(ServiceFolder::NewClient("name"));
        oCaller.Resume().Ask(Message(NewFilled(100000)));
        EXPECT_EQ(Words{"reply invalid"}, oCaller.Notes().WaitFor(1));
        oCaller.Ask(Message(NewFilled(100000)));
        EXPECT_EQ((Words{"reply invalid", "reply yes"}), oCaller.Notes().WaitFor(2));
    }
}
