#include "platform/testing/quiesce.h"
#include "tests/platform/xpc_scene.h"

#include <atomic>
#include <thread>

namespace {

Words Numbers(int nFirst, int nEnd) {
    Words lNumbers;
    for (int n = nFirst; n < nEnd; ++n)
        lNumbers.push_back(std::to_string(n));
    return lNumbers;
}

} // namespace

TEST(XpcConnection, MessagesArriveInOrderAndBarriersFollowThem) {
    Listener oListener;
    Party oCaller(oListener.NewCaller());
    oCaller.Send(Message(int64_t{0})); // before resuming: waits for it
    oCaller.Barrier("sent");
    oCaller.Resume();
    for (int n = 1; n < 500; ++n)
        oCaller.Send(Message(int64_t{n}));
    oCaller.Barrier("all sent");
    EXPECT_EQ(Numbers(0, 500), oListener.PeerNotes().WaitFor(500));
    EXPECT_EQ((Words{"sent", "all sent"}), oCaller.Notes().WaitFor(2));
}

TEST(XpcConnection, BarriersNeverRunOnTheSendingThread) {
    Listener oListener;
    Party oCaller(oListener.NewCaller());
    oCaller.Resume();
    Log<std::thread::id> oThreads;
    for (int n = 0; n < 3000; ++n) {
        oCaller.Send(Message("tick"));
        xpc_connection_send_barrier(oCaller, [&] { oThreads.Add(std::this_thread::get_id()); });
    }
    auto const lThreads = oThreads.WaitFor(3000);
    EXPECT_EQ(3000u, lThreads.size());
    EXPECT_EQ(0, std::count(lThreads.begin(), lThreads.end(), std::this_thread::get_id()));
}

TEST(XpcConnection, EachAskGetsOneAnswer) {
    struct {
        char const* szName;
        std::function<void(xpc_object_t)> oAct;
        char const* szExpected;
    } const lCases[] = {
        {"answered", [](xpc_object_t p) { AnswerWith(p, "yes"); }, "reply yes"},
        {"answered twice",
         [](xpc_object_t p) {
             AnswerWith(p, "once");
             AnswerWith(p, "twice");
         },
         "reply once"},
        {"let go", [](xpc_object_t) {}, "reply interrupted"},
        {"reply made, not sent", [](xpc_object_t p) { Message const oUnsent(xpc_dictionary_create_reply(p)); },
         "reply interrupted"},
        {"hung up on",
         [](xpc_object_t p) {
             if (auto const pRemote = xpc_dictionary_get_remote_connection(p))
                 xpc_connection_cancel(pRemote);
         },
         "reply interrupted"}, // the message goes, and says so, before the connection does
    };
    for (auto const& oCase : lCases) {
        SCOPED_TRACE(oCase.szName);
        // A copy: the peer's last event may come when this test has ended.
        Listener oListener([oAct = oCase.oAct](xpc_connection_t, xpc_object_t p) { oAct(p); });
        Party oCaller(oListener.NewCaller());
        oCaller.Resume().Ask(Message("question"));
        auto const lNotes = oCaller.Notes().WaitFor(1);
        ASSERT_FALSE(lNotes.empty());
        EXPECT_TRUE(lNotes[0] == oCase.szExpected ||
                    (std::string(oCase.szName) == "hung up on" && lNotes[0] == "reply invalid"))
            << lNotes[0];
    }
}

TEST(XpcConnection, AnswersComeOnTheirQueueOrToTheWaiter) {
    Listener oListener([](xpc_connection_t, xpc_object_t p) { AnswerWith(p, "yes"); });
    Party oCaller(oListener.NewCaller());
    oCaller.Resume();
    Message const oAnswer(xpc_connection_send_message_with_reply_sync(oCaller, Message("wait")));
    EXPECT_EQ("yes", WordFor(oAnswer));
    EXPECT_EQ(nullptr, xpc_dictionary_create_reply(oAnswer)) << "an answer is not answered";

    dispatch_queue_t const pQueue = dispatch_queue_create(nullptr, nullptr);
    WordLog oLog;
    dispatch_semaphore_t const pHold = dispatch_semaphore_create(0);
    dispatch_async(pQueue, [&] {
        dispatch_semaphore_wait(pHold, DISPATCH_TIME_FOREVER);
        oLog.Add("queue's own");
    });
    xpc_connection_send_message_with_reply(oCaller, Message("question"), pQueue,
                                           [&](xpc_object_t p) { oLog.Add(WordFor(p)); });
    dispatch_semaphore_signal(pHold);
    EXPECT_EQ((Words{"queue's own", "yes"}), oLog.WaitFor(2));
    dispatch_release(pQueue);
    PlatformQuiesce();
    dispatch_release(pHold);
}

