#include "runtime/sync/signal_object.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <iterator>
#include <pthread.h>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace {

// Each form of waiting for an event, among two that are never signalled.
using Wait = bool (*)(LSignalObject& oSignal, LSignalObject& oA, LSignalObject& oB, unsigned int nTimeout);
constexpr Wait kWaits[] = {
    [](auto& o, auto&, auto&, unsigned int n) { return o.WaitSignal(n); },
    [](auto& o, auto& oA, auto&, unsigned int n) { return o.WaitSignalDual(oA, n); },
    [](auto& o, auto& oA, auto&, unsigned int n) { return oA.WaitSignalDual(o, n); },
    [](auto& o, auto& oA, auto& oB, unsigned int n) { return o.WaitSignalTriple(oA, oB, n); },
    [](auto& o, auto& oA, auto& oB, unsigned int n) { return oA.WaitSignalTriple(o, oB, n); },
    [](auto& o, auto& oA, auto& oB, unsigned int n) { return oA.WaitSignalTriple(oB, o, n); },
};

} // namespace

TEST(SignalObject, StaysSignalledThroughWaitsUntilReset) {
    for (std::size_t nWait = 0; nWait < std::size(kWaits); ++nWait) {
        SCOPED_TRACE(nWait);
        LSignalObject oSignal, oA, oB;
        EXPECT_FALSE(kWaits[nWait](oSignal, oA, oB, 0));
        EXPECT_FALSE(kWaits[nWait](oSignal, oA, oB, 2));
        oSignal.Signal();
        for (unsigned int nTimeout : {0u, 1u, 0x80000000u, kLNoTimeout, 0u})
            EXPECT_TRUE(kWaits[nWait](oSignal, oA, oB, nTimeout)) << "timeout " << nTimeout;
        oSignal.Reset();
        EXPECT_FALSE(kWaits[nWait](oSignal, oA, oB, 0));
    }
}

TEST(SignalObject, TakesMoreSignalsThanItsPipeHolds) {
    LSignalObject oSignal;
    for (int n = 0; n < 70'000; ++n)
        oSignal.Signal();
    EXPECT_TRUE(oSignal.IsSignaled());
    oSignal.Reset();
    EXPECT_FALSE(oSignal.IsSignaled());
}

TEST(SignalObject, WaitGoesOnAfterASignalHandler) {
    struct sigaction oHandler {
    }, oBefore;
    oHandler.sa_handler = [](int) {};
    sigaction(SIGUSR1, &oHandler, &oBefore); // no SA_RESTART
    LSignalObject oSignal, oWaiting;
    bool bSignaled = false;
    std::thread oWaiter([&] {
        oWaiting.Signal();
        bSignaled = oSignal.WaitSignal(100'000);
    });
    oWaiting.WaitSignal(kLNoTimeout);
    for (int n = 0; n < 200; ++n) {
        pthread_kill(oWaiter.native_handle(), SIGUSR1);
        std::this_thread::yield();
    }
    oSignal.Signal();
    oWaiter.join();
    EXPECT_TRUE(bSignaled);
    sigaction(SIGUSR1, &oBefore, nullptr);
}

TEST(SignalObject, WakesEveryWaiterWithWhatTheSignallerWrote) {
    LSignalObject oSignal;
    int nWritten = 0; // plain: the signal is what orders it
    std::vector<std::thread> lWaiters;
    std::atomic<int> nSeen{0};
    for (int n = 0; n < 4; ++n)
        lWaiters.emplace_back([&] {
            if (oSignal.WaitSignal(kLNoTimeout))
                nSeen += nWritten;
        });
    nWritten = 7;
    oSignal.Signal();
    for (auto& oWaiter : lWaiters)
        oWaiter.join();
    EXPECT_EQ(nSeen, 4 * 7);
}

TEST(SignalObject, WithoutDescriptorsIsNeverSignalledAndNeverHangsAWaiter) {
    rlimit oBefore;
    getrlimit(RLIMIT_NOFILE, &oBefore);
    rlimit oNone = oBefore;
    oNone.rlim_cur = 3;
    setrlimit(RLIMIT_NOFILE, &oNone);
    LSignalObject oSignal;
    setrlimit(RLIMIT_NOFILE, &oBefore);
    EXPECT_FALSE(oSignal.IsValid());
    oSignal.Signal();
    oSignal.Reset();
    EXPECT_FALSE(oSignal.WaitSignal(kLNoTimeout));
}

TEST(SignalObjectGroup, IsEmptyFull256AndGrowsInOrder) {
    LSignalObject oFiller, oA, oB;
    LSignalObjectGroup oGroup, oPair;
    EXPECT_FALSE(oGroup.Select(kLNoTimeout)) << "an empty group";
    oPair.Add(oA);
    oPair.Add(oB);
    oPair.Add(oPair);
    EXPECT_EQ(oPair.GetCount(), 4);
    EXPECT_TRUE(oPair.EndsWith(oB));
    for (int n = 0; n < 255; ++n)
        oGroup.Add(oFiller);
    oGroup.Add(oPair); // of which only the first fits
    EXPECT_EQ(oGroup.GetCount(), 256);
    oB.Signal();
    oGroup.Add(oB);
    EXPECT_FALSE(oGroup.IsSignaled()) << "the 257th member was taken";
    oA.Signal();
    EXPECT_TRUE(oGroup.IsSignaled());
}
