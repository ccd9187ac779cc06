#include "platform/testing/foundation.h"
#include "tests/harness/main_loop.h"

#include <CoreFoundation/CFRunLoop.h>
#include <Foundation/NSAutoreleasePool.h>
#include <Foundation/NSData.h>
#include <Foundation/NSObject.h>
#include <dispatch/dispatch.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <pthread.h>
#include <thread>
#include <vector>

namespace {

// Runs a function when its method is performed.
class Performer : public NSObject {
public:
    explicit Performer(std::function<void(NSObject*)> oToRun) : oRun(std::move(oToRun)) {}
    void Perform(NSObject* pWith) { oRun(pWith); }

private:
    std::function<void(NSObject*)> oRun;
};
NSSelector const kPerform = static_cast<NSSelector>(&Performer::Perform);

} // namespace

TEST(RunLoop, ServesBlocksAndPerformedMethodsInOrder) {
    std::vector<int> lSeen;
    auto* const pFirst = new Performer([&](NSObject*) { lSeen.push_back(2); });
    auto* const pSecond = new Performer([&](NSObject* pWith) {
        EXPECT_EQ(pWith, pFirst);
        lSeen.push_back(3);
    });
    pFirst->performSelectorOnMainThread(kPerform, nullptr, false);
    pSecond->performSelectorOnMainThread(kPerform, pFirst, false);
    pFirst->release(); // retained until they have been performed
    pSecond->release();
    dispatch_async(dispatch_get_main_queue(), [&] {
        dispatch_async(dispatch_get_main_queue(), [&] { lSeen.push_back(1); });
        RunMainLoopDry(); // a run within the other, which passes nobody over
    });
    dispatch_async(dispatch_get_main_queue(), [&] { lSeen.push_back(0); });
    EXPECT_TRUE(lSeen.empty());
    RunMainLoopDry();
    EXPECT_EQ(lSeen, (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(PlatformCountLiveNSObjects(), 0);
}

TEST(RunLoop, WaitingCallReturnsWhenTheMethodHasRun) {
    std::atomic<bool> bPerformed{false}, bReturned{false};
    auto* const pPerformer = new Performer([&](NSObject*) {
        EXPECT_NE(pthread_main_np(), 0);
        bPerformed = true;
    });
    std::thread oCaller([&] {
        pPerformer->performSelectorOnMainThread(kPerform, nullptr, true);
        EXPECT_TRUE(bPerformed);
        bReturned = true;
    });
    EXPECT_TRUE(RunMainLoopUntil([&] { return bReturned.load(); }));
    oCaller.join();
    bPerformed = false;
    pPerformer->performSelectorOnMainThread(kPerform, nullptr, true);
    EXPECT_TRUE(bPerformed) << "on the main thread it is called at once";
    pPerformer->release();
}

TEST(RunLoop, EndsByTimeBySomethingServedByAStopAndAtOnceElsewhere) {
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, true), kCFRunLoopRunTimedOut);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.002, false), kCFRunLoopRunTimedOut);
    dispatch_async(dispatch_get_main_queue(), [] {});
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1e10, true), kCFRunLoopRunHandledSource);
    CFRunLoopStop(CFRunLoopGetMain()); // nothing runs: lost
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false), kCFRunLoopRunTimedOut);
    std::vector<int> lEnds;
    dispatch_async(dispatch_get_main_queue(), [&] {
        dispatch_async(dispatch_get_main_queue(), [] { CFRunLoopStop(CFRunLoopGetMain()); });
        lEnds.push_back(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1e10, false)); // the inner run
        std::thread([] { CFRunLoopStop(CFRunLoopGetMain()); }).join();
    });
    CFRunLoopRun();
    EXPECT_EQ(lEnds, (std::vector<int>{kCFRunLoopRunStopped}));
    std::thread([] {
        EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1e10, false), kCFRunLoopRunFinished);
    }).join();
}

TEST(AutoreleasePool, InnermostGivesItsReferencesBackAtItsEnd) {
    std::thread([] { // the thread's own end is the outermost pool
        NSData::dataWithBytes("a", 1);
        {
            NSAutoreleasePool const oOuter;
            NSData::dataWithBytes("b", 1);
            NSData* pKept;
            {
                NSAutoreleasePool const oInner;
                pKept = NSData::dataWithBytes("cd", 2);
                pKept->retain();
                EXPECT_EQ(pKept->retainCount(), 2u);
            }
            EXPECT_EQ(pKept->retainCount(), 1u);
            EXPECT_EQ(pKept->length(), 2u);
            pKept->release();
            EXPECT_EQ(PlatformCountLiveNSObjects(), 2);
        }
        EXPECT_EQ(PlatformCountLiveNSObjects(), 1);
    })
        .join();
    EXPECT_EQ(PlatformCountLiveNSObjects(), 0);
}
