#include "runtime/sync/lock_file.h"
#include "runtime/sync/timed_file_lock.h"

#include "runtime/sync/deadline.h"
#include "tests/harness/child_process.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/file.h>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace {

LFileDescriptor OpenFile(std::string const& szPath) {
    return LFileDescriptor(open(szPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
}

} // namespace

TEST(FlockTimed, GivesUpOnABusyFileAndGetsOneWhoseHolderDies) {
    TemporaryFolder oFolder;
    std::string const szFile = oFolder / "file";
    ChildProcess oHolder([&](auto const& oDoor) {
        auto const fd = OpenFile(szFile);
        if (flocktimed(fd.Get(), LOCK_EX | LOCK_NB, 0) != 0)
            return 1;
        oDoor.SayReady();
        return oDoor.Rest();
    });
    ASSERT_TRUE(oHolder.WaitUntilReady());
    auto const fd = OpenFile(szFile);
    EXPECT_EQ(flocktimed(fd.Get(), LOCK_EX | LOCK_NB, 0), -1);
    EXPECT_EQ(flocktimed(fd.Get(), LOCK_SH | LOCK_NB, 40), -1);
    std::thread oKiller([&] { oHolder.Kill(); });
    EXPECT_EQ(flocktimed(fd.Get(), LOCK_EX | LOCK_NB, kLNoTimeout), 0);
    oKiller.join();
    EXPECT_EQ(flocktimed(-1, LOCK_EX | LOCK_NB, 4'000'000'000u), -1) << "no file, and no wait";
}

TEST(LockFile, NamesItsFileAfterThePath) {
    TemporaryFolder oFolder;
    fs::create_directory(oFolder / "d.e");
    struct {
        char const* szPath;
        char const* szLockFile;
    } const arRows[] = {
        {"a.txt", "a.lck"}, {"a", "a.lck"},     {"a.b.c", "a.b.lck"}, {"d.e/a", "d.e/a.lck"},
        {"a.", "a.lck"},    {"a.lck", "a.lck"}, {".hidden", ".lck"},
    };
    LLockFile oLock;
    for (auto const& oRow : arRows) {
        EXPECT_TRUE(oLock.Lock((oFolder / oRow.szPath).c_str()) && oLock.IsLocked()) << oRow.szPath;
        EXPECT_TRUE(fs::exists(oFolder / oRow.szLockFile)) << oRow.szPath;
        EXPECT_TRUE(oLock.Lock((oFolder / "other").c_str())) << "releases the one before";
        EXPECT_FALSE(fs::exists(oFolder / oRow.szLockFile)) << oRow.szPath;
    }
}

TEST(LockFile, OneHolderAtATimeAndALoserLeavesTheFileAlone) {
    TemporaryFolder oFolder;
    std::string const szFile = oFolder / "a.txt", szLockFile = oFolder / "a.lck";
    ChildProcess oHolder([&](auto const& oDoor) {
        LLockFile oLock;
        if (!oLock.Lock(szFile.c_str()) || !oLock.IsLocked())
            return 1;
        std::ofstream(szLockFile) << "mine";
        oDoor.SayReady();
        return oDoor.Rest();
    });
    ASSERT_TRUE(oHolder.WaitUntilReady());
    EXPECT_FALSE(LLockFile().Lock(szFile.c_str()));
    EXPECT_EQ(fs::file_size(szLockFile), 4u) << "a lost lock emptied or deleted the file";
    oHolder.Kill();
    LLockFile oNext;
    EXPECT_TRUE(oNext.Lock(szFile.c_str()) && oNext.IsLocked());
    EXPECT_EQ(fs::file_size(szLockFile), 0u);
    EXPECT_EQ(ChildProcess([&](auto const&) { return oNext.Release(), 0; }).Wait(), 0);
    EXPECT_TRUE(fs::exists(szLockFile)) << "a forked child released its parent's lock";
    EXPECT_FALSE(LLockFile().Lock(szFile.c_str()));
}

TEST(LockFile, OneThatCantBeMadeHoldsNobodyUp) {
    TemporaryFolder oFolder;
    for (std::string const& szPath : {oFolder / "no such folder/a", oFolder / std::string(5'000, 'x')}) {
        LLockFile oLock;
        EXPECT_TRUE(oLock.Lock(szPath.c_str()) && !oLock.IsLocked()) << szPath.substr(0, 40);
    }
}

// Its holder deletes the file, so a locker may get the lock of a file that is no longer there.
TEST(LockFile, ExcludesWhileHoldersComeAndGo) {
    TemporaryFolder oFolder;
    std::string const szFile = oFolder / "a.txt";
    std::atomic<int> nHolders{0}, nRounds{0};
    std::vector<std::thread> lThreads;
    for (int nThread = 0; nThread < 4; ++nThread)
        lThreads.emplace_back([&] {
            for (LLockFile oLock; nRounds < 4'000;) {
                if (!oLock.Lock(szFile.c_str()) || !oLock.IsLocked())
                    continue;
                EXPECT_EQ(++nHolders, 1);
                ++nRounds;
                EXPECT_TRUE(fs::exists(oFolder / "a.lck"));
                --nHolders;
                oLock.Release();
            }
        });
    for (auto& oThread : lThreads)
        oThread.join();
}
