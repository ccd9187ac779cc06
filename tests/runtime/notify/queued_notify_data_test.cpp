#include "runtime/notify/queued_notify_data.h"

#include "platform/testing/foundation.h"
#include "tests/harness/main_loop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <pthread.h>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Delivery {
    unsigned int nCode;
    bool bBuffer;
    std::string szBytes;
    unsigned long nLength;

    bool operator==(Delivery const&) const = default;
};

class Handler : public LQueuedNotifyDataHandler {
public:
    ~Handler() { QueuedNotifyDataHandlerDestroy(); }

    void EvQueuedNotifyData(unsigned int nCode, void const* pData, unsigned long nLength) override {
        EXPECT_NE(pthread_main_np(), 0);
        lDeliveries.push_back({nCode, pData != nullptr,
                               pData ? std::string(static_cast<char const*>(pData), nLength) : std::string(), nLength});
        if (oThen)
            oThen();
    }

    LQueuedNotifyDataSender oSender{this};
    std::vector<Delivery> lDeliveries;
    std::function<void()> oThen;
};

class QueuedNotifyData : public testing::Test {
protected:
    void TearDown() override {
        RunMainLoopDry();
        EXPECT_EQ(PlatformCountLiveNSObjects(), 0);
    }
};

} // namespace

TEST_F(QueuedNotifyData, DeliversCodesNumbersAndCopiesLaterAndInOrder) {
    Handler oHandler;
    char arBytes[4] = "abc";
    oHandler.oSender.NotifyData();
    oHandler.oSender.NotifyData(5);
    oHandler.oSender.NotifyData(9, 12345);
    oHandler.oSender.NotifyData(7, arBytes, sizeof arBytes);
    oHandler.oSender.NotifyData(8, arBytes, 0);
    std::memset(arBytes, 'x', sizeof arBytes);
    EXPECT_TRUE(oHandler.lDeliveries.empty()) << "delivered within the post";
    RunMainLoopDry();
    std::vector<Delivery> const lExpected = {{0, false, "", 0},
                                             {5, false, "", 0},
                                             {9, false, "", 12345},
                                             {7, true, std::string("abc\0", 4), 4},
                                             {8, true, "", 0}};
    EXPECT_EQ(oHandler.lDeliveries, lExpected);
}

TEST_F(QueuedNotifyData, DestroyedHandlerIsNotCalledForWhatWasPostedBefore) {
    {
        Handler oHandler;
        oHandler.oSender.NotifyData(1);
        oHandler.QueuedNotifyDataHandlerDestroy();
        oHandler.QueuedNotifyDataHandlerDestroy();
        oHandler.oSender.NotifyData(1);
        LQueuedNotifyDataSender().NotifyData(1);
        RunMainLoopDry();
        EXPECT_TRUE(oHandler.lDeliveries.empty());
    }
    // Half-way: through the main queue already, waiting in the run loop.
    auto pHandler = std::make_unique<Handler>();
    pHandler->oThen = [&] { pHandler.reset(); };
    for (unsigned int n = 0; n < 3; ++n)
        pHandler->oSender.NotifyData(n);
    RunMainLoopDry(); // destroyed in its own first call
    EXPECT_EQ(pHandler, nullptr);
}

TEST_F(QueuedNotifyData, DeliversWhatADestructorOfAnEndedThreadPosted) {
    Handler oHandler;
    struct PostsAtItsEnd {
        ~PostsAtItsEnd() {
            for (unsigned int n = 1; n < 4; ++n)
                pTo->oSender.NotifyData(n, "text", 5);
        }
        Handler* pTo = nullptr;
    };
    std::thread([&] {
        thread_local PostsAtItsEnd oEnd; // made before what the first post makes, and so destroyed after it
        oEnd.pTo = &oHandler;
        oHandler.oSender.NotifyData(0, "text", 5);
    }).join();
    RunMainLoopDry();
    EXPECT_EQ(oHandler.lDeliveries.size(), 4u);
}

TEST_F(QueuedNotifyData, KeepsTheOrderOfEachOfManyThreads) {
    constexpr unsigned int kThreads = 4, kPosts = 2'000;
    Handler oHandler;
    std::vector<std::thread> lThreads;
    for (unsigned int nThread = 0; nThread < kThreads; ++nThread)
        lThreads.emplace_back([&, nThread] {
            for (long n = 0; n < kPosts; ++n)
                oHandler.oSender.NotifyData(nThread, n);
        });
    EXPECT_TRUE(RunMainLoopUntil([&] { return oHandler.lDeliveries.size() == kThreads * kPosts; }));
    for (auto& oThread : lThreads)
        oThread.join();
    unsigned long arNext[kThreads] = {};
    for (auto const& oDelivery : oHandler.lDeliveries)
        ASSERT_EQ(oDelivery.nLength, arNext[oDelivery.nCode]++);
}

// Handlers come and go on a worker while another posts to them and the main thread delivers.
TEST_F(QueuedNotifyData, HandlersAreDestroyedWhileTheyArePostedTo) {
    std::atomic<Handler*> pNow{nullptr};
    std::atomic<bool> bPosting{false}, bDone{false};
    std::thread oPoster([&] {
        while (!bDone) {
            bPosting = true;
            if (Handler* const pHandler = pNow)
                pHandler->oSender.NotifyData(1, "text", 5);
            bPosting = false;
            std::this_thread::yield();
        }
    });
    std::thread oOwner([&] {
        for (int n = 0; n < 300; ++n) {
            Handler oHandler;
            std::atomic<bool> bInCall{false}, bCalled{false};
            oHandler.oThen = [&] {
                bInCall = bCalled = true;
                for (int nYield = 0; nYield < 5; ++nYield)
                    std::this_thread::yield();
                bInCall = false;
            };
            pNow = &oHandler;
            for (int nPost = 0; nPost < 5; ++nPost)
                oHandler.oSender.NotifyData(2, nPost);
            while (n % 2 == 0 && !bCalled) // every other one goes in the midst of its calls
                std::this_thread::yield();
            oHandler.QueuedNotifyDataHandlerDestroy();
            EXPECT_FALSE(bInCall);
            pNow = nullptr;
            while (bPosting) // destroyed is enough for a poster, deleted is not
                std::this_thread::yield();
        }
        bDone = true;
    });
    EXPECT_TRUE(RunMainLoopUntil([&] { return bDone.load(); }));
    oOwner.join();
    oPoster.join();
}
