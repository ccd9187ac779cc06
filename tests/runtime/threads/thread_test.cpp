#include "runtime/threads/thread.h"

#include "platform/testing/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <pthread.h>
#include <thread>
#include <vector>

namespace {

class Worker : public LThread {
public:
    explicit Worker(std::function<void(Worker&)> oBodyToRun) : oBody(std::move(oBodyToRun)) {}
    ~Worker() override { StopThreadNow(); }
    void ThreadProc() override { oBody(*this); }

    using LThread::nMachThread;

private:
    std::function<void(Worker&)> oBody;
};

void UntilStopped(Worker& oSelf) {
    oSelf.ProcessWaitUntilStopped();
}

// While it lives, no thread can be made: none has room for its stack.
class NoMoreThreads {
public:
    NoMoreThreads() {
        pthread_getattr_default_np(&oBefore);
        pthread_attr_t oHuge;
        pthread_attr_init(&oHuge);
        pthread_attr_setstacksize(&oHuge, std::size_t{1} << 47);
        pthread_setattr_default_np(&oHuge);
    }
    ~NoMoreThreads() { pthread_setattr_default_np(&oBefore); }

private:
    pthread_attr_t oBefore;
};

} // namespace

TEST(Thread, StopRequestLastsFromStopToTheNextStart) {
    Worker oWorker(UntilStopped);
    EXPECT_FALSE(oWorker.IsToStop());
    EXPECT_FALSE(oWorker.IsRunning());
    for (int n = 0; n < 3; ++n) {
        oWorker.Start(31);
        EXPECT_TRUE(oWorker.IsRunning());
        EXPECT_FALSE(oWorker.IsToStop());
        EXPECT_FALSE(oWorker.ProcessWait(1));
        EXPECT_FALSE(oWorker.GetEnded().IsSignaled());
        oWorker.StopThreadSoon();
        EXPECT_TRUE(oWorker.GetEnded().WaitSignal(kLNoTimeout));
        EXPECT_FALSE(oWorker.IsRunning());
        EXPECT_TRUE(oWorker.IsToStop());
        EXPECT_TRUE(oWorker.ProcessWait(kLNoTimeout));
    }
}

TEST(Thread, SecondStartOfARunningThreadIsIgnored) {
    std::atomic<int> nRuns{0};
    Worker oWorker([&](Worker& oSelf) {
        ++nRuns;
        oSelf.ProcessWaitUntilStopped();
    });
    oWorker.Start(31);
    oWorker.Start(31);
    oWorker.StopThreadNow();
    EXPECT_EQ(nRuns, 1);
}

TEST(Thread, StopWinsOverASignalAndFailedWaitsAreTimeouts) {
    LSignalObject oSignal;
    struct {
        bool bSignal, bStop;
        LWaitResult nExpected;
    } const arRows[] = {{false, false, eWaitTimeout},
                        {true, false, eWaitSignaled},
                        {false, true, eWaitStopped},
                        {true, true, eWaitStopped}};
    for (auto const& oRow : arRows) {
        Worker oWorker(UntilStopped);
        if (oRow.bStop)
            oWorker.StopThreadSoon();
        if (oRow.bSignal)
            oSignal.Signal();
        LSignalObjectGroup oGroup;
        oGroup.Add(oSignal);
        EXPECT_EQ(oWorker.ProcessWaitSignal(oSignal, 0), oRow.nExpected);
        EXPECT_EQ(oWorker.ProcessWaitSignalObjectGroup(oGroup, 0), oRow.nExpected);
        if (oRow.nExpected != eWaitTimeout) {
            EXPECT_EQ(oWorker.ProcessWaitSignalForever(oSignal), oRow.nExpected);
            EXPECT_EQ(oWorker.ProcessWaitSignalObjectGroupForever(oGroup), oRow.nExpected);
        }
        oSignal.Reset();
    }
}

TEST(Thread, GroupOf255KeepsOnePlaceForTheStopRequest) {
    LSignalObject oSignal;
    LSignalObjectGroup oGroup;
    for (int n = 0; n < 255; ++n)
        oGroup.Add(oSignal);
    Worker oWorker(UntilStopped);
    for (int n = 0; n < 3; ++n)
        EXPECT_EQ(oWorker.ProcessWaitSignalObjectGroup(oGroup, 0), eWaitTimeout);
    EXPECT_EQ(oGroup.GetCount(), 256);
    oSignal.Signal();
    EXPECT_EQ(oWorker.ProcessWaitSignalObjectGroup(oGroup, 0), eWaitSignaled);
    oWorker.StopThreadSoon();
    EXPECT_EQ(oWorker.ProcessWaitSignalObjectGroup(oGroup, 0), eWaitStopped);
}

