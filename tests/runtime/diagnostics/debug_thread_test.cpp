#include "runtime/diagnostics/debug_thread.h"

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <pthread.h>
#include <string>
#include <thread>
#include <vector>

namespace {

// What is the start-up's and unload's part in the plug-in: the table's mutex lives as long as all tests do.
struct DebugTable : testing::Environment {
    void SetUp() override { ASSERT_TRUE(loDebugThreads.Create()); }
    void TearDown() override { loDebugThreads.Destroy(); }
};
[[maybe_unused]] auto const* const pDebugTable = testing::AddGlobalTestEnvironment(new DebugTable);

mach_port_t OwnId() {
    return pthread_mach_thread_np(pthread_self());
}

std::string Name() {
    char szName[8];
    LDebugThreadGetName(szName);
    return szName;
}

// Which entry is the calling thread's; -1 without one.
long Index() {
    LDebugThreadData const* const pEntry = LDebugThreadFindData();
    return pEntry ? pEntry - gDebugThreadData.data() : -1;
}

// A thread that does what it is told, piece by piece.
class Worker {
public:
    ~Worker() {
        Do(nullptr);
        oThread.join();
    }
    void Do(std::function<void()> const& oWork) { // an empty one ends the thread
        std::unique_lock oLock(mtx);
        pWork = &oWork;
        cvTurn.notify_all();
        cvTurn.wait(oLock, [&] { return !pWork; });
    }
    long EntryIndex() {
        long nIndex = -2;
        Do([&] { nIndex = Index(); });
        return nIndex;
    }

private:
    void Run() {
        std::unique_lock oLock(mtx);
        for (bool bGoOn = true; bGoOn; cvTurn.notify_all()) {
            cvTurn.wait(oLock, [&] { return pWork; });
            if ((bGoOn = static_cast<bool>(*pWork)))
                (*pWork)();
            pWork = nullptr;
        }
    }
    std::mutex mtx;
    std::condition_variable cvTurn;
    std::function<void()> const* pWork = nullptr;
    std::thread oThread{&Worker::Run, this};
};

std::string NumberedName(mach_port_t dwId) {
    char szName[8];
    std::snprintf(szName, sizeof szName, "%.4u", dwId % 10000);
    return szName;
}

} // namespace

TEST(DebugThread, KeepsNameAndDialogOfEachThreadWithinTheirBounds) {
    LDebugThreadSetName("nobody");
    LDebugThreadSetLastDialog("nobody");
    LDebugThreadDataStopThread();
    LDebugThreadGetName(nullptr);
    EXPECT_EQ(Name(), "");
    EXPECT_EQ(gnDebugThreads, 0u);
    EXPECT_TRUE(LIsMainThread());

    // A port's number grows by 256 with each thread that asks for one: among these are some whose last four digits
    // begin with a zero.
    bool bSawZero = false;
    for (int n = 0; n < 80; ++n)
        std::thread([&] {
            LDebugThreadDataStartThread(nullptr);
            EXPECT_EQ(Name(), NumberedName(OwnId()));
            bSawZero = bSawZero || Name()[0] == '0';
            EXPECT_FALSE(LIsMainThread());
            LDebugThreadDataStopThread();
        }).join();
    EXPECT_TRUE(bSawZero);

    LDebugThreadDataStartThread("Worker");
    EXPECT_EQ(Name(), "Work");
    LDebugThreadSetName("Io");
    EXPECT_EQ(Name(), "Io");
    std::string const szId = NumberedName(OwnId()), szTag{szId[3], szId[2], szId[1]};
    std::string const szLong(40, 'x');
    for (auto const& [szText, szKept] :
         std::vector<std::pair<std::string, std::string>>{{"Save", "Save" + szTag},
                                                          {"", szTag},
                                                          {szLong.substr(0, 28), szLong.substr(0, 28) + szTag},
                                                          {szLong.substr(0, 30), szLong.substr(0, 30) + szTag[0]},
                                                          {szLong, szLong.substr(0, 31)}}) {
        LDebugThreadSetLastDialog(szText.c_str());
        EXPECT_EQ(LDebugThreadFindData()->szLastDialog, szKept);
    }
    LDebugThreadDataStopThread();
    LDebugThreadDataStartThread("Next");
    EXPECT_STREQ(LDebugThreadFindData()->szLastDialog, "");
    LDebugThreadDataStopThread();
}

TEST(DebugThread, GivesEntriesToSixtyFourAndTakesThemBack) {
    std::deque<Worker> lWorkers(65);
    for (long n = 0; n < 65; ++n) {
        lWorkers[static_cast<size_t>(n)].Do([] { LDebugThreadDataStartThread(nullptr); });
        EXPECT_EQ(lWorkers[static_cast<size_t>(n)].EntryIndex(), n < 64 ? n : -1);
    }
    struct Step {
        size_t nWorker;
        bool bStart;
        std::uint64_t nCount; // afterwards
        long nIndex;          // of the worker, afterwards
    };
    std::vector<Step> lSteps{{20, false, 64, -1}, {64, true, 64, 20}, {63, false, 63, -1}, {63, true, 64, 63}};
    for (size_t n = 63; n > 2; --n) // all but the first three; the 65th has the place of number 20
        lSteps.push_back({n == 20 ? 64 : n, false, n, -1});
    // The last goes, then the one before it; who comes then gets the place after the first.
    for (Step const& oStep : {Step{2, false, 2, -1}, Step{1, false, 1, -1}, Step{40, true, 2, 1}, Step{1, true, 3, 2},
                              Step{40, false, 3, -1}, Step{1, false, 1, -1}, Step{0, false, 0, -1}})
        lSteps.push_back(oStep);
    for (Step const& oStep : lSteps) {
        Worker& oWorker = lWorkers[oStep.nWorker];
        oWorker.Do([&] { oStep.bStart ? LDebugThreadDataStartThread("Work") : LDebugThreadDataStopThread(); });
        EXPECT_EQ(gnDebugThreads, oStep.nCount) << oStep.nWorker;
        EXPECT_EQ(oWorker.EntryIndex(), oStep.nIndex) << oStep.nWorker;
    }
}

TEST(DebugThread, NeverShowsAThreadAnEntryThatIsNotItsOwn) {
    constexpr int kThreads = 8, kRounds = 400;
    std::vector<std::thread> lThreads;
    for (int n = 0; n < kThreads; ++n)
        lThreads.emplace_back([n] {
            std::string const szOwn = "T" + std::to_string(n);
            for (int nRound = 0; nRound < kRounds; ++nRound) {
                EXPECT_EQ(Index(), -1);
                LDebugThreadDataStartThread(szOwn.c_str());
                LDebugThreadData const* const pEntry = LDebugThreadFindData();
                ASSERT_TRUE(pEntry);
                EXPECT_EQ(pEntry->dwThreadId, OwnId());
                EXPECT_EQ(pEntry->szName, szOwn);
                EXPECT_STREQ(pEntry->szLastDialog, "");
                LDebugThreadSetLastDialog(szOwn.c_str());
                EXPECT_EQ(LDebugThreadFindData(), pEntry);
                LDebugThreadDataStopThread();
            }
        });
    for (std::thread& oThread : lThreads)
        oThread.join();
    EXPECT_EQ(gnDebugThreads, 0u);
}
