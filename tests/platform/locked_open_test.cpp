#include "tests/harness/child_process.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void Write(std::string const& szPath, char const* szText) {
    std::ofstream(szPath) << szText;
}

} // namespace

TEST(LockedOpen, SharesAndExcludesBetweenProcesses) {
    struct {
        int nHeld, nWanted;
        bool bOpens;
    } const arRows[] = {
        {O_SHLOCK, O_SHLOCK, true},  {O_SHLOCK, O_EXLOCK, false}, {O_EXLOCK, O_SHLOCK, false},
        {O_EXLOCK, O_EXLOCK, false}, {O_EXLOCK, 0, true},         {O_EXLOCK | O_SHLOCK, O_SHLOCK, false},
    };
    TemporaryFolder oFolder;
    std::string const szFile = oFolder / "file";
    for (auto const& oRow : arRows) {
        Write(szFile, "bytes");
        ChildProcess oHolder([&](auto const& oDoor) {
            if (open(szFile.c_str(), O_RDWR | oRow.nHeld) < 0)
                return 1;
            oDoor.SayReady();
            return oDoor.Rest();
        });
        ASSERT_TRUE(oHolder.WaitUntilReady());
        int const nTruncate = oRow.bOpens ? 0 : O_TRUNC;
        int const fd = open(szFile.c_str(), O_RDWR | O_NONBLOCK | oRow.nWanted | nTruncate);
        EXPECT_EQ(fd >= 0, oRow.bOpens) << oRow.nHeld << " then " << oRow.nWanted;
        if (fd < 0) {
            EXPECT_EQ(errno, EWOULDBLOCK);
        }
        EXPECT_EQ(std::filesystem::file_size(szFile), 5u) << "a lost lock touched the file";
        close(fd);
        oHolder.Kill();
        int const fdWaiting = open(szFile.c_str(), O_RDWR | oRow.nWanted | O_TRUNC); // without O_NONBLOCK it waits
        EXPECT_GE(fdWaiting, 0);
        EXPECT_EQ(std::filesystem::file_size(szFile), 0u);
        close(fdWaiting);
    }
}

TEST(LockedOpen, MakesFilesWithTheirModeAndFailsAsOpenDoes) {
    TemporaryFolder oFolder;
    mode_t const nMask = umask(0);
    int const fd = open((oFolder / "new").c_str(), O_RDWR | O_CREAT | O_EXCL | O_TRUNC | O_EXLOCK | O_NONBLOCK, 0640);
    umask(nMask);
    ASSERT_GE(fd, 0);
    struct stat oStatus;
    fstat(fd, &oStatus);
    EXPECT_EQ(oStatus.st_mode & 0777, 0640u);
    EXPECT_EQ(open((oFolder / "new").c_str(), O_RDWR | O_CREAT | O_EXCL | O_EXLOCK, 0640), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(open((oFolder / "none").c_str(), O_RDWR | O_EXLOCK), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(open((oFolder / "new").c_str(), O_RDONLY | O_TRUNC | O_SHLOCK | O_NONBLOCK), -1);
    close(fd);
}
