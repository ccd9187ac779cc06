#include "files/folder_operations.h"

#include "files/folder.h"
#include "tests/files/file_call_hooks.h"
#include "tests/harness/child_process.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <fstream>
#include <map>

namespace {

namespace fs = std::filesystem;

// A tree with links to outside, a hidden file, an empty folder and a name of 255 bytes. Its files hold 18 bytes, the
// links' own texts not counted.
void MakeTree(TemporaryFolder const& oFolder, std::string const& szTree) {
    oFolder.Write("outside/precious", "precious");
    oFolder.Write(szTree + "/one", "1");
    oFolder.Write(szTree + "/.hidden", "22");
    oFolder.Write(szTree + "/sub/deep/three", "333");
    oFolder.Write(szTree + "/sub/" + std::string(255, 'n'), "4444");
    oFolder.Write(szTree + "/__MACOSX/five", "55555");
    oFolder.Write(szTree + "/sub/ro/six", "666");
    fs::create_directory(oFolder.Path(szTree + "/empty"));
    fs::create_directory_symlink(oFolder.Path("outside"), oFolder.Path(szTree + "/sub/link"));
    fs::create_symlink(oFolder.Path("outside/precious"), oFolder.Path(szTree + "/file link"));
    fs::create_symlink("nowhere", oFolder.Path(szTree + "/dangling"));
}

// Every path below with what it is: "/" for a folder; else "> target" for a link, or the bytes, or their hash, with the
// mode and mtime.
std::map<std::string, std::string> Describe(std::string const& szTree) {
    std::map<std::string, std::string> mapEntries;
    for (auto const& oEntry : fs::recursive_directory_iterator(szTree)) {
        struct stat oStatus;
        lstat(oEntry.path().c_str(), &oStatus);
        std::string& szEntry = mapEntries[oEntry.path().lexically_relative(szTree)];
        if (oEntry.is_symlink())
            szEntry = "> " + fs::read_symlink(oEntry.path()).string();
        else if (oEntry.is_directory()) {
            szEntry = "/";
            continue;
        } else {
            std::ifstream oFile(oEntry.path());
            szEntry = std::string(std::istreambuf_iterator<char>(oFile), {});
            if (szEntry.size() > 100)
                szEntry =
                    std::to_string(szEntry.size()) + " hashed " + std::to_string(std::hash<std::string>()(szEntry));
        }
        szEntry += " " + std::to_string(oStatus.st_mode) + " " + std::to_string(oStatus.st_mtim.tv_sec) + "." +
                   std::to_string(oStatus.st_mtim.tv_nsec);
    }
    return mapEntries;
}

// What the call gives to a user who is not root.
bool AsOrdinaryUser(std::function<bool()> Call) {
    int const nAnswer = ChildProcess([&](auto const&) {
                            return setgid(65534) == 0 && setuid(65534) == 0 ? static_cast<int>(Call()) : 99;
                        }).Wait();
    EXPECT_TRUE(nAnswer == 0 || nAnswer == 1);
    return nAnswer == 1;
}

} // namespace

TEST(FolderDelete, TakesTheTreeAndNothingThatItsLinksLeadTo) {
    for (auto const Delete : {+[](char const* p) { return LFile::DeleteFolderTree(p); },
                              +[](char const* p) { return LFile::DeleteFolderTree(p, 10); },
                              +[](char const* p) { return LFile::DeleteFolderTreeAlways(p); }}) {
        TemporaryFolder oFolder;
        MakeTree(oFolder, "tree");
        EXPECT_TRUE(Delete(oFolder.Path("tree").c_str()));
        EXPECT_FALSE(oFolder.Has("tree"));
        EXPECT_EQ(oFolder.Read("outside/precious"), "precious");
        fs::create_directory_symlink(oFolder.Path("outside"), oFolder.Path("tree"));
        EXPECT_FALSE(Delete(oFolder.Path("tree").c_str())) << "a link is not the folder";
        EXPECT_FALSE(Delete(oFolder.Path("tree//").c_str())) << "nor with slashes behind it";
        EXPECT_FALSE(Delete(oFolder.Path("outside/precious").c_str())) << "a file is not the folder beside it";
        EXPECT_EQ(oFolder.Read("outside/precious"), "precious");
        EXPECT_FALSE(Delete(""));
        EXPECT_FALSE(Delete(oFolder.Path("missing").c_str()));
    }
}

