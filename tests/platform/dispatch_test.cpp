#include "platform/dispatch/main_queue.h"
#include "platform/host/clock.h"
#include "platform/testing/clock.h"
#include "platform/testing/quiesce.h"
#include "tests/harness/leak_check.h"
#include "tests/platform/waiting.h"

#include <dispatch/dispatch.h>
#include <gtest/gtest.h>
#include <mach/mach_time.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <thread>

namespace {

dispatch_queue_t Global() {
    return dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0);
}

struct DispatchClock : testing::Test {
    ~DispatchClock() override { TestClockReset(); }
};

} // namespace

TEST(Dispatch, SerialQueueRunsOneAtATimeInOrderAndOutlivesItsLastReference) {
    constexpr int kBlocks = 5000;
    Log<int> oOrder;
    std::atomic<int> nRunning{0};
    dispatch_queue_t const pQueue = dispatch_queue_create("order", DISPATCH_QUEUE_SERIAL);
    EXPECT_STREQ("order", dispatch_queue_get_label(pQueue));
    for (int n = 0; n < kBlocks; ++n)
        dispatch_async(pQueue, [&, n] {
            EXPECT_EQ(1, ++nRunning);
            oOrder.Add(n);
            --nRunning;
        });
    dispatch_release(pQueue);
    auto const lOrder = oOrder.WaitFor(kBlocks);
    ASSERT_EQ(size_t{kBlocks}, lOrder.size());
    EXPECT_TRUE(std::is_sorted(lOrder.begin(), lOrder.end()));
    PlatformQuiesce(); // the queue itself goes only now: the leak check would find it
}

TEST(Dispatch, SyncWaitsItsTurnAndRunsOnTheCallerWhenTheQueueIsFree) {
    dispatch_queue_t const pQueue = dispatch_queue_create(nullptr, nullptr);
    std::thread::id idRanOn;
    dispatch_sync(pQueue, [&] { idRanOn = std::this_thread::get_id(); });
    EXPECT_EQ(std::this_thread::get_id(), idRanOn);

    Words lOrder; // guarded by the queue
    dispatch_semaphore_t const pGo = dispatch_semaphore_create(0);
    dispatch_async(pQueue, [&] {
        dispatch_semaphore_wait(pGo, DISPATCH_TIME_FOREVER);
        lOrder.push_back("first");
    });
    std::thread oOther([&] { dispatch_semaphore_signal(pGo); });
    dispatch_sync(pQueue, [&] { lOrder.push_back("second"); });
    EXPECT_EQ((Words{"first", "second"}), lOrder);
    oOther.join();
    dispatch_release(pGo);
    dispatch_release(pQueue);
}

TEST(Dispatch, ManySyncersAndAsyncersShareASerialQueue) {
    dispatch_queue_t const pQueue = dispatch_queue_create(nullptr, nullptr);
    int nCount = 0; // guarded by the queue
    std::vector<std::thread> lThreads;
    for (int n = 0; n < 4; ++n)
        lThreads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                dispatch_sync(pQueue, [&] { ++nCount; });
                dispatch_async(pQueue, [&] { ++nCount; });
            }
        });
    for (auto& oThread : lThreads)
        oThread.join();
    dispatch_sync(pQueue, [&] { EXPECT_EQ(4000, nCount); });
    dispatch_release(pQueue);
}

TEST(Dispatch, GroupTellsOnlyWhenTheLastHasLeftAndItsBlockIsGone) {
    dispatch_group_t const pGroup = dispatch_group_create();
    EXPECT_EQ(0, dispatch_group_wait(pGroup, DISPATCH_TIME_NOW));
    dispatch_group_enter(pGroup);
    auto pCaptured = std::make_shared<int>(0);
    std::weak_ptr<int> const pWatched = pCaptured;
    dispatch_group_async(pGroup, Global(), [pCaptured = std::move(pCaptured)] {});
    WordLog oLog;
    dispatch_group_notify(pGroup, Global(), [&] { oLog.Add(pWatched.expired() ? "gone" : "still there"); });
    EXPECT_NE(0, dispatch_group_wait(pGroup, dispatch_time(DISPATCH_TIME_NOW, 1000000)));
    dispatch_group_leave(pGroup);
    EXPECT_EQ(0, dispatch_group_wait(pGroup, DISPATCH_TIME_FOREVER));
    dispatch_release(pGroup);
    EXPECT_EQ(Words{"gone"}, oLog.WaitFor(1));
}