TEST(XpcConnection, CancelEndsWithBarriersAnswersAndOneInvalid) {
    Listener oListener; // the questions after "stop" stay unread
    auto pCaptured = std::make_shared<int>(0);
    std::weak_ptr<int> const pWatched = pCaptured;
    xpc_connection_t pConnection = oListener.NewCaller();
    WordLog oNotes;
    xpc_connection_set_event_handler(pConnection,
                                     [&, pCaptured = std::move(pCaptured)](xpc_object_t p) { oNotes.Add(WordFor(p)); });
    xpc_connection_resume(pConnection);
    xpc_connection_send_message(pConnection, Message("stop"));
    for (char const* szWord : {"reply 1 ", "reply 2 "})
        xpc_connection_send_message_with_reply(pConnection, Message("question"), nullptr,
                                               [&oNotes, szWord](xpc_object_t p) { oNotes.Add(szWord + WordFor(p)); });
    xpc_connection_send_barrier(pConnection, [&] { oNotes.Add("barrier"); });
    EXPECT_EQ(Words{"barrier"}, oNotes.WaitFor(1));
    xpc_connection_suspend(pConnection);
    xpc_connection_send_barrier(pConnection, [&] { oNotes.Add("last barrier"); });
    xpc_connection_cancel(pConnection);
    xpc_connection_cancel(pConnection);
    xpc_connection_resume(pConnection);
    EXPECT_EQ((Words{"barrier", "last barrier", "reply 1 invalid", "reply 2 invalid", "invalid"}), oNotes.WaitFor(5));
    PlatformQuiesce();
    EXPECT_TRUE(pWatched.expired()) << "the handler keeps what it captured";
    // Whoever still asks is still answered, by somebody else than the caller.
    xpc_connection_send_message_with_reply(pConnection, Message("late"), nullptr,
                                           [&](xpc_object_t p) { oNotes.Add("late " + WordFor(p)); });
    xpc_connection_send_barrier(pConnection, [&] { oNotes.Add("late barrier"); });
    EXPECT_EQ(7u, oNotes.WaitFor(7).size());
    xpc_release(pConnection);
    PlatformQuiesce();
    EXPECT_EQ(7u, oNotes.Now().size());
}

TEST(XpcConnection, PeersAndCallersOfTheDeadAreInvalidOnce) {
    auto pListener = std::make_unique<Listener>();
    Party oFirst(pListener->NewCaller()), oSecond(pListener->NewCaller());
    xpc_connection_t const pLate = pListener->NewCaller();
    oFirst.Resume().Send(Message("hello"));
    EXPECT_EQ(Words{"hello"}, pListener->PeerNotes().WaitFor(1));
    {
        Party oShort(pListener->NewCaller());
        oShort.Resume().Send(Message("bye"));
        EXPECT_EQ((Words{"hello", "bye"}), pListener->PeerNotes().WaitFor(2));
    }
    EXPECT_EQ((Words{"hello", "bye", "invalid"}), pListener->PeerNotes().WaitFor(3))
        << "the peer hears of its caller's end";
    pListener.reset();
    Party oLate(pLate);
    EXPECT_EQ(Words{"invalid"}, oLate.Resume().Notes().WaitFor(1));
    oLate.Ask(Message("anybody?"));
    oLate.Barrier("went nowhere");
    EXPECT_EQ((Words{"invalid", "reply invalid", "went nowhere"}), oLate.Notes().WaitFor(3));
}