TEST(FolderDelete, PausesWhileTheFolderIsBusy) {
    struct {
        unsigned int nTimeout;
        std::vector<long> lPauses;
    } const kRows[] = {{1000, {8, 16, 32, 64, 128, 256}}, {0, {}}, {1, {}}, {2, {1}}, {4, {1, 2}}};
    for (auto const& oRow : kRows) {
        TemporaryFolder oFolder;
        fs::create_directory(oFolder.Path("busy"));
        std::vector<long> lPauses;
        HookScope oHooks;
        oHooks->Sleep = [&](long n) { lPauses.push_back(n); };
        oHooks->RemoveFolder = [] { return -EBUSY; };
        EXPECT_FALSE(LFile::DeleteFolderTree(oFolder.Path("busy").c_str(), oRow.nTimeout));
        EXPECT_EQ(lPauses, oRow.lPauses);
        oHooks->RemoveFolder = [&] { return lPauses.size() < 2 ? -EBUSY : 0; }; // then it is let go
        lPauses.clear();
        EXPECT_EQ(LFile::DeleteFolderTree(oFolder.Path("busy").c_str(), oRow.nTimeout), oRow.lPauses.size() >= 2);
    }
    HookScope oHooks;
    std::vector<long> lPauses;
    TemporaryFolder oFolder;
    oHooks->Sleep = [&](long n) { lPauses.push_back(n); };
    oHooks->RemoveFolder = [] { return -EACCES; };
    EXPECT_FALSE(LFile::DeleteFolderTree(oFolder.Path().c_str(), 1000));
    EXPECT_TRUE(lPauses.empty()) << "only a busy folder is waited for";
    oHooks->RemoveFolder = [&] { return lPauses.size() < 40 ? -EBUSY : -EPERM; };
    EXPECT_FALSE(LFile::DeleteFolderTree(oFolder.Path().c_str(), 0xFFFFFFFF));
    EXPECT_EQ(lPauses.size(), 7u); // 2^25 ms and doubling, all within 2^32
}

TEST(FolderDelete, AlwaysTakesImmutableFilesToo) {
    TemporaryFolder oFolder;
    std::string const szPath = oFolder.Write("tree/locked", "x");
    int const hFile = open(szPath.c_str(), O_RDONLY);
    int nFlags = 0;
    bool const bLocked = ioctl(hFile, FS_IOC_GETFLAGS, &nFlags) == 0 &&
                         (nFlags |= FS_IMMUTABLE_FL, ioctl(hFile, FS_IOC_SETFLAGS, &nFlags) == 0);
    close(hFile);
    if (!bLocked)
        GTEST_SKIP() << "this user or file system has no immutable files";
    EXPECT_FALSE(LFile::DeleteFolderTree(oFolder.Path("tree").c_str()));
    EXPECT_TRUE(LFile::DeleteFolderTreeAlways(oFolder.Path("tree").c_str()));
}

TEST(FolderDelete, FilesGoAndFoldersStay) {
    TemporaryFolder oFolder;
    MakeTree(oFolder, "tree");
    EXPECT_FALSE(LFile::DeleteFolderAndFiles(oFolder.Path("tree").c_str()));
    EXPECT_FALSE(oFolder.Has("tree/one") || oFolder.Has("tree/dangling") || oFolder.Has("tree/.hidden"));
    EXPECT_TRUE(oFolder.Has("tree/empty") && oFolder.Has("tree/sub/deep/three") && oFolder.Has("tree/__MACOSX/five"));
    EXPECT_TRUE(LFile::DeleteFolderAndFiles(oFolder.Path("tree/empty").c_str()));
    EXPECT_TRUE(LFile::DeleteFolderAndFiles(oFolder.Path("outside").c_str()));
}

