#include "runtime/sync/shared_lock.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

// Waits until a thread of ours that is about to block has had every chance to.
void LetOthersRun() {
    for (int n = 0; n < 200; ++n)
        std::this_thread::yield();
}

} // namespace

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
    int nChanged = 0; // plain: the lock is what guards it; odd within a change
    constexpr int kRounds = 1'000;
    auto const oChange = [&] {
        ++nChanged;
        std::this_thread::yield();
        ++nChanged;
    };
    std::vector<std::thread> lThreads;
    for (int nThread = 0; nThread < 4; ++nThread)
        lThreads.emplace_back([&, nThread]() NO_THREAD_SAFETY_ANALYSIS {
            for (int n = 0; n < kRounds; ++n) {
                if (nThread % 2 != 0) {
                    oLock.LockExclusive();
                    oChange();
                    oLock.UnlockExclusive();
                    continue;
                }
                oLock.LockShared();
                EXPECT_EQ(nChanged % 2, 0);
                oLock.UpgradeLock();
                oChange();
                oLock.DowngradeLock();
                EXPECT_EQ(nChanged % 2, 0);
                oLock.UnlockShared();
            }
        });
    for (auto& oThread : lThreads)
        oThread.join();
    EXPECT_EQ(nChanged, 4 * 2 * kRounds);
}
