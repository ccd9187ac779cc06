#include "files/path.h"

#include "tests/files/path_model.h"

#include <gtest/gtest.h>

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

struct Split {
    char const* szWhat;
    std::function<void(char*, char const*)> Do;
    std::function<std::string(std::string const&)> Model;
};

void CheckLength(std::size_t nResult, char const* szOut) {
    EXPECT_EQ(nResult, strlen(szOut));
}

Split const kSplits[] = {
    {"folder", [](char* o, char const* p) { CheckLength(LFile::_GetFolderFromPath(o, p), o); }, model::Folder},
    {"base", [](char* o, char const* p) { CheckLength(LFile::_GetBaseFolderFromPath(o, p), o); }, model::BaseFolder},
    {"file", LFile::_GetFileFromPath, model::File},
    {"name", LFile::_GetFileNameFromPath, model::FileName},
    {"extension", LFile::_GetFileExtensionFromPath, model::Extension},
    {"new extension", [](char* o, char const* p) { LFile::_ApplyNewFileExtension(o, p, ".wav"); },
     [](std::string const& sz) { return model::NewExtension(sz, ".wav"); }},
};

} // namespace

TEST(Path, SplitsEveryShortPathAsTheModelDoesAlsoInPlace) {
    model::ForEachString("a./\\", 7, [](std::string const& szPath) {
        for (Split const& oSplit : kSplits) {
            char szOut[kLNameSize];
            char szInPlace[kLNameSize];
            strcpy(szInPlace, szPath.c_str());
            oSplit.Do(szOut, szPath.c_str());
            oSplit.Do(szInPlace, szInPlace);
            ASSERT_EQ(szOut, oSplit.Model(szPath)) << oSplit.szWhat << " of " << szPath;
            ASSERT_STREQ(szInPlace, szOut) << oSplit.szWhat << " in place of " << szPath;
        }
    });
}

TEST(Path, NameTellsWhereItsExtensionWas) {
    Buffer oOut;
    EXPECT_EQ(LFile::_GetFileNameFromPath(oOut.szText, "/a/b.c.d"), 3u);
    EXPECT_EQ(LFile::_GetFileNameFromPath(oOut.szText, "/a/.profile"), 0u);
}

TEST(Path, JoinsAsTheModelDoesWhateverBufferIsTheOutput) {
    std::string const lParts[] = {"",
                                  "a",
                                  "/",
                                  "a/",
                                  "a\\",
                                  "/x/y",
                                  ".e",
                                  std::string(257, 'f'),
                                  std::string(258, 'f'),
                                  std::string(257, 'f') + "/",
                                  std::string(300, 'f'),
                                  std::string(258, 'f') + "/"};
    for (std::string const& szFolder : lParts)
        for (std::string const& szName : lParts)
            for (std::string const& szExt : lParts) {
                Buffer oOut, oFolder(szFolder), oName(szName), oExt(szExt);
                size_t const nWhole = szFolder.size() + szName.size() + szExt.size() +
                                      (!szFolder.empty() && !model::EndsWithSeparator(szFolder));
                int const nResult = LFile::_MakeFilePath(oOut.szText, szFolder.c_str(), szName.c_str(), szExt.c_str());
                ASSERT_EQ(oOut.szText, model::Join(szFolder, szName, szExt));
                ASSERT_EQ(static_cast<size_t>(nResult) < kLNameSize, szFolder.size() <= 258 && nWhole < kLNameSize);
                if (szFolder.size() > 259 || szName.size() > 259 || szExt.size() > 259)
                    continue;
                LFile::_MakeFilePath(oFolder.szText, oFolder.szText, szName.c_str(), szExt.c_str());
                LFile::_MakeFilePath(oName.szText, szFolder.c_str(), oName.szText, szExt.c_str());
                LFile::_MakeFilePath(oExt.szText, szFolder.c_str(), szName.c_str(), oExt.szText);
                ASSERT_STREQ(oFolder.szText, oOut.szText);
                ASSERT_STREQ(oName.szText, oOut.szText);
                ASSERT_STREQ(oExt.szText, oOut.szText);
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

TEST(Path, SplitsOverlongPathsWithinTheBuffer) {
    std::string const szName(255, 'n');
    for (std::string const& szPath : {std::string(400, 'x'), std::string(400, '/'), "/f/" + szName + szName + ".e",
                                      "/f/n." + std::string(400, 'e'), std::string(400, '.')})
        for (Split const& oSplit : kSplits) {
            Buffer oOut;
            oSplit.Do(oOut.szText, szPath.c_str());
            EXPECT_LT(strlen(oOut.szText), kLNameSize) << oSplit.szWhat;
        }
}

TEST(Path, CutsANewExtensionAtTheBuffersEnd) {
    Buffer oOut;
    for (std::size_t const nPath : {255, 256, 259, 300}) {
        LFile::_ApplyNewFileExtension(oOut.szText, std::string(nPath, 'x').c_str(), ".lck");
        EXPECT_EQ(oOut.szText, model::Cut(std::string(nPath, 'x') + ".lck")) << nPath;
    }
}
