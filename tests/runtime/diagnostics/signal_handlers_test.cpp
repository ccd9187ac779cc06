#include "runtime/diagnostics/signal_handlers.h"
#include "tests/harness/child_process.h"

#include <gtest/gtest.h>
#include <string>

namespace {

constexpr int kGoesOn = 99;

// How a process ends that gets the signals, one after the other, in its handler.
int EndAfter(void (*pHandler)(int, siginfo_t*, void*), std::vector<int> const& lSignals) {
    ChildProcess oChild([&](auto const&) {
        for (int const nSignal : lSignals)
            pHandler(nSignal, nullptr, nullptr);
        return kGoesOn;
    });
    return oChild.Wait();
}

} // namespace

TEST(SignalHandlers, EndTheProcessOnTheirSignalsOnly) {
    for (int nSignal = -1; nSignal <= 64; ++nSignal) {
        bool const bFault = nSignal == 6 || (nSignal >= 8 && nSignal <= 11) || nSignal == SIGBUS;
        EXPECT_EQ(EndAfter(LDebugSignalHandler, {nSignal}), bFault ? 666 % 256 : kGoesOn) << nSignal;
        EXPECT_EQ(EndAfter(LIntTermSignalHandler, {nSignal}), nSignal == 2 || nSignal == 15 ? 0 : kGoesOn) << nSignal;
    }
    EXPECT_EQ(EndAfter(LDebugSignalHandler, {1, 11, 6}), kGoesOn); // the first only
    EXPECT_STREQ(LDebugSignalReason(), "");
    LDebugSignalHandler(13, nullptr, nullptr);
    LDebugSignalHandler(11, nullptr, nullptr);
    EXPECT_TRUE(bLLibExceptionAlreadyTrapped);
    EXPECT_STREQ(LDebugSignalReason(), "SIGNAL13");
}
