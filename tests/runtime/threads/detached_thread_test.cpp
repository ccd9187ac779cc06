#include "runtime/threads/detached_thread.h"

#include "runtime/threads/process_interface_void.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace {

// What a test's threads count.
struct Counts {
    std::atomic<int> nMade{0}, nDeleted{0};
};

class Detached : public LDetachedThread {
public:
    using Body = std::function<void(Detached&)>;
    explicit Detached(Counts& o, Body oBodyToRun = {}) : oCounts(o), oBody(std::move(oBodyToRun)) { ++oCounts.nMade; }
    ~Detached() override {
        StopThreadNow();
        ++oCounts.nDeleted;
    }
    void ThreadProc() override {
        if (oBody)
            oBody(*this);
    }

private:
    Counts& oCounts;
    Body oBody;
};

void UntilStopped(Detached& oSelf) {
    oSelf.ProcessWaitUntilStopped();
}

std::unique_ptr<Detached> Make(Counts& oCounts, Detached::Body oBody = {}) {
    return std::make_unique<Detached>(oCounts, std::move(oBody));
}

// Who waits through it gets to the function instead.
class Waiter : public LProcessInterfaceVoid {
public:
    using Wait = std::function<LWaitResult(LSignalObjectRef oSignal, unsigned int nTimeout)>;
    explicit Waiter(Wait oWaitInstead) : oWait(std::move(oWaitInstead)) {}
    LWaitResult ProcessWaitSignal(LSignalObjectRef oSignal, unsigned int nTimeout) override {
        return oWait(oSignal, nTimeout);
    }

private:
    Wait oWait;
};

class Stopped : public LThread {
public:
    Stopped() { StopThreadSoon(); }
    void ThreadProc() override {}
};

} // namespace

TEST(DetachedThread, PartsOfStartThreadBySteps) {
    Counts oCounts;
    LDetachedThreadsOwner oOwner;
    EXPECT_EQ(oOwner.Add(Make(oCounts, UntilStopped)).StartDetached(oOwner, 31), 0);
    LDetachedThread& oSecond = oOwner.Add(Make(oCounts, UntilStopped));
    oOwner.Add(Make(oCounts)); // never started
    oOwner.Destruct(&oSecond); // neither
    EXPECT_EQ(oCounts.nDeleted, 1);
    Detached oForeign(oCounts);
    oOwner.Destruct(&oForeign); // not listed: left alone
    EXPECT_EQ(oCounts.nDeleted, 1);
    oOwner.StopThreadsNow();
    EXPECT_EQ(oCounts.nDeleted, 3);
    EXPECT_EQ(oForeign.StartDetached(oOwner, 31), 0); // not listed: not deleted
    oForeign.StopThreadNow();
    EXPECT_EQ(oCounts.nDeleted, 3);
}

TEST(DetachedThread, WaitThatRunsOutKeepsEveryThreadListed) {
    struct {
        char const* szName;
        unsigned int nTimeout;
        bool bProcessStops;
    } const arRows[] = {
        {"no time", 0, false}, {"time runs out", 1, false}, {"the waiter is stopped", kLNoTimeout, true}};
    LProcessInterfaceVoid oVoid;
    Stopped oStopped;
    for (auto const& oRow : arRows) {
        Counts oCounts;
        LDetachedThreadsOwner oOwner;
        for (int n = 0; n < 3; ++n)
            oOwner.StartThread(Make(oCounts, UntilStopped), 31);
        LProcessInterface& oProcess = oRow.bProcessStops ? static_cast<LProcessInterface&>(oStopped) : oVoid;
        EXPECT_FALSE(oOwner.WaitToStop(oProcess, oRow.nTimeout)) << oRow.szName;
        EXPECT_EQ(oCounts.nDeleted, 0) << oRow.szName;
        oOwner.StopThreadsSoon();
        EXPECT_TRUE(oOwner.WaitToStop(oVoid, kLNoTimeout)) << oRow.szName;
        EXPECT_EQ(oCounts.nDeleted, 3) << oRow.szName;
        EXPECT_TRUE(oOwner.WaitToStop(oVoid, 0)) << oRow.szName << ": an empty list";
    }
}

