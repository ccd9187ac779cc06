#include "runtime/sync/system_lock.h"

#include "tests/harness/child_process.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <thread>
#include <unistd.h>

namespace {

// Stops after it was asked a number of times.
class Patience : public LProcessInterface {
public:
    explicit Patience(int nTimes) : nLeft(nTimes) {}
    bool IsToStop() override { return --nLeft < 0; }
    bool ProcessWait(unsigned int) override { return false; }
    LWaitResult ProcessWaitSignal(LSignalObjectRef, unsigned int) override { return eWaitTimeout; }
    LWaitResult ProcessWaitSignalObjectGroup(LSignalObjectGroup&, unsigned int) override { return eWaitTimeout; }

private:
    std::atomic<int> nLeft;
};
constexpr int kForEver = 1'000'000;

class SystemLock : public testing::Test {
protected:
    std::string const szName = "lumora test " + std::to_string(getpid());
    key_t const nKey = LSystemLockMutex::KeyFromName(szName.c_str());

    int Set() const { return semget(nKey, 0, 0); }
    int Value() const { return semctl(Set(), 0, GETVAL); }
    void TearDown() override { semctl(Set(), 0, IPC_RMID); }
};

} // namespace

TEST_F(SystemLock, KeysComeFromNames) {
    struct {
        char const* szName;
        unsigned int nKey;
    } const arRows[] = {{"", 11223}, {"UID", 367844708}, {"\xff", 11223 * 32 - 1}, {"\x1f\x1f\x1f\x1f\x1f\x1f ", 1}};
    for (auto const& oRow : arRows)
        EXPECT_EQ(static_cast<unsigned int>(LSystemLockMutex::KeyFromName(oRow.szName)), oRow.nKey) << oRow.szName;
}

TEST_F(SystemLock, HoldsFromScopeToScopeAndIsNotRecursive) {
    Patience oProcess(0);
    {
        LSystemLockMutexScope oScope(oProcess, szName.c_str());
        ASSERT_TRUE(oScope.IsLocked());
        EXPECT_EQ(Value(), 0);
        LSystemLockMutexScope const oSecond(oProcess, szName.c_str());
        EXPECT_FALSE(oSecond.IsLocked());
        EXPECT_FALSE(LSystemLockMutex(szName.c_str()).Lock(5));
    }
    EXPECT_EQ(Value(), 1);
}

TEST_F(SystemLock, HolderThatDiesGivesItBackToAWaiterThroughInterruptions) {
    ChildProcess oHolder([&](auto const& oDoor) {
        LSystemLockMutex oLock(szName.c_str());
        if (!oLock.LockForever())
            return 1;
        oDoor.SayReady();
        return oDoor.Rest();
    });
    ASSERT_TRUE(oHolder.WaitUntilReady());
    LSystemLockMutex oLock(szName.c_str());
    EXPECT_FALSE(oLock.Lock(15));
    struct sigaction oHandler {
    }, oBefore;
    oHandler.sa_handler = [](int) {};
    sigaction(SIGUSR1, &oHandler, &oBefore);
    std::thread oKiller([&, hWaiter = pthread_self()] {
        for (int n = 0; n < 200; ++n) { // the waiter goes on after each
            pthread_kill(hWaiter, SIGUSR1);
            std::this_thread::yield();
        }
        oHolder.Kill();
    });
    EXPECT_TRUE(oLock.LockForever());
    oKiller.join();
    sigaction(SIGUSR1, &oBefore, nullptr);
    oLock.Unlock();
    EXPECT_EQ(Value(), 1);
}

TEST_F(SystemLock, ForkedChildLeavesItsParentsLockAlone) {
    Patience oProcess(0);
    auto pScope = std::make_unique<LSystemLockMutexScope>(oProcess, szName.c_str());
    ASSERT_TRUE(pScope->IsLocked());
    EXPECT_EQ(ChildProcess([&](auto const&) { return pScope.reset(), Value(); }).Wait(), 0);
    EXPECT_EQ(Value(), 0);
    pScope.reset();
    EXPECT_EQ(Value(), 1);
}

TEST_F(SystemLock, ExcludesThreadsAndProcesses) {
    void* const pShared = mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pShared, MAP_FAILED);
    auto volatile& nShared = *static_cast<int volatile*>(pShared);
    auto const oCount = [&] {
        for (int n = 0; n < 50; ++n) {
            Patience oProcess(kForEver);
            LSystemLockMutexScope const oScope(oProcess, szName.c_str());
            int const nSeen = nShared; // only the lock keeps this and the write together
            std::this_thread::yield();
            nShared = nSeen + 1;
        }
        return 0;
    };
    ChildProcess oFirst([&](auto const&) { return oCount(); });
    ChildProcess oSecond([&](auto const&) { return oCount(); });
    oCount();
    EXPECT_EQ(oFirst.Wait(), 0);
    EXPECT_EQ(oSecond.Wait(), 0);
    EXPECT_EQ(nShared, 150);
    munmap(pShared, sizeof(int));
}

TEST_F(SystemLock, WaiterOutlivesTheRemovalOfItsSemaphore) {
    LSystemLockMutex oHolder(szName.c_str()), oWaiter(szName.c_str());
    ASSERT_TRUE(oHolder.Lock(0));
    class Remover : public Patience {
    public:
        explicit Remover(key_t n) : Patience(kForEver), nKey(n) {}
        bool IsToStop() override {
            semctl(semget(nKey, 0, 0), 0, IPC_RMID);
            return Patience::IsToStop();
        }
        key_t nKey;
    } oRemover(nKey);
    EXPECT_TRUE(oWaiter.Lock(oRemover)) << "on a semaphore made anew";
    EXPECT_FALSE(oHolder.Lock(0)) << "it is gone";
    oWaiter.Unlock();
    EXPECT_EQ(Value(), 1);
}

TEST_F(SystemLock, BrokenSemaphoresAreRemovedAndMadeAnew) {
    ASSERT_GE(semget(nKey, 1, IPC_CREAT | IPC_EXCL | 0666), 0); // whose maker died before it had a value
    Patience oProcess(kForEver);
    EXPECT_TRUE(LSystemLockMutexScope(oProcess, szName.c_str()).IsLocked());
    LSystemLockMutex oLock(szName.c_str());
    ASSERT_TRUE(oLock.Lock(0));
    oLock.Unlock();
    oLock.Unlock(); // free already, by this process
    EXPECT_EQ(Set(), -1);
}

TEST_F(SystemLock, ProcessThatThrowsRemovesTheSemaphore) {
    class Thrower : public Patience {
    public:
        Thrower() : Patience(0) {}
        bool IsToStop() override { throw std::runtime_error("stop"); }
    } oThrower;
    LSystemLockMutex oHolder(szName.c_str());
    ASSERT_TRUE(oHolder.Lock(0));
    EXPECT_THROW(LSystemLockMutexScope(oThrower, szName.c_str()), std::runtime_error);
    EXPECT_EQ(Set(), -1);
}
