#include "runtime/sync/shared_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

// Waits until a thread of ours that is about to block has had every chance to.
void LetOthersRun() {
    for (int n = 0; n < 200; ++n)
        std::this_thread::yield();
}

} // namespace

TEST(LockObjectShared, OnlySharedHolderUpgradesAtOnceAndDowngrades) NO_THREAD_SAFETY_ANALYSIS {
    LLockObjectShared oLock;
    oLock.LockShared();
    oLock.UpgradeLock();
    oLock.DowngradeLock();
    std::thread([&]() NO_THREAD_SAFETY_ANALYSIS { // another shared holder gets in
        oLock.LockShared();
        oLock.UnlockShared();
    })
        .join();
    oLock.UnlockShared();
    oLock.LockExclusive();
    oLock.UnlockExclusive();
}

TEST(LockObjectShared, UpgradeWaitsForTheOtherSharedHolders) NO_THREAD_SAFETY_ANALYSIS {
    LLockObjectShared oLock;
    std::atomic<bool> bHeld{false}, bLeft{false};
    std::thread oOther([&]() NO_THREAD_SAFETY_ANALYSIS {
        oLock.LockShared();
        bHeld = true;
        LetOthersRun();
        bLeft = true;
        oLock.UnlockShared();
    });
    while (!bHeld)
        std::this_thread::yield();
    oLock.LockShared();
    oLock.UpgradeLock();
    EXPECT_TRUE(bLeft);
    oLock.UnlockExclusive();
    oOther.join();
}

// The last shared holder may leave by upgrading: who waits for the shared holders to be gone must hear of that too.
TEST(LockObjectShared, UpgradeOfTheLastSharedHolderWakesTheOtherLockers) NO_THREAD_SAFETY_ANALYSIS {
    for (bool bUpgrades : {false, true}) {
        LLockObjectShared oLock;
        LSignalObject oReady;
        oLock.LockShared();
        std::thread oOther([&]() NO_THREAD_SAFETY_ANALYSIS {
            if (bUpgrades)
                oLock.LockShared();
            oReady.Signal();
            if (bUpgrades)
                oLock.UpgradeLock();
            else
                oLock.LockExclusive();
            oLock.UnlockExclusive();
        });
        oReady.WaitSignal(kLNoTimeout);
        LetOthersRun();
        oLock.UpgradeLock();
        oLock.UnlockExclusive();
        oOther.join(); // hangs when the wake was lost
    }
}

TEST(LockObjectShared, ExcludesUnderAllItsOperations) NO_THREAD_SAFETY_ANALYSIS {
    LLockObjectShared oLock;
    int nChanged = 0; // plain: the lock is what guards it
    constexpr int kRounds = 2'000;
    std::vector<std::thread> lThreads;
    for (int nThread = 0; nThread < 4; ++nThread)
        lThreads.emplace_back([&, nThread]() NO_THREAD_SAFETY_ANALYSIS {
            for (int n = 0; n < kRounds; ++n) {
                if (nThread % 2 == 0) {
                    oLock.LockShared();
                    EXPECT_GE(nChanged, 0);
                    oLock.UpgradeLock();
                    ++nChanged;
                    oLock.DowngradeLock();
                    EXPECT_GT(nChanged, 0);
                    oLock.UnlockShared();
                } else {
                    oLock.LockExclusive();
                    ++nChanged;
                    oLock.UnlockExclusive();
                }
            }
        });
    for (auto& oThread : lThreads)
        oThread.join();
    EXPECT_EQ(nChanged, 4 * kRounds);
}
