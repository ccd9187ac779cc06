#include "files/file_name.h"

#include "files/folder.h"
#include "files/mime_type.h"
#include "tests/files/every_string.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

TEST(FileName, RefusesWithTheMessageOfItsFault) {
    struct {
        std::string szName;
        int nFault;
        char const* szMessage;
    } const kRows[] = {
        {"report.txt", 0, ""},
        {"", 1, "File name is blank. Please provide a file name."},
        {std::string(259, 'x'), 0, ""},
        {std::string(260, 'x'), 2, "File name may not be more than 260 characters long"},
        {std::string(260, '.'), 2, "File name may not be more than 260 characters long"},
        {"trailing space ", 0, ""},
        {"trailing.", 0, ""},
        {".hidden", 4, "File name may not start with a period"},
        {"a\x1f:", 5, "File name may not contain control characters"},
        {"a:\x1f", 6, "File name may not contain characters : / \\"},
        {"a/b", 6, "File name may not contain characters : / \\"},
        {"a\\b", 6, "File name may not contain characters : / \\"},
        {"\xD0\xBF\x7f", 0, ""},
    };
    for (auto const& oRow : kRows) {
        char szMessage[kLNameSize] = "left over";
        EXPECT_EQ(LFileOrFolderNameValidate(oRow.szName.c_str()), oRow.nFault) << oRow.szName;
        EXPECT_EQ(LFile::IsFileValid(oRow.szName.c_str(), szMessage), oRow.nFault == 0);
        EXPECT_STREQ(szMessage, oRow.szMessage);
        EXPECT_EQ(LFile::IsFileValid(oRow.szName.c_str(), nullptr), oRow.nFault == 0);
    }
}

TEST(FileName, ChecksEveryPartOfAFolder) {
    struct {
        std::string szFolder;
        char const* szMessage;
    } const kRows[] = {
        {"/", ""},
        {"/a/b", ""},
        {"/a/b/", ""},
        {"/a\\b\\", ""},
        {"", "Folder must not be empty"},
        {"/" + std::string(258, 'x'), ""},
        {"/" + std::string(259, 'x'), "Folder must be less than 260 character long"},
        {"a/b", "Folder must begin with /"},
        {"\\a", "Folder must begin with /"},
        {"/a//b", "Folder name must not be empty"},
        {"//", "Folder name must not be empty"},
        {"/a/.b", "Folder name must not start with a period"},
        {"/a/b\n", "Folder name must not contain control characters"},
        {"/a/b:c/d", "Folder component must not contain character :"},
    };
    for (auto const& oRow : kRows) {
        char szMessage[kLNameSize] = "left over";
        EXPECT_EQ(LFile::IsFolderValid(oRow.szFolder.c_str(), szMessage), !*oRow.szMessage) << oRow.szFolder;
        EXPECT_STREQ(szMessage, oRow.szMessage) << oRow.szFolder;
        EXPECT_EQ(LFile::IsFolderValid(oRow.szFolder.c_str(), nullptr), !*oRow.szMessage);
    }
}

// What cleaning leaves is a valid name or nothing, and a valid name is left as it is.
TEST(FileName, CleansEveryShortNameIntoAValidOne) {
    ForEachString("a.:/\\\x01 ", 5, [](std::string const& szName) {
        char szOut[kLNameSize];
        bool const bAny = LFile::PreprocessName(szName.c_str(), szOut);
        ASSERT_EQ(LFileOrFolderNameValidate(szOut), bAny ? kLNameValid : kLNameEmpty) << szName;
        if (LFileOrFolderNameValidate(szName.c_str()) == kLNameValid) {
            ASSERT_EQ(szOut, szName);
        }
    });
    char szLong[400];
    memset(szLong, 'x', sizeof szLong);
    szLong[399] = '\0';
    EXPECT_TRUE(LFile::PreprocessName(szLong, szLong));
    EXPECT_EQ(strlen(szLong), 259u);
}

TEST(FileName, EscapesForAShellAndNeverHalf) {
    char szOut[kLNameSize] = "say \"`hi`\"\\";
    EXPECT_EQ(LFile::EscapeFilePath(szOut, szOut), 15u);
    EXPECT_STREQ(szOut, "say \\\"\\`hi\\`\\\"\\");
    std::string const szFull(258, 'x');
    EXPECT_EQ(LFile::EscapeFilePath((szFull + "\"y").c_str(), szOut), 258u);
    EXPECT_EQ(szOut, szFull);
    EXPECT_EQ(LFile::EscapeFilePath((szFull + "yz").c_str(), szOut), 259u);
}

TEST(FileName, KnowsMimeTypesInAnyLetterCase) {
    EXPECT_STREQ(LFile::GetMimeTypeFromFileExtension(".JPG"), "image/jpg");
    EXPECT_STREQ(LFile::GetMimeTypeFromFileExtension(".jpeg"), "image/jpeg");
    EXPECT_STREQ(LFile::GetMimeTypeFromFileExtension(".Midi"), "audio/mid");
    for (char const* szExt : {"", "txt", ".txtx", ".tx"})
        EXPECT_STREQ(LFile::GetMimeTypeFromFileExtension(szExt), "application/octet-stream") << szExt;
}

TEST(Folder, MakesTheWholeTreeAndNothingForAPathThatIsTooLong) {
    TemporaryFolder oFolder;
    EXPECT_TRUE(LFile::CreateFolderTree(oFolder.Path("a/b/c").c_str()));
    EXPECT_TRUE(LFile::FolderExists(oFolder.Path("a/b/c").c_str()));
    EXPECT_FALSE(LFile::CreateFolderTree(oFolder.Path("a/b/c").c_str())); // is there already
    oFolder.Write("file", "");
    EXPECT_FALSE(LFile::CreateFolderTree(oFolder.Path("file/x").c_str()));
    EXPECT_FALSE(LFile::CreateFolderTree(""));
    EXPECT_FALSE(
        LFile::CreateFolderTree(oFolder.Path("new/" + std::string(200, 'x') + "/" + std::string(60, 'y')).c_str()));
    EXPECT_FALSE(oFolder.Has("new"));
}
