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

TEST(ThreadQueuedNotify, CallsAtOnceOnTheMainThreadLaterFromOthersAndNeverOnceDestroyed) {
    auto pNotify = std::make_unique<Notify>();
    auto const oPostFromAnother = [&] { std::thread([&] { pNotify->PostQueueNotify(); }).join(); };
    pNotify->PostQueueNotify();
    EXPECT_EQ(pNotify->nCalls, 1);
    oPostFromAnother();
    oPostFromAnother();
    EXPECT_EQ(pNotify->nCalls, 1);
    RunMainLoopDry();
    EXPECT_EQ(pNotify->nCalls, 3);

    oPostFromAnother(); // and does not arrive
    pNotify->ThreadQueuedNotifyDestroy();
    pNotify->ThreadQueuedNotifyDestroy();
    pNotify->PostQueueNotify();
    oPostFromAnother();
    RunMainLoopDry();
    EXPECT_EQ(pNotify->nCalls, 3);

    pNotify = std::make_unique<Notify>();
    pNotify->oThen = [&] { pNotify.reset(); };
    pNotify->PostQueueNotify(); // deleted in its own call
    EXPECT_EQ(pNotify, nullptr);
    RunMainLoopDry();
    EXPECT_EQ(PlatformCountLiveNSObjects(), 0);
}