TEST(Thread, PrioritiesReachTheSystem) {
    struct Seen {
        int nPriority, nPolicy;
        boolean_t bDefault;
        thread_time_constraint_policy oPolicy;
    } oSeen;
    LSignalObject oLook, oLooked;
    Worker oWorker([&](Worker& oSelf) {
        while (oSelf.ProcessWaitSignalForever(oLook) == eWaitSignaled) {
            oLook.Reset();
            sched_param oParameters;
            pthread_getschedparam(pthread_self(), &oSeen.nPolicy, &oParameters);
            oSeen.nPriority = oParameters.sched_priority;
            mach_msg_type_number_t nCount = THREAD_TIME_CONSTRAINT_POLICY_COUNT;
            oSeen.bDefault = 0;
            thread_policy_get(pthread_mach_thread_np(pthread_self()), THREAD_TIME_CONSTRAINT_POLICY,
                              reinterpret_cast<thread_policy_t>(&oSeen.oPolicy), &nCount, &oSeen.bDefault);
            oLooked.Signal();
        }
    });
    auto const oLookNow = [&] {
        oLook.Signal();
        oLooked.WaitSignal(kLNoTimeout);
        oLooked.Reset();
        return oSeen;
    };
    oWorker.SetPriority(kLRealTimePriority); // no thread: nothing
    oWorker.Start(40);
    Seen const oBegin = oLookNow();
    EXPECT_EQ(oBegin.nPolicy, SCHED_OTHER);
    EXPECT_EQ(oBegin.nPriority, 40);
    EXPECT_TRUE(oBegin.bDefault);
    oWorker.SetPriority(kLRealTimePriority);
    Seen const oRealTime = oLookNow();
    EXPECT_FALSE(oRealTime.bDefault);
    EXPECT_EQ(oRealTime.oPolicy.computation, oBegin.oPolicy.computation / 2);
    EXPECT_EQ(oRealTime.oPolicy.constraint, oBegin.oPolicy.constraint / 2);
    EXPECT_EQ(oRealTime.nPriority, 40);
    oWorker.SetPriority(31);
    EXPECT_EQ(oLookNow().nPriority, 31);
    EXPECT_TRUE(oSeen.bDefault) << "sharing time ends real time";
    oWorker.SetPriority(-1); // refused by the system
    EXPECT_EQ(oLookNow().nPriority, 31);
}

TEST(Thread, PortIsHeldWhileItRuns) {
    Worker oWorker([](Worker& oSelf) { EXPECT_EQ(oSelf.nMachThread, pthread_mach_thread_np(pthread_self())); });
    EXPECT_EQ(oWorker.nMachThread, 0xFFFFFFFF);
    for (int n = 0; n < 3; ++n) {
        oWorker.Start(31);
        oWorker.StopThreadNow();
        EXPECT_EQ(oWorker.nMachThread, 0xFFFFFFFF);
    }
    EXPECT_EQ(PlatformThreadPortReferences(), 0);
}

TEST(Thread, OneThatCantBeMadeCanBeStartedLater) {
    std::atomic<int> nRuns{0};
    Worker oWorker([&](Worker&) { ++nRuns; });
    {
        NoMoreThreads const oNone;
        oWorker.Start(31);
        EXPECT_FALSE(oWorker.IsRunning());
        EXPECT_TRUE(oWorker.GetEnded().WaitSignal(kLNoTimeout)) << "no run to wait for";
        oWorker.StopThreadNow();
    }
    oWorker.Start(31);
    oWorker.StopThreadNow();
    EXPECT_EQ(nRuns, 1);
}

// Starts, stops and ends from all sides: every run ends, none is waited for in vain, none is missed by the destructor.
TEST(Thread, RestartsWhileOthersStopIt) {
    std::atomic<int> nRuns{0}, nEnds{0};
    std::atomic<bool> bDone{false};
    {
        Worker oWorker([&](Worker& oSelf) {
            ++nRuns;
            oSelf.ProcessWaitUntilStopped();
            ++nEnds;
        });
        std::vector<std::thread> lStoppers;
        for (int n = 0; n < 2; ++n)
            lStoppers.emplace_back([&] {
                while (!bDone)
                    oWorker.StopThreadSoon();
            });
        for (int n = 0; n < 1'000; ++n) {
            oWorker.Start(31);
            oWorker.GetEnded().WaitSignal(kLNoTimeout);
        }
        bDone = true;
        for (auto& oStopper : lStoppers)
            oStopper.join();
        oWorker.Start(31);
    }
    EXPECT_EQ(nEnds, nRuns);
    EXPECT_GE(nRuns, 1'000);
}

TEST(Thread, TenThousandRunsLeaveNothingBehind) {
    int nRuns = 0; // plain: each run's end orders the next
    Worker oWorker([&](Worker&) { ++nRuns; });
    for (int n = 0; n < 10'000; ++n) {
        oWorker.Start(31);
        oWorker.GetEnded().WaitSignal(kLNoTimeout);
    }
    oWorker.StopThreadNow();
    EXPECT_EQ(nRuns, 10'000);
    EXPECT_EQ(PlatformThreadPortReferences(), 0); // descriptors and threads: the harness
}