TEST(XpcConnection, SuspendHoldsEverythingAndLosesNothing) {
    Listener oListener([](xpc_connection_t pPeer, xpc_object_t p) {
        AnswerWith(p, "yes");
        if (WordFor(p) == "talk")
            for (int n = 0; n < 3; ++n)
                xpc_connection_send_message(pPeer, Message(int64_t{n}));
    });
    Party oCaller(oListener.NewCaller());
    oCaller.Resume();
    xpc_connection_suspend(oCaller);
    xpc_connection_suspend(oCaller);
    oCaller.Send(Message("talk"));
    oCaller.Ask(Message("question"));
    oCaller.Barrier("barrier");
    EXPECT_EQ(2u, oListener.PeerNotes().WaitFor(2).size()) << "what is sent goes out";
    xpc_connection_resume(oCaller);
    EXPECT_EQ(Words{}, oCaller.Notes().Now());
    xpc_connection_resume(oCaller);
    auto lNotes = oCaller.Notes().WaitFor(5);
    std::erase(lNotes, "barrier");
    EXPECT_EQ((Words{"0", "1", "2", "reply yes"}), lNotes);
}

TEST(XpcConnection, HandlersMayDoAnythingToTheirOwnConnection) {
    Listener oListener([](xpc_connection_t pPeer, xpc_object_t p) {
        if (xpc_get_type(p) == XPC_TYPE_DICTIONARY)
            xpc_connection_send_message(pPeer, p); // echo
    });
    WordLog oNotes;
    xpc_connection_t const pCaller = oListener.NewCaller();
    xpc_connection_set_event_handler(pCaller, [&, pCaller](xpc_object_t pFirst) {
        oNotes.Add("first " + WordFor(pFirst));
        xpc_connection_suspend(pCaller);
        xpc_connection_set_event_handler(pCaller, [&, pCaller](xpc_object_t p) {
            oNotes.Add("second " + WordFor(p));
            if (p == XPC_ERROR_CONNECTION_INVALID)
                return;
            xpc_connection_cancel(pCaller);
            xpc_connection_send_barrier(pCaller, [&] { oNotes.Add("barrier"); });
            xpc_release(pCaller); // the last reference
        });
        xpc_connection_resume(pCaller);
    });
    xpc_connection_resume(pCaller);
    xpc_connection_send_message(pCaller, Message("a"));
    xpc_connection_send_message(pCaller, Message("b"));
    EXPECT_EQ((Words{"first a", "second b", "barrier", "second invalid"}), oNotes.WaitFor(4));
}

TEST(XpcConnection, TargetQueueRunsEverythingOneAtATime) {
    Listener oListener([](xpc_connection_t, xpc_object_t p) { AnswerWith(p, "yes"); });
    dispatch_queue_t const pQueue = dispatch_queue_create(nullptr, nullptr);
    {
        xpc_connection_t const pCaller = oListener.NewCaller();
        xpc_connection_set_target_queue(pCaller, pQueue);
        Party oCaller(pCaller);
        dispatch_sync(pQueue, [&] { // holds the queue: nothing may run meanwhile
            oCaller.Resume().Ask(Message("question"));
            EXPECT_EQ(1u, oListener.PeerNotes().WaitFor(1).size());
            EXPECT_EQ(Words{}, oCaller.Notes().Now());
        });
        EXPECT_EQ(Words{"reply yes"}, oCaller.Notes().WaitFor(1));
        xpc_connection_cancel(oCaller);
        PlatformQuiesce();
        dispatch_sync(pQueue, [&] { // and whoever waits on it for an answer that can't come is not left waiting
            EXPECT_EQ("invalid", WordFor(Message(xpc_connection_send_message_with_reply_sync(oCaller, Message("?")))));
        });
        PlatformQuiesce();
    }
    PlatformQuiesce();
    dispatch_release(pQueue);
}

