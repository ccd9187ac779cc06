#include "xpc/gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace {

// The gates never look at the object: any address will do.
LXPCBase& AnyBase() {
    alignas(std::max_align_t) static char arPlace[1];
    return reinterpret_cast<LXPCBase&>(arPlace);
}

bool IsClosed(LXPCGate& oGate) {
    return LXPCGate::Call(oGate).Base() == nullptr;
}

} // namespace

TEST(Gate, ClosingWaitsForCallsOnOtherThreadsAndTurnsLaterOnesAway) {
    for (int nRound = 0; nRound < 100; ++nRound) {
        LXPCGate oGate(AnyBase());
        std::atomic<bool> bCloseReturned = false;
        bool bReturnedTooEarly = true;
        std::latch oInside(1);
        std::thread oCaller([&] {
            LXPCGate::Call const oCall(oGate);
            oInside.count_down();
            while (!IsClosed(oGate))
                std::this_thread::yield();
            bReturnedTooEarly = bCloseReturned;
        });
        oInside.wait();
        oGate.Close();
        bCloseReturned = true;
        oCaller.join();
        ASSERT_FALSE(bReturnedTooEarly);
    }
}

TEST(Gate, ClosingFromInsideDoesNotWaitForItselfButForTheOthers) {
    LXPCGate oGate(AnyBase());
    std::latch oInside(2);
    std::atomic<bool> bClosed = false;
    bool bOtherSawClosed = true;
    std::thread oOther([&] {
        LXPCGate::Call const oCall(oGate);
        oInside.arrive_and_wait();
        while (!IsClosed(oGate))
            std::this_thread::yield();
        bOtherSawClosed = bClosed;
    });
    {
        LXPCGate::Call const oOuter(oGate), oInner(oGate);
        oInside.arrive_and_wait();
        oGate.Close();
        bClosed = true;
    }
    oOther.join();
    EXPECT_FALSE(bOtherSawClosed);
}

// Thread n stands in gate n and closes the next one: nobody can wait for everybody, and nobody hangs.
TEST(Gate, CallsThatCloseEachOthersGatesInARingDoNotHang) {
    for (size_t nThreads : {2u, 3u, 5u})
        for (int nRound = 0; nRound < 50; ++nRound) {
            std::vector<std::unique_ptr<LXPCGate>> lGates;
            for (size_t n = 0; n < nThreads; ++n)
                lGates.push_back(std::make_unique<LXPCGate>(AnyBase()));
            std::latch oInside(static_cast<std::ptrdiff_t>(nThreads));
            std::vector<std::jthread> lThreads;
            for (size_t n = 0; n < nThreads; ++n)
                lThreads.emplace_back([&, n] {
                    LXPCGate::Call const oCall(*lGates[n]);
                    oInside.arrive_and_wait();
                    lGates[(n + 1) % nThreads]->Close();
                });
            lThreads.clear();
        }
}

TEST(CodeHold, IsWaitedForUntilTheLastIsGone) {
    EXPECT_TRUE(LXPCCodeHold::WaitForNone(0));
    auto pHold = std::make_unique<LXPCCodeHold>();
    EXPECT_FALSE(LXPCCodeHold::WaitForNone(1));
    std::thread oEnding([&] { pHold.reset(); });
    EXPECT_TRUE(LXPCCodeHold::WaitForNone(20000));
    oEnding.join();
}