TEST(FolderDelete, WhatCannotBeReadStaysAndTheRestGoes) {
    if (getuid() != 0)
        GTEST_SKIP() << "changes its user";
    TemporaryFolder oFolder;
    MakeTree(oFolder, "tree");
    oFolder.GiveToNobody();
    chmod(oFolder.Path("tree/sub/deep").c_str(), 0);
    EXPECT_EQ(AsOrdinaryUser([&] { return LFile::GetFolderSizeBytes(oFolder.Path("tree").c_str(), true) > 12; }), true);
    EXPECT_FALSE(AsOrdinaryUser([&] { return LFile::DeleteFolderTree(oFolder.Path("tree").c_str()); }));
    EXPECT_TRUE(oFolder.Has("tree/sub/deep/three"));
    EXPECT_FALSE(oFolder.Has("tree/one") || oFolder.Has("tree/__MACOSX"));
}

TEST(FolderDelete, ATreeDeeperThanAPathFailsCleanly) {
    TemporaryFolder oFolder;
    fs::create_directory(oFolder.Path("deep"));
    int hFolder = open(oFolder.Path("deep").c_str(), O_DIRECTORY);
    for (int n = 0; n < 4; ++n) {
        std::string const szName(100, static_cast<char>('a' + n));
        mkdirat(hFolder, szName.c_str(), 0777);
        int const hBelow = openat(hFolder, szName.c_str(), O_DIRECTORY);
        close(openat(hBelow, "file", O_CREAT | O_WRONLY, 0666));
        close(hFolder);
        hFolder = hBelow;
    }
    close(hFolder);
    EXPECT_FALSE(LFile::DeleteFolderTree(oFolder.Path("deep").c_str()));
    EXPECT_EQ(LFile::GetFolderSizeBytes(oFolder.Path("deep").c_str(), true), 0);
    LFile::CopyFolderFiles(oFolder.Path("deep").c_str(), oFolder.Path("copy").c_str());
    EXPECT_TRUE(oFolder.Has("copy/" + std::string(100, 'a')));
}

