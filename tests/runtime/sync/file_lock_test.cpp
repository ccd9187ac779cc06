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
}

TEST(FlockTimed, FailsAtOnceOnWhatIsNoFile) {
    EXPECT_EQ(flocktimed(-1, LOCK_EX | LOCK_NB, 4'000'000'000u), -1); // ctest's limit of time is the judge
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
    for (auto const& oRow : arRows) {
        LLockFile oLock;
        EXPECT_TRUE(oLock.Lock((oFolder / oRow.szPath).c_str())) << oRow.szPath;
        EXPECT_TRUE(oLock.IsLocked()) << oRow.szPath;
        EXPECT_TRUE(fs::exists(oFolder / oRow.szLockFile)) << oRow.szPath;
        oLock.Release();
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
    {
        LLockFile oLoser;
        EXPECT_FALSE(oLoser.Lock(szFile.c_str()));
        EXPECT_FALSE(oLoser.IsLocked());
    }
    EXPECT_EQ(fs::file_size(szLockFile), 4u) << "a lost lock emptied or deleted the file";
    oHolder.Kill();
    LLockFile oNext;
    EXPECT_TRUE(oNext.Lock(szFile.c_str()));
    EXPECT_TRUE(oNext.IsLocked());
    EXPECT_EQ(fs::file_size(szLockFile), 0u);
}

TEST(LockFile, AnotherLockReleasesTheFirst) {
    TemporaryFolder oFolder;
    LLockFile oLock, oOther;
    EXPECT_TRUE(oLock.Lock((oFolder / "a").c_str()));
    EXPECT_TRUE(oLock.Lock((oFolder / "b").c_str()));
    EXPECT_FALSE(fs::exists(oFolder / "a.lck"));
    EXPECT_TRUE(oOther.Lock((oFolder / "a").c_str()) && oOther.IsLocked());
}

TEST(LockFile, OneThatCantBeMadeHoldsNobodyUp) {
    TemporaryFolder oFolder;
    for (std::string const& szPath : {oFolder / "no such folder/a", oFolder / std::string(5'000, 'x'), std::string()}) {
        LLockFile oLock;
        EXPECT_TRUE(oLock.Lock(szPath.c_str())) << szPath.substr(0, 40);
        EXPECT_EQ(oLock.IsLocked(), szPath.empty()) << szPath.substr(0, 40); // "" is ".lck" in the current folder
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
