#include "runtime/notify/thread_queued_notify.h"

#include "platform/testing/foundation.h"
#include "tests/harness/main_loop.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <pthread.h>
#include <thread>

namespace {

class Notify : public LThreadQueuedNotify {
public:
    ~Notify() override { ThreadQueuedNotifyDestroy(); }
    void EvQueuedNotify() override {
        EXPECT_NE(pthread_main_np(), 0);
        ++nCalls;
        if (oThen)
            oThen();
    }

    int nCalls = 0;
    std::function<void()> oThen;
};

} // namespace

TEST(ThreadQueuedNotify, CallsAtOnceOnTheMainThreadAndLaterFromOthers) {
    {
        Notify oNotify;
        oNotify.PostQueueNotify();
        EXPECT_EQ(oNotify.nCalls, 1);
        std::thread([&] {
            oNotify.PostQueueNotify();
            oNotify.PostQueueNotify();
        }).join();
        EXPECT_EQ(oNotify.nCalls, 1);
        RunMainLoopDry();
        EXPECT_EQ(oNotify.nCalls, 3);
    }
    RunMainLoopDry();
    EXPECT_EQ(PlatformCountLiveNSObjects(), 0);
}

TEST(ThreadQueuedNotify, DestroyedOneIsNotCalledAnyMore) {
    auto pNotify = std::make_unique<Notify>();
    std::thread([&] { pNotify->PostQueueNotify(); }).join();
    pNotify->ThreadQueuedNotifyDestroy();
    pNotify->ThreadQueuedNotifyDestroy();
    pNotify->PostQueueNotify();
    std::thread([&] { pNotify->PostQueueNotify(); }).join();
    RunMainLoopDry();
    EXPECT_EQ(pNotify->nCalls, 0);

    pNotify = std::make_unique<Notify>();
    pNotify->oThen = [&] { pNotify.reset(); };
    pNotify->PostQueueNotify(); // deleted in its own call
    EXPECT_EQ(pNotify, nullptr);
    RunMainLoopDry();
    EXPECT_EQ(PlatformCountLiveNSObjects(), 0);
}