TEST(FolderDelete, OldFilesGoByTheirBirth) {
    TemporaryFolder oFolder;
    for (char const* szName : {"a.log", "b.log", "keep.txt"})
        oFolder.Write(szName, "");
    std::filesystem::create_directory(oFolder.Path("old.log.d"));
    fs::create_symlink("keep.txt", oFolder.Path("link.LOG"));
    timespec const tLongAgo[] = {{1000, 0}, {1000, 0}}; // changed in 1970, made now
    utimensat(AT_FDCWD, oFolder.Path("a.log").c_str(), tLongAgo, 0);
    std::string const szFolder = oFolder.Path();
    constexpr long kDay = 86400;
    long const nNow = std::time(nullptr);
    HookScope oHooks;
    struct {
        long nLater;
        int nDays;
        bool bGone;
    } const kRows[] = {{6 * kDay, 7, false},
                       {8 * kDay, 0, false},
                       {8 * kDay, -3, false},
                       {8 * kDay, 25000, false},
                       {8 * kDay, 2'000'000'000, false},
                       {8 * kDay, 7, true}};
    for (auto const& oRow : kRows) {
        oHooks->Now = [&] { return nNow + oRow.nLater; };
        LFile::DeleteOldFiles(szFolder.c_str(), "*.log", oRow.nDays);
        EXPECT_EQ(!oFolder.Has("a.log"), oRow.bGone) << oRow.nDays;
        EXPECT_EQ(!oFolder.Has("link.LOG"), oRow.bGone) << oRow.nDays;
    }
    LFile::DeleteOldFiles(szFolder.c_str(), "*", 7);
    EXPECT_TRUE(oFolder.Has("old.log.d"));
    EXPECT_FALSE(oFolder.Has("keep.txt"));
}

TEST(FolderSize, AddsFilesAndFollowsNoLink) {
    TemporaryFolder oFolder;
    MakeTree(oFolder, "tree");
    std::int64_t nLinks = 0;
    for (char const* szLink : {"tree/sub/link", "tree/file link", "tree/dangling"})
        nLinks += static_cast<std::int64_t>(fs::read_symlink(oFolder.Path(szLink)).string().size());
    std::string const szTree = oFolder.Path("tree");
    EXPECT_EQ(LFile::GetFolderSizeBytes(szTree.c_str(), true), 18 + nLinks);
    EXPECT_LT(LFile::GetFolderSizeBytes(szTree.c_str(), false), 3 + nLinks);
    EXPECT_EQ(LFile::GetFolderSizeBytes(oFolder.Path("tree/sub/deep").c_str(), false), 3);
    EXPECT_EQ(LFile::GetFolderSizeBytes(oFolder.Path("tree/sub/link").c_str(), true), 8) << "the folder asked for";
    EXPECT_EQ(LFile::GetFolderSizeBytes(oFolder.Path("tree/sub/deep/three").c_str(), true), 3) << "its folder's files";
    EXPECT_EQ(LFile::GetFolderSizeBytes(oFolder.Path("missing").c_str(), true), 0);
    truncate(oFolder.Path("tree/sub/deep/three").c_str(), 5'000'000'000); // a hole
    EXPECT_EQ(LFile::GetFolderSizeBytes(szTree.c_str(), true), 5'000'000'015 + nLinks);
}

TEST(FolderCopy, KeepsDataLinksModesTimesAndAttributes) {
    TemporaryFolder oFolder;
    MakeTree(oFolder, "tree");
    std::string const szTree = oFolder.Path("tree"), szCopy = oFolder.Path("new/copy");
    fs::remove(szTree + "/sub/" + std::string(255, 'n')); // its path is longer than any that is copied
    ASSERT_EQ(setxattr((szTree + "/one").c_str(), "com.example.x", "value", 5, 0, 0), 0);
    std::string const szLarge(300'000, 'L');
    oFolder.Write("tree/large", szLarge);
    oFolder.Write("tree/sparse", "x");
    truncate((szTree + "/sparse").c_str(), 20'000'000);
    mkfifo((szTree + "/pipe").c_str(), 0600); // opening it would wait for ever
    chmod((szTree + "/one").c_str(), 04711);
    chmod((szTree + "/sub/ro").c_str(), 0500);
    timespec const tThen[] = {{1'000'000'000, 5}, {1'100'000'000, 123'456'789}};
    for (char const* szName : {"/one", "/large", "/file link"})
        utimensat(AT_FDCWD, (szTree + szName).c_str(), tThen, AT_SYMLINK_NOFOLLOW);
    LFile::CopyFolderFiles(szTree.c_str(), szCopy.c_str());
    unlink((szTree + "/pipe").c_str());
    auto const mapSource = Describe(szTree);
    EXPECT_EQ(Describe(szCopy), mapSource);
    EXPECT_EQ(fs::status(szCopy + "/sub/ro").permissions(), fs::status(szCopy).permissions()) << "made anew";
    char szValue[8] = "";
    EXPECT_EQ(getxattr((szCopy + "/one").c_str(), "com.example.x", szValue, sizeof szValue, 0, 0), 5);
    struct stat oSparse;
    stat((szCopy + "/sparse").c_str(), &oSparse);
    EXPECT_LT(oSparse.st_blocks * 512, 1'000'000) << "a hole stays one";
    LFile::CopyFolderFiles(szTree.c_str(), szCopy.c_str()); // over itself, file by file
    EXPECT_EQ(Describe(szCopy), mapSource);
}

TEST(FolderCopy, StaysInsideItsTarget) {
    TemporaryFolder oFolder;
    MakeTree(oFolder, "tree");
    std::string const szTree = oFolder.Path("tree"), szTarget = oFolder.Path("target");
    fs::create_directory(szTarget);
    fs::create_directory_symlink(oFolder.Path("outside"), szTarget + "/sub"); // where a folder is to be made
    oFolder.Write("target/__MACOSX", "a file where a folder is to be made");
    LFile::CopyFolderFiles(szTree.c_str(), szTarget.c_str());
    EXPECT_EQ(std::distance(fs::directory_iterator(oFolder.Path("outside")), {}), 1);
    EXPECT_EQ(oFolder.Read("target/one"), "1");
    LFile::CopyFolderFiles(szTree.c_str(), oFolder.Path("tree/sub/inner").c_str()); // into itself
    EXPECT_TRUE(oFolder.Has("tree/sub/inner/sub/deep/three"));
    EXPECT_FALSE(oFolder.Has("tree/sub/inner/sub/inner"));
    LFile::CopyFolderFiles(szTree.c_str(), (szTree + "/.").c_str()); // onto itself
    EXPECT_EQ(oFolder.Read("tree/one"), "1");
    LFile::CopyFolderFiles(oFolder.Path("missing").c_str(), oFolder.Path("never").c_str());
    EXPECT_FALSE(oFolder.Has("never"));
}

TEST(FolderCopy, AnExistingTargetIsReplacedWholeOrNotAtAll) {
    TemporaryFolder oFolder;
    std::string const szNew = oFolder.Write("new", "new text"), szOld = oFolder.Write("old", "old");
    fs::create_hard_link(szOld, oFolder.Path("old link"));
    chmod(szNew.c_str(), 0640);
    EXPECT_TRUE(LFile::CopyFile(szNew.c_str(), szOld.c_str()));
    EXPECT_EQ(oFolder.Read("old"), "new text");
    EXPECT_EQ(fs::status(szOld).permissions(), static_cast<fs::perms>(0640));
    EXPECT_EQ(oFolder.Read("old link"), "old") << "the old file itself is not written into";
    EXPECT_FALSE(LFile::CopyFile(oFolder.Path("missing").c_str(), szOld.c_str()));
    EXPECT_EQ(oFolder.Read("old"), "new text");
    EXPECT_TRUE(LFile::CopyFile(szOld.c_str(), szOld.c_str())) << "onto itself";
    EXPECT_EQ(oFolder.Read("old"), "new text");
    fs::create_symlink("nowhere", oFolder.Path("dangling"));
    EXPECT_TRUE(LFile::CopyFile(szNew.c_str(), oFolder.Path("dangling").c_str()));
    EXPECT_EQ(oFolder.Read("dangling"), "new text");
    EXPECT_FALSE(oFolder.Has("nowhere"));
    oFolder.Write("folder/kept", "kept");
    EXPECT_FALSE(LFile::CopyFile(szNew.c_str(), oFolder.Path("folder").c_str()));
    EXPECT_EQ(oFolder.Read("folder/kept"), "kept");
    EXPECT_TRUE(LFile::CopyFile(oFolder.Path("missing").c_str(), oFolder.Path("target").c_str()));
    EXPECT_FALSE(oFolder.Has("target"));
    // No replacement folder is left behind: new, old, old link, dangling, folder.
    EXPECT_EQ(std::distance(fs::directory_iterator(oFolder.Path()), {}), 5);
}

TEST(FolderCopy, AFullDiskLeavesTheOldFile) {
    TemporaryFolder oFolder;
    std::string const szNew = oFolder.Write("new", std::string(1'000'000, 'n')), szOld = oFolder.Write("old", "old");
    ChildProcess oLimited([&](auto const&) { // to files of at most 1000 bytes
        rlimit const oLimit{1000, 1000};
        setrlimit(RLIMIT_FSIZE, &oLimit);
        signal(SIGXFSZ, SIG_IGN);
        return LFile::CopyFile(szNew.c_str(), szOld.c_str()) ||
               !LFile::CopyFile(szNew.c_str(), oFolder.Path("none").c_str());
    });
    EXPECT_EQ(oLimited.Wait(), 0);
    EXPECT_EQ(oFolder.Read("old"), "old");
    EXPECT_FALSE(oFolder.Has("none")) << "no half of a file";
    EXPECT_EQ(std::distance(fs::directory_iterator(oFolder.Path()), {}), 2);
}