TEST(Dispatch, ABlockObjectEndsWhenItsBlockIsGoneAndACancelledOneAtOnce) {
    EXPECT_TRUE(!dispatch_block_create(1, [] {}) && !dispatch_block_create(0, nullptr));
    for (bool bCancelFirst : {true, false}) {
        auto pCaptured = std::make_shared<std::atomic<int>>(0);
        std::atomic<int>& nRuns = *pCaptured;
        std::weak_ptr<void> const pWatched = pCaptured;
        auto const pKept = bCancelFirst ? nullptr : pCaptured;
        dispatch_semaphore_t const pBegun = dispatch_semaphore_create(0), pGo = dispatch_semaphore_create(0);
        dispatch_block_t const oBlock = dispatch_block_create(0, [pBegun, pGo, pCaptured = std::move(pCaptured)] {
            ++*pCaptured;
            dispatch_semaphore_signal(pBegun);
            dispatch_semaphore_wait(pGo, DISPATCH_TIME_FOREVER);
        });
        EXPECT_NE(0, dispatch_block_wait(oBlock, DISPATCH_TIME_NOW));
        if (!bCancelFirst) {
            dispatch_async(Global(), oBlock);
            dispatch_semaphore_wait(pBegun, DISPATCH_TIME_FOREVER);
        }
        EXPECT_EQ(0, dispatch_block_testcancel(oBlock));
        dispatch_block_cancel(oBlock);
        EXPECT_NE(0, dispatch_block_testcancel(oBlock));
        EXPECT_EQ(bCancelFirst, dispatch_block_wait(oBlock, DISPATCH_TIME_NOW) == 0);
        EXPECT_EQ(bCancelFirst, pWatched.expired());
        dispatch_semaphore_signal(pGo);
        if (!bCancelFirst) {
            EXPECT_EQ(0, dispatch_block_wait(oBlock, DISPATCH_TIME_FOREVER));
            EXPECT_EQ(1, pWatched.use_count()) << "only the test's own";
        }
        dispatch_sync(Global(), oBlock); // a second time: nothing
        EXPECT_TRUE(bCancelFirst || nRuns == 1);
        dispatch_release(pBegun);
        dispatch_release(pGo);
    }
}

TEST(Dispatch, SemaphoreCountsAndTimesOut) {
    dispatch_semaphore_t const pSemaphore = dispatch_semaphore_create(1);
    EXPECT_EQ(nullptr, dispatch_semaphore_create(-1));
    EXPECT_EQ(0, dispatch_semaphore_wait(pSemaphore, DISPATCH_TIME_NOW));
    EXPECT_NE(0, dispatch_semaphore_wait(pSemaphore, DISPATCH_TIME_NOW));
    EXPECT_EQ(0, dispatch_semaphore_signal(pSemaphore)) << "nobody waited";
    EXPECT_EQ(0, dispatch_semaphore_wait(pSemaphore, DISPATCH_TIME_FOREVER));
    dispatch_release(pSemaphore);
}

TEST(Dispatch, MainQueueRunsOnTheThreadThatDrainsIt) {
    std::thread::id idRanOn;
    std::thread oOther(
        [&] { dispatch_sync(dispatch_get_main_queue(), [&] { idRanOn = std::this_thread::get_id(); }); });
    EXPECT_TRUE(platform::MainQueueWait(std::nullopt));
    EXPECT_TRUE(platform::MainQueueDrain());
    oOther.join();
    EXPECT_EQ(std::this_thread::get_id(), idRanOn);
    platform::MainQueueWake();
    EXPECT_FALSE(platform::MainQueueWait(std::nullopt));
}

TEST(Dispatch, QuiesceEndsThePoolsThreads) {
    auto const nBefore = ProcessCounts::Now().nThreads;
    dispatch_semaphore_t const pGo = dispatch_semaphore_create(0);
    for (int n = 0; n < 10; ++n)
        dispatch_async(Global(), [pGo] { dispatch_semaphore_wait(pGo, DISPATCH_TIME_FOREVER); });
    EXPECT_GE(ProcessCounts::Now().nThreads, nBefore + 10) << "ten blocked blocks need ten threads";
    for (int n = 0; n < 10; ++n)
        dispatch_semaphore_signal(pGo);
    PlatformQuiesce();
    dispatch_release(pGo);
}