TEST(XpcConnection, EndpointsTravelThroughAThirdPartyAndAnswerFromWhereTheyLead) {
    Listener oFar([](xpc_connection_t, xpc_object_t p) { AnswerWith(p, "far"); });
    Listener oBroker([&](xpc_connection_t, xpc_object_t p) {
        if (xpc_get_type(p) != XPC_TYPE_DICTIONARY)
            return;
        Message const oReply(xpc_dictionary_create_reply(p));
        xpc_endpoint_t const pEndpoint = xpc_endpoint_create(oFar.AsParty());
        xpc_dictionary_set_value(oReply, "endpoint", pEndpoint);
        xpc_release(pEndpoint);
        xpc_connection_send_message(xpc_dictionary_get_remote_connection(p), oReply);
    });
    Party oCaller(oBroker.NewCaller());
    oCaller.Resume();
    Message const oAnswer(xpc_connection_send_message_with_reply_sync(oCaller, Message("who?")));
    auto const pEndpoint = static_cast<xpc_endpoint_t>(xpc_dictionary_get_value(oAnswer, "endpoint"));
    ASSERT_EQ(XPC_TYPE_ENDPOINT, xpc_get_type(pEndpoint));
    for (int n = 0; n < 2; ++n) { // an endpoint is good for more than one connection
        Party oDirect(xpc_connection_create_from_endpoint(pEndpoint));
        oDirect.Resume();
        EXPECT_EQ("far", WordFor(Message(xpc_connection_send_message_with_reply_sync(oDirect, Message("hello")))));
        EXPECT_EQ(::getpid(), xpc_connection_get_pid(oDirect));
    }
}

TEST(XpcConnection, ReleasedWithoutCancelItEndsAndStillAnswersWhoWaits) {
    Listener oListener;
    for (bool bResumed : {false, true}) {
        WordLog oNotes;
        xpc_connection_t const pCaller = oListener.NewCaller();
        xpc_connection_set_event_handler(pCaller, [&](xpc_object_t p) { oNotes.Add(WordFor(p)); });
        if (bResumed)
            xpc_connection_resume(pCaller);
        xpc_connection_send_message(pCaller, Message("stop"));
        xpc_connection_send_message_with_reply(pCaller, Message("question"), nullptr,
                                               [&](xpc_object_t p) { oNotes.Add("reply " + WordFor(p)); });
        xpc_release(pCaller);
        EXPECT_EQ(Words{"reply invalid"}, oNotes.WaitFor(1)) << "resumed: " << bResumed;
        PlatformQuiesce();
        EXPECT_EQ(1u, oNotes.Now().size());
    }
    // A peer that nobody resumes goes with the listener's handler.
    Party oIgnoring(xpc_connection_create(nullptr, nullptr));
    oIgnoring.Resume();
    xpc_endpoint_t const pEndpoint = xpc_endpoint_create(oIgnoring);
    Party oIgnored(xpc_connection_create_from_endpoint(pEndpoint));
    xpc_release(pEndpoint);
    EXPECT_EQ(Words{"invalid"}, oIgnored.Resume().Notes().WaitFor(1));
}

// Everything at once from several threads; the sanitizers and the leak check judge.
TEST(XpcConnection, CancelRacesWithSendersSuspendersAndHandlers) {
    Listener oListener([](xpc_connection_t, xpc_object_t p) { AnswerWith(p, "yes"); });
    std::atomic<int> nAnswers{0}, nBarriers{0}, nInvalids{0};
    constexpr int kRounds = 60, kSends = 40;
    for (int nRound = 0; nRound < kRounds; ++nRound) {
        xpc_connection_t const pCaller = oListener.NewCaller();
        xpc_connection_set_event_handler(pCaller,
                                         [&](xpc_object_t p) { nInvalids += p == XPC_ERROR_CONNECTION_INVALID; });
        xpc_connection_resume(pCaller);
        std::thread oSender([&] {
            for (int n = 0; n < kSends; ++n) {
                xpc_connection_send_message_with_reply(pCaller, Message("question"), nullptr,
                                                       [&](xpc_object_t) { ++nAnswers; });
                xpc_connection_send_barrier(pCaller, [&] { ++nBarriers; });
            }
        });
        std::thread oSuspender([&] {
            for (int n = 0; n < kSends; ++n) {
                xpc_connection_suspend(pCaller);
                xpc_connection_resume(pCaller);
            }
        });
        for (int n = 0; n < nRound; ++n)
            xpc_connection_send_message(pCaller, Message("more"));
        xpc_connection_cancel(pCaller);
        oSender.join();
        oSuspender.join();
        xpc_release(pCaller);
    }
    PlatformQuiesce();
    EXPECT_EQ(kRounds * kSends, nAnswers);
    EXPECT_EQ(kRounds * kSends, nBarriers);
    EXPECT_LE(nInvalids, kRounds); // let go before the thread came to it, a connection tells nobody
}
