#include "files/path_resolve.h"

#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <unistd.h>

TEST(PathResolve, MakesPathsAbsolute) {
    struct {
        char const *szBase, *szPath, *szOut;
    } const kRows[] = {
        {"/a/b/", "../x", "/a/x"},
        {"/a/b/", "./x", "/a/b/x"},
        {"/a/b/", "/x", "/x"},
        {"/a/b/", "C:\\x/y", "C:\\x/y"},
        {"/a/b/", "x/y:z", "/a/b/x/y:z"},
        {"/a/b/f.txt", "../x", "/a/b/x"},
        {"/a/b/c/", ".././../x", "/a/x"},
        {"/a/b/c/", "..\\.\\..\\x", "/a/x"},
        {"/a/b/", "..", "/a/b/.."},
        {"/a/b/", ".x", "/a/b/.x"},
        {"/a/b/", "./..x", "/a/b/..x"},
        {"/", "../x", "/../x"},
        {"ab", "../x", "ab/x"},
        {"", "../x", "../x"},
        {"/a/b/", "../../../x", "/a/x"},
        {"a/b/", "../x", "a/b/x"},
        {"/a/b/", "", "/a/b/"},
    };
    for (auto const& oRow : kRows) {
        char szOut[kLNameSize];
        LFile::MakeAbsoluteFilePath(szOut, oRow.szBase, oRow.szPath, "");
        EXPECT_STREQ(szOut, oRow.szOut) << oRow.szBase << " + " << oRow.szPath;
        LCopyFixed(szOut, oRow.szPath);
        LFile::MakeAbsoluteFilePath(szOut, oRow.szBase, szOut, ".e");
        EXPECT_EQ(szOut, std::string(oRow.szOut) + ".e") << "in place";
    }
}

TEST(PathResolve, FindsWhatLiesBehindTheBaseFolder) {
    struct {
        char const *szBase, *szPath;
        bool bInside;
        char const* szOut;
    } const kRows[] = {
        {"/a/b", "/a/b/c/d", true, "c/d"},
        {"/a/b/", "/a/b/c", true, "c"},
        {"/a/b", "/a/bc", false, ""},
        {"/a/b", "/a/b", true, ""},
        {"/a/b/", "/a/b", true, ""},
        {"/a/b//", "/a/b", false, ""},
        {"/a/b", "/a", false, ""},
        {"/a/b", "/A/b/c", false, ""},
        {"/a\\b", "\\a/b\\c", true, "c"},
        {"", "/x", true, "x"},
        {"", "x", false, ""},
    };
    for (auto const& oRow : kRows) {
        char szOut[kLNameSize] = "left over";
        EXPECT_EQ(LFile::GetRelativePathFromAbsolutePath(szOut, oRow.szBase, oRow.szPath), oRow.bInside);
        EXPECT_STREQ(szOut, oRow.szOut) << oRow.szBase << " : " << oRow.szPath;
        LCopyFixed(szOut, oRow.szPath);
        EXPECT_EQ(LFile::GetRelativePathFromAbsolutePath(szOut, oRow.szBase, szOut), oRow.bInside);
        EXPECT_STREQ(szOut, oRow.szOut) << "in place";
    }
    char szOut[kLNameSize];
    EXPECT_TRUE(LFile::GetRelativePathFromAbsolutePath(szOut, "/a", ("/a/" + std::string(300, 'x')).c_str()));
    EXPECT_EQ(szOut, std::string(259, 'x'));
}

TEST(PathResolve, CountsUpToTheFirstFreeName) {
    TemporaryFolder oFolder;
    char szOut[kLNameSize];
    auto const Next = [&] {
        return std::string(LFile::MakeUniqueOrderedFilePath(szOut, oFolder.Path().c_str(), "report", ".txt"));
    };
    EXPECT_EQ(Next(), oFolder.Path("report.txt"));
    oFolder.Write("report.txt", "");
    EXPECT_EQ(Next(), oFolder.Path("report_0.txt"));
    symlink("nowhere", oFolder.Path("report_0.txt").c_str()); // opening it for writing would write elsewhere
    EXPECT_EQ(Next(), oFolder.Path("report_1.txt"));
}

TEST(PathResolve, GivesNoNameRatherThanATakenOneWhenNoneFits) {
    TemporaryFolder oFolder;
    std::string const szName(259 - oFolder.Path().size() - 1, 'n'); // fills the buffer to its end
    oFolder.Write(szName, "");
    char szOut[kLNameSize];
    EXPECT_STREQ(LFile::MakeUniqueOrderedFilePath(szOut, oFolder.Path().c_str(), szName.c_str(), ""), "");
}

TEST(PathResolve, NamesTheDriveOfAPath) {
    char szOut[kLNameSize];
    LFile::GetHumanReadableDriveFromPath(szOut, "/proc/self/status");
    EXPECT_STREQ(szOut, "/proc");
    struct {
        char const *szPath, *szDrive;
    } const kMissing[] = {{"/no/such/path", "/"}, {"C:\\x", "C:\\"}, {"disk2/x", "disk2:\\"}, {"?x", ""}, {"", ""}};
    for (auto const& oRow : kMissing) {
        LFile::GetHumanReadableDriveFromPath(szOut, oRow.szPath);
        EXPECT_STREQ(szOut, oRow.szDrive) << oRow.szPath;
    }
}
