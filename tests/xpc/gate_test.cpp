#include "xpc/gate.h"

#include "xpc/code_hold.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
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

} // namespace

TEST(Gate, ClosingWaitsForTheCallsOfOtherThreadsOnlyAndTurnsLaterOnesAway) {
    for (bool const bFromInside : {false, true})
        for (int nRound = 0; nRound < 50; ++nRound) {
            LXPCGate oGate(AnyBase());
            std::atomic<bool> bCloseReturned = false;
            bool bReturnedTooEarly = true;
            std::latch oInside(2);
            std::thread oCaller([&] {
                LXPCGate::Call const oCall(oGate);
                oInside.arrive_and_wait();
                while (LXPCGate::Call(oGate).Base())
                    std::this_thread::yield();
                bReturnedTooEarly = bCloseReturned;
            });
            auto const pOwn = bFromInside ? std::make_unique<LXPCGate::Call>(oGate) : nullptr;
            oInside.arrive_and_wait();
            oGate.Close();
            bCloseReturned = true;
            oCaller.join();
            ASSERT_FALSE(bReturnedTooEarly);
        }
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

TEST(CodeHold, EndsWhenTheLastCoveredConnectionIsFreed) {
    EXPECT_TRUE(LXPCCodeHold::EndWhenNone(0));
    for (bool const bKept : {false, true}) {
        LXPCCodeHold::Start();
        xpc_connection_t const pConnection = xpc_connection_create(nullptr, nullptr);
        LXPCCodeHold::Cover(pConnection);
        if (!bKept)
            xpc_release(pConnection);
        EXPECT_EQ(LXPCCodeHold::EndWhenNone(bKept ? 1 : 20000), !bKept);
        if (bKept)
            xpc_release(pConnection); // later than the end: harmless
    }
}
