#include "files/path.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

// A buffer of 260 bytes between two guards, which an overrun would change.
struct Buffer {
    char szBefore[8] = "guard";
    char szText[kLNameSize];
    char szAfter[8] = "guard";

    explicit Buffer(std::string const& szStart = "left over") { LCopyFixed(szText, szStart.c_str()); }
    ~Buffer() {
        EXPECT_STREQ(szBefore, "guard");
        EXPECT_STREQ(szAfter, "guard");
    }
};

void CheckLength(std::size_t nResult, char const* szOut) {
    EXPECT_EQ(nResult, strlen(szOut));
}

using Split = void (*)(char*, char const*);

// In the order of the columns below.
constexpr Split kSplits[] = {
    [](char* o, char const* p) { CheckLength(LFile::_GetFolderFromPath(o, p), o); },
    [](char* o, char const* p) { CheckLength(LFile::_GetBaseFolderFromPath(o, p), o); },
    [](char* o, char const* p) { LFile::_GetFileFromPath(o, p); },
    [](char* o, char const* p) { LFile::_GetFileNameFromPath(o, p); },
    [](char* o, char const* p) { LFile::_GetFileExtensionFromPath(o, p); },
    [](char* o, char const* p) { LFile::_ApplyNewFileExtension(o, p, ".wav"); },
};
constexpr std::size_t kSplitCount = std::size(kSplits);

} // namespace

TEST(Path, TakesPathsApartAlsoInPlace) {
    struct {
        char const* szPath;
        char const* szOut[kSplitCount]; // folder, base folder, file, name, extension, with a new extension
    } const kRows[] = {
        {"", {"", "", "", "", "", ".wav"}},
        {"c", {"", "c", "c", "c", "", "c.wav"}},
        {"c.", {"", "c.", "c.", "c", ".", "c.wav"}},
        {"/", {"/", "/", "", "", "", "/.wav"}},
        {"\\", {"", "\\", "", "", "", "\\.wav"}},
        {"//", {"/", "/", "", "", "", "//.wav"}},
        {"/c", {"/", "/c", "c", "c", "", "/c.wav"}},
        {"a/c", {"a", "a/c", "c", "c", "", "a/c.wav"}},
        {"a/", {"a", "a", "", "", "", "a/.wav"}},
        {"/a/b.c.d", {"/a", "/a", "b.c.d", "b.c", ".d", "/a/b.c.wav"}},
        {"/a.b/c", {"/a.b", "/a.b", "c", "c", "", "/a.b/c.wav"}},
        {"/a/.profile", {"/a", "/a", ".profile", ".profile", ".profile", "/a/.wav"}},
        {".e", {"", ".e", ".e", ".e", ".e", ".e.wav"}},
        {"/Volumes/Disk/x", {"/Volumes/Disk", "/Volumes", "x", "x", "", "/Volumes/Disk/x.wav"}},
        {"C:\\dir\\b.c", {"C:\\dir", "C:", "b.c", "b", ".c", "C:\\dir\\b.wav"}},
        {"/a\\b/", {"/a\\b", "/a", "", "", "", "/a\\b/.wav"}},
    };
    for (auto const& oRow : kRows)
        for (std::size_t n = 0; n < kSplitCount; ++n) {
            Buffer oOut, oInPlace(oRow.szPath);
            kSplits[n](oOut.szText, oRow.szPath);
            kSplits[n](oInPlace.szText, oInPlace.szText);
            EXPECT_STREQ(oOut.szText, oRow.szOut[n]) << "column " << n << " of " << oRow.szPath;
            EXPECT_STREQ(oInPlace.szText, oRow.szOut[n]) << "column " << n << " in place of " << oRow.szPath;
        }
    Buffer oOut;
    EXPECT_EQ(LFile::_GetFileNameFromPath(oOut.szText, "/a/b.c.d"), 3u);
    EXPECT_EQ(LFile::_GetFileNameFromPath(oOut.szText, "/a/.profile"), 0u);
}