TEST_F(DispatchClock, TimedBlocksComeInOrderOfTheirInstantsAndFollowTheClock) {
    TestClockHold(1000);
    WordLog oLog;
    dispatch_queue_t const pQueue = dispatch_queue_create(nullptr, nullptr);
    struct {
        char const* szName;
        int64_t nDelta;
    } const lTimers[] = {{"late", 2000000000}, {"soon", 500}, {"also soon", 500}, {"past", -500}, {"now", 0}};
    for (auto const& oTimer : lTimers)
        dispatch_after(dispatch_time(DISPATCH_TIME_NOW, oTimer.nDelta), pQueue,
                       [&oLog, &oTimer] { oLog.Add(oTimer.szName); });
    EXPECT_EQ(2u, oLog.WaitFor(2).size());
    TestClockAdvance(500);
    EXPECT_EQ(4u, oLog.WaitFor(4).size());
    TestClockAdvance(1999999500);
    auto const lOrder = oLog.WaitFor(5);
    EXPECT_EQ((Words{"soon", "also soon", "late"}), Words(lOrder.begin() + 2, lOrder.end()));
    dispatch_release(pQueue);
}

TEST_F(DispatchClock, TimeArithmeticStopsAtTheEndsAndUsesTheTimebase) {
    TestClockHold(1000);
    TestClockSetTimebase(125, 3);
    struct {
        dispatch_time_t nWhen;
        int64_t nDelta;
        dispatch_time_t nExpected;
    } const lCases[] = {
        {DISPATCH_TIME_NOW, 125000, 4000},
        {2000, -125000, 1},
        {5000, -41667, 4000},
        {DISPATCH_TIME_FOREVER, -1, DISPATCH_TIME_FOREVER},
        {DISPATCH_TIME_FOREVER - 10, INT64_MAX, DISPATCH_TIME_FOREVER},
        {DISPATCH_TIME_NOW, INT64_MIN, 1},
    };
    for (auto const& oCase : lCases)
        EXPECT_EQ(oCase.nExpected, dispatch_time(oCase.nWhen, oCase.nDelta)) << oCase.nWhen << " " << oCase.nDelta;
}

TEST_F(DispatchClock, SpeedChangesNeitherJumpNorGoBack) {
    for (double fBad : {0.0, -1.0, HUGE_VAL, std::nan("")})
        EXPECT_FALSE(HostClockSetSpeed(fBad)) << fBad;
    uint64_t nLast = mach_absolute_time();
    for (double fSpeed : {100.0, 0.01, 1e6, 1.0}) {
        EXPECT_TRUE(HostClockSetSpeed(fSpeed));
        for (int n = 0; n < 1000; ++n) {
            uint64_t const nNow = mach_absolute_time();
            ASSERT_GE(nNow, nLast);
            nLast = nNow;
        }
    }
    HostClockSetSpeed(1e6); // an hour in four thousandths of a second
    uint64_t const nDeadline = mach_absolute_time() + 3600 * NSEC_PER_SEC;
    EXPECT_EQ(KERN_SUCCESS, mach_wait_until(nDeadline));
    EXPECT_GE(mach_absolute_time(), nDeadline);
}

TEST_F(DispatchClock, WaitersFollowAHeldClock) {
    TestClockHold(10);
    std::thread oWaiter([] { mach_wait_until(20); });
    TestClockAdvance(9);
    TestClockAdvance(1);
    oWaiter.join();
    EXPECT_EQ(20u, mach_absolute_time());
    TestClockSetTimebase(125, 3);
    EXPECT_EQ(20u, mach_absolute_time());
    mach_timebase_info_data_t oInfo{};
    EXPECT_EQ(KERN_SUCCESS, mach_timebase_info(&oInfo));
    EXPECT_EQ(125u, oInfo.numer);
    EXPECT_EQ(3u, oInfo.denom);
    EXPECT_EQ(KERN_INVALID_ARGUMENT, mach_timebase_info(nullptr));
}
