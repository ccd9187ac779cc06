#include "runtime/threads/detached_thread.h"
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

    using LThread::hThread;
    using LThread::nMachThread;

private:
    std::function<void(Worker&)> oBody;
};

void UntilStopped(Worker& oSelf) {
    oSelf.ProcessWaitUntilStopped();
}

class Doomed : public LDetachedThread {
public:
    explicit Doomed(std::atomic<int>& o) : nDeleted(o) {}
    ~Doomed() override { ++nDeleted; }
    void ThreadProc() override {}

private:
    std::atomic<int>& nDeleted;
};

} // namespace

TEST(Thread, StopRequestLastsFromStopToTheNextStart) {
    std::atomic<int> nRuns{0};
    Worker oWorker([&](Worker& oSelf) {
        ++nRuns;
        oSelf.ProcessWaitUntilStopped();
    });
    EXPECT_FALSE(oWorker.IsToStop() || oWorker.IsRunning());
    for (int n = 0; n < 3; ++n) {
        oWorker.Start(31);
        oWorker.Start(31); // runs already: nothing
        EXPECT_FALSE(oWorker.IsToStop() || oWorker.ProcessWait(1));
        EXPECT_TRUE(oWorker.IsRunning() && !oWorker.GetEnded().IsSignaled());
        oWorker.StopThreadSoon();
        EXPECT_TRUE(oWorker.GetEnded().WaitSignal(kLNoTimeout));
        EXPECT_TRUE(oWorker.IsToStop() && oWorker.ProcessWait(kLNoTimeout));
        EXPECT_FALSE(oWorker.IsRunning());
    }
    EXPECT_EQ(nRuns, 3);
}

TEST(Thread, StopWinsOverASignalAlsoInAFullGroup) {
    struct {
        bool bSignal, bStop;
        LWaitResult nExpected;
    } const arRows[] = {{false, false, eWaitTimeout},
                        {true, false, eWaitSignaled},
                        {false, true, eWaitStopped},
                        {true, true, eWaitStopped}};
    for (auto const& oRow : arRows) {
        Worker oWorker(UntilStopped);
        LSignalObject oSignal;
        if (oRow.bStop)
            oWorker.StopThreadSoon();
        if (oRow.bSignal)
            oSignal.Signal();
        EXPECT_EQ(oWorker.ProcessWaitSignal(oSignal, 0), oRow.nExpected);
        LSignalObjectGroup oGroup;
        for (int n = 0; n < 255; ++n) // which leaves one place for the stop request
            oGroup.Add(oSignal);
        for (int n = 0; n < 2; ++n)
            EXPECT_EQ(oWorker.ProcessWaitSignalObjectGroup(oGroup, 0), oRow.nExpected);
        EXPECT_EQ(oGroup.GetCount(), 256);
    }
}

TEST(Thread, PrioritiesReachTheSystem) {
    Worker oWorker(UntilStopped);
    oWorker.SetPriority(kLRealTimePriority); // no thread: nothing
    oWorker.Start(40);
    auto const oPriority = [&] {
        int nPolicy;
        sched_param oParameters;
        pthread_getschedparam(oWorker.hThread, &nPolicy, &oParameters);
        return nPolicy == SCHED_OTHER ? oParameters.sched_priority : -1;
    };
    boolean_t bDefault;
    auto const oPolicy = [&] {
        thread_time_constraint_policy oFound;
        mach_msg_type_number_t nCount = THREAD_TIME_CONSTRAINT_POLICY_COUNT;
        bDefault = 0;
        thread_policy_get(oWorker.nMachThread, THREAD_TIME_CONSTRAINT_POLICY,
                          reinterpret_cast<thread_policy_t>(&oFound), &nCount, &bDefault);
        return oFound;
    };
    auto const oUsual = oPolicy();
    EXPECT_TRUE(bDefault);
    EXPECT_EQ(oPriority(), 40);
    oWorker.SetPriority(kLRealTimePriority);
    auto const oRealTime = oPolicy();
    EXPECT_FALSE(bDefault);
    EXPECT_EQ(oRealTime.computation, oUsual.computation / 2);
    EXPECT_EQ(oRealTime.constraint, oUsual.constraint / 2);
    EXPECT_EQ(oPriority(), 40);
    oWorker.SetPriority(31);
    EXPECT_EQ(oPriority(), 31);
    oPolicy();
    EXPECT_TRUE(bDefault) << "sharing time ends real time";
}

TEST(Thread, OneThatCantBeMadeCanBeStartedLater) {
    pthread_attr_t oBefore, oHuge;
    pthread_getattr_default_np(&oBefore);
    pthread_attr_init(&oHuge);
    pthread_attr_setstacksize(&oHuge, std::size_t{1} << 47); // room for it there is none
    pthread_setattr_default_np(&oHuge);
    std::atomic<int> nRuns{0}, nDeleted{0};
    Worker oWorker([&](Worker&) { ++nRuns; });
    oWorker.Start(31);
    EXPECT_FALSE(oWorker.IsRunning());
    EXPECT_TRUE(oWorker.GetEnded().WaitSignal(kLNoTimeout)) << "no run to wait for";
    LDetachedThreadsOwner oOwner;
    EXPECT_NE(oOwner.StartThread(std::make_unique<Doomed>(nDeleted), 31), 0);
    EXPECT_EQ(nDeleted, 1);
    pthread_setattr_default_np(&oBefore);
    oWorker.Start(31);
    oWorker.StopThreadNow();
    EXPECT_EQ(nRuns, 1);
}

// Starts, stops and ends from all sides: every run ends, none is waited for in vain, none is missed by the destructor.
TEST(Thread, RestartsWhileOthersStopItAndLeavesNothingBehind) {
    int nRuns = 0, nEnds = 0; // plain: each run's end orders the next
    std::atomic<bool> bDone{false};
    {
        Worker oWorker([&](Worker& oSelf) {
            ++nRuns;
            EXPECT_EQ(oSelf.nMachThread, pthread_mach_thread_np(pthread_self()));
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
        EXPECT_EQ(oWorker.nMachThread, MACH_PORT_DEAD);
        bDone = true;
        for (auto& oStopper : lStoppers)
            oStopper.join();
        oWorker.Start(31);
    }
    EXPECT_EQ(nRuns, 1'001);
    EXPECT_EQ(nEnds, 1'001);
    EXPECT_EQ(PlatformThreadPortReferences(), 0); // descriptors and threads: the harness
}