TEST(Path, CutsWhatDoesNotFit) {
    std::string const sz255(255, 'n'), sz259(259, 'n');
    struct {
        std::size_t nSplit;
        std::string szPath, szOut;
    } const kRows[] = {
        {0, "/" + sz259 + "/x", "/"},
        {1, sz259 + "x", sz259},
        {2, "/" + sz259 + "x", sz259},
        {3, sz259 + ".x", sz259},
        {4, "." + sz259, "." + sz259.substr(1)},
        {5, sz255, sz255 + ".wav"},
        {5, sz255 + "n", sz255 + "n.wa"},
        {5, sz259, sz259},
        {5, sz259 + ".e", sz259},
    };
    for (auto const& oRow : kRows) {
        Buffer oOut;
        kSplits[oRow.nSplit](oOut.szText, oRow.szPath.c_str());
        EXPECT_EQ(oOut.szText, oRow.szOut) << "row " << &oRow - kRows;
    }
}

TEST(Path, JoinsWhateverBufferIsTheOutput) {
    std::string const sz257(257, 'f');
    struct {
        std::string szFolder, szName, szExt, szOut;
    } const kRows[] = {
        {"/a", "b", ".txt", "/a/b.txt"},
        {"/a/", "b", ".txt", "/a/b.txt"},
        {"/a\\", "b", "", "/a\\b"},
        {"", "b", ".txt", "b.txt"},
        {"/a", "", "", "/a/"},
        {"/a", "/b", "", "/a//b"},
        {"", "", "", ""},
        {sz257, "b", "", sz257 + "/b"},
        {sz257, "b", ".txt", sz257 + "/b"},
        {sz257 + "/", "b", ".txt", sz257 + "/b"},
        {sz257 + "f", "b", "", sz257 + "f/"},
        {sz257 + "ff", "b", "", sz257 + "f/"},
        {"a", sz257, ".txt", "a/" + sz257},
        {"a", "b", sz257, "a/b" + sz257.substr(1)},
    };
    for (auto const& oRow : kRows) {
        Buffer oOut, oFolder(oRow.szFolder), oName(oRow.szName), oExt(oRow.szExt);
        char const *const szFolder = oRow.szFolder.c_str(), *const szName = oRow.szName.c_str(),
                          *const szExt = oRow.szExt.c_str();
        bool const bWhole = oRow.szOut.ends_with(oRow.szName + oRow.szExt);
        EXPECT_EQ(LFile::_MakeFilePath(oOut.szText, szFolder, szName, szExt) < static_cast<int>(kLNameSize), bWhole);
        LFile::_MakeFilePath(oFolder.szText, oFolder.szText, szName, szExt);
        LFile::_MakeFilePath(oName.szText, szFolder, oName.szText, szExt);
        LFile::_MakeFilePath(oExt.szText, szFolder, szName, oExt.szText);
        for (Buffer const* const pOut : {&oOut, &oFolder, &oName, &oExt})
            EXPECT_EQ(pOut->szText, oRow.szOut) << "row " << &oRow - kRows;
    }
}

TEST(Path, FormatsTheNameThatItJoins) {
    Buffer oOut;
    LFile::MakeFilePathF(oOut.szText, "/a", "%s_%03d.txt", "b", 7);
    EXPECT_STREQ(oOut.szText, "/a/b_007.txt");
}

TEST(Path, SecureJoinLetsNoPartLeaveTheFolder) {
    struct {
        char const *szFolder, *szName, *szExt, *szOut;
    } const kRows[] = {
        {"docs", "name", ".txt", "docs/name.txt"},
        {"../../docs", "name", "", "docs/name"},
        {"..", "name", "", "name"},
        {"/etc/../docs", "x", "", "docs/x"},
        {"a.b", "x", "", "b/x"},
        {"docs", "../../etc/passwd", "", "docs/passwd"},
        {"docs", "..\\x", "", "docs/x"},
        {"docs", "x", "a.b.txt", "docs/x.txt"},
        {"docs", "x", "/../txt", "docs/xtxt"},
        {"docs", "x", "txt", "docs/xtxt"},
        {"docs", "x", ".t/y", "docs/xy"},
        {"docs/.", "x", "", "x"},
    };
    for (auto const& oRow : kRows) {
        Buffer oOut;
        LFile::_MakeFilePathSecure(oOut.szText, oRow.szFolder, oRow.szName, oRow.szExt);
        EXPECT_STREQ(oOut.szText, oRow.szOut) << oRow.szFolder << " + " << oRow.szName << " + " << oRow.szExt;
    }
}