TEST(DetachedThread, WaitOfOneMillisecondIsAWait) {
    unsigned int nAsked = 0;
    Waiter oWaiter([&](LSignalObjectRef, unsigned int nTimeout) {
        nAsked = nTimeout;
        return eWaitTimeout;
    });
    Counts oCounts;
    LDetachedThreadsOwner oOwner;
    oOwner.StartThread(Make(oCounts, UntilStopped), 31);
    for (int n = 0; n < 10'000 && nAsked == 0; ++n) // the millisecond may pass before it comes to that
        oOwner.WaitToStop(oWaiter, 1);
    EXPECT_EQ(nAsked, 1u);
}

// It looks for itself in the list while the waiter holds it, and ends without being deleted: the list gets it back.
TEST(DetachedThread, OneThatEndsInTheHandsOfAWaiterIsNotLost) {
    Counts oCounts;
    LDetachedThreadsOwner oOwner;
    oOwner.StartThread(Make(oCounts, UntilStopped), 31);
    bool bThrow = false;
    Waiter oWaiter([&](LSignalObjectRef oEnded, unsigned int) {
        oOwner.StopThreadsSoon();
        oEnded.WaitSignal(kLNoTimeout);
        return std::exchange(bThrow, true) ? throw std::runtime_error("wait") : eWaitTimeout;
    });
    EXPECT_FALSE(oOwner.WaitToStop(oWaiter, 1'000'000));
    EXPECT_THROW(oOwner.WaitToStop(oWaiter, 1'000'000), std::runtime_error);
    EXPECT_EQ(oCounts.nDeleted, 0);
    LProcessInterfaceVoid oVoid;
    EXPECT_TRUE(oOwner.WaitToStop(oVoid, kLNoTimeout));
    EXPECT_EQ(oCounts.nDeleted, 1);
}

TEST(DetachedThread, OneInTheHandsOfAWaiterIsWaitedForAndStoppedByOthersToo) {
    Counts oCounts;
    LDetachedThreadsOwner oOwner;
    std::thread oStopper;
    LProcessInterfaceVoid oVoid;
    Waiter oWaiter([&](LSignalObjectRef oEnded, unsigned int nTimeout) {
        EXPECT_FALSE(oOwner.WaitToStop(oVoid, 1)) << "it still runs";
        oStopper = std::thread([&] {
            oOwner.StopThreadsNow();
            EXPECT_EQ(oCounts.nDeleted, 1);
        });
        return oEnded.WaitSignal(nTimeout) ? eWaitSignaled : eWaitTimeout;
    });
    oOwner.StartThread(Make(oCounts, UntilStopped), 31);
    EXPECT_TRUE(oOwner.WaitToStop(oWaiter, kLNoTimeout));
    oStopper.join();
}

// Threads are started from two sides, end by themselves, and are stopped and collected from two other sides.
TEST(DetachedThread, EachIsDeletedOnceWhateverRaces) {
    Counts oCounts;
    std::atomic<bool> bDone{false};
    LDetachedThreadsOwner oOwner;
    LProcessInterfaceVoid oProcess;
    std::vector<std::thread> lStarters, lCollectors;
    for (int nStarter = 0; nStarter < 2; ++nStarter)
        lStarters.emplace_back([&] {
            for (int n = 0; n < 1'000; ++n)
                oOwner.StartThread(Make(oCounts, n % 3 == 0 ? UntilStopped : Detached::Body()), 31);
        });
    lCollectors.emplace_back([&] {
        while (!bDone) {
            oOwner.StopThreadsSoon();
            oOwner.WaitToStop(oProcess, 1);
        }
    });
    lCollectors.emplace_back([&] {
        while (!bDone)
            oOwner.WaitToStop(oProcess, kLNoTimeout);
    });
    lCollectors.emplace_back([&] {
        while (!bDone)
            oOwner.StopThreadsNow();
    });
    for (auto& oThread : lStarters)
        oThread.join();
    bDone = true;
    for (auto& oThread : lCollectors)
        oThread.join();
    oOwner.StopThreadsNow();
    EXPECT_EQ(oCounts.nMade, 2'000);
    EXPECT_EQ(oCounts.nDeleted, 2'000);
}

// The owner may go as soon as its threads have: none of them touches it after that.
TEST(DetachedThread, OwnerGoesRightAfterItsThreads) {
    Counts oCounts;
    for (int n = 0; n < 500; ++n) {
        auto const pOwner = std::make_unique<LDetachedThreadsOwner>(); // freed: a late touch shows
        for (int nThread = 0; nThread < 3; ++nThread)
            pOwner->StartThread(Make(oCounts), 31);
    }
    EXPECT_EQ(oCounts.nDeleted, 1'500);
}
