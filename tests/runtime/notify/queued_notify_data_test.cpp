#include "runtime/notify/queued_notify_data.h"

#include "platform/testing/foundation.h"
#include "runtime/notify/notify_data_object.h"
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

std::ostream& operator<<(std::ostream& oStream, Delivery const& o) {
    return oStream << o.nCode << (o.bBuffer ? " bytes " + o.szBytes : std::string(" number")) << ' ' << o.nLength;
}

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

TEST_F(QueuedNotifyData, WithoutAHandlerNothingIsPosted) {
    LQueuedNotifyDataSender oSender;
    oSender.NotifyData(1);
    Handler oHandler;
    oHandler.QueuedNotifyDataHandlerDestroy();
    oHandler.QueuedNotifyDataHandlerDestroy();
    oHandler.oSender.NotifyData(1);
    RunMainLoopDry();
    EXPECT_TRUE(oHandler.lDeliveries.empty());
}

TEST_F(QueuedNotifyData, DestroyedHandlerIsNotCalledForWhatWasPostedBefore) {
    {
        Handler oHandler;
        oHandler.oSender.NotifyData(1);
        oHandler.QueuedNotifyDataHandlerDestroy();
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

// Handlers come and go on a worker while two others post to them and the main thread delivers.
TEST_F(QueuedNotifyData, HandlersAreDestroyedWhileTheyArePostedTo) {
    constexpr int kRounds = 300;
    std::atomic<Handler*> pNow{nullptr};
    std::atomic<int> nPosting{0}, nDestroyed{0};
    std::atomic<bool> bDone{false};
    std::vector<std::thread> lPosters;
    for (int n = 0; n < 2; ++n)
        lPosters.emplace_back([&] {
            while (!bDone) {
                ++nPosting;
                if (Handler* const pHandler = pNow)
                    pHandler->oSender.NotifyData(1, "text", 5);
                --nPosting;
                std::this_thread::yield();
            }
        });
    std::thread oOwner([&] {
        for (int n = 0; n < kRounds; ++n) {
            auto pHandler = std::make_unique<Handler>();
            std::atomic<bool> bInCall{false}, bCalled{false};
            pHandler->oThen = [&] {
                bInCall = bCalled = true;
                for (int nYield = 0; nYield < 5; ++nYield)
                    std::this_thread::yield();
                bInCall = false;
            };
            pNow = pHandler.get();
            for (int nPost = 0; nPost < 5; ++nPost)
                pHandler->oSender.NotifyData(2, nPost);
            while (n % 2 == 0 && !bCalled) // every other one goes in the midst of its calls
                std::this_thread::yield();
            pHandler->QueuedNotifyDataHandlerDestroy();
            EXPECT_FALSE(bInCall);
            pNow = nullptr;
            while (nPosting != 0) // destroyed is enough for posters, deleted is not
                std::this_thread::yield();
            pHandler.reset();
            ++nDestroyed;
        }
        bDone = true;
    });
    EXPECT_TRUE(RunMainLoopUntil([&] { return bDone.load(); }));
    oOwner.join();
    for (auto& oPoster : lPosters)
        oPoster.join();
    EXPECT_EQ(nDestroyed, kRounds);
}

TEST_F(QueuedNotifyData, DrainingDispatcherDropsUntilWhatCameBeforeIsThrough) {
    class Receiver : public NSObject {
    public:
        void Receive(NSObject*) { ++nReceived; }
        int nReceived = 0;
    };
    auto* const pReceiver = new Receiver;
    auto* const pDispatcher = LNotifyMessageDispatcher::alloc()->init();
    auto const pSelector = static_cast<NSSelector>(&Receiver::Receive);
    pDispatcher->setReceiver(pReceiver);
    pDispatcher->dispatchData(nullptr, pSelector);
    pDispatcher->drainMessages();
    pDispatcher->dispatchData(nullptr, pSelector); // dropped
    RunMainLoopDry();
    EXPECT_EQ(pReceiver->nReceived, 1);
    pDispatcher->dispatchData(nullptr, pSelector); // what came before is through: open again
    RunMainLoopDry();
    EXPECT_EQ(pReceiver->nReceived, 2);
    pDispatcher->dispatchData(nullptr, pSelector);
    pDispatcher->setReceiver(nullptr);
    pReceiver->release();
    pDispatcher->release(); // kept by what is on its way
    RunMainLoopDry();
}
