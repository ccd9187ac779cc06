#include "files/folder_iterator.h"

#include "files/wildcard.h"
#include "tests/files/every_string.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <fnmatch.h>
#include <unistd.h>

#include <set>
#include <string>

namespace {

using Names = std::set<std::string>;

template <class Iterator, class... Arguments>
Names Listed(Arguments... szArguments) {
    Iterator oFolder;
    Names lNames;
    for (bool bAny = oFolder.Start(szArguments...); bAny; bAny = oFolder.Next())
        EXPECT_TRUE(lNames.insert(oFolder.GetName()).second) << "twice " << oFolder.GetName();
    EXPECT_STREQ(oFolder.GetName(), "");
    EXPECT_FALSE(oFolder.Next());
    return lNames;
}

} // namespace

TEST(Wildcard, MatchesWhatTheCLibraryMatches) {
    Names lNames;
    ForEachString("abA", 5, [&](std::string const& szName) { lNames.insert(szName); });
    ForEachString("aB*?", 5, [&](std::string const& szPattern) {
        for (std::string const& szName : lNames)
            ASSERT_EQ(LMatchesWildcard(szPattern.c_str(), szName.c_str()),
                      fnmatch(szPattern.c_str(), szName.c_str(), FNM_CASEFOLD | FNM_NOESCAPE) == 0)
                << szPattern << " : " << szName;
    });
}

TEST(Wildcard, AQuestionMarkIsOneCharacterHoweverLong) {
    EXPECT_TRUE(LMatchesWildcard("a?c", "a\u00E9c"));
    EXPECT_TRUE(LMatchesWildcard("*?", "\U0001F600"));
    EXPECT_FALSE(LMatchesWildcard("*??", "\U0001F600"));
    EXPECT_TRUE(LMatchesWildcard("?", "\xFF"));
}

TEST(Wildcard, NoPatternMakesItSlow) { // an exponential one would not come back
    std::string szPattern;
    while (szPattern.size() < 250)
        szPattern += "*a";
    EXPECT_FALSE(LMatchesWildcard((szPattern + "*b").c_str(), std::string(259, 'a').c_str()));
}

TEST(FolderIterator, ListsWhatMatches) {
    TemporaryFolder oFolder;
    for (char const* szName : {"notes.txt", "Notes.TXT", "abc", "ac", "__MACOSX_x", ".hidden", "a*b", "axb"})
        oFolder.Write(szName, "");
    std::filesystem::create_directory(oFolder.Path("sub"));
    symlink("nowhere", oFolder.Path("link").c_str());
    std::string const szFolder = oFolder.Path();
    auto const Match = [&](char const* szPattern) {
        return Listed<LFile::FolderIterator>(szFolder.c_str(), szPattern);
    };
    Names const lPlain{"notes.txt", "Notes.TXT", "abc", "ac", ".hidden", "a*b", "axb", "sub", "link"};
    EXPECT_EQ(Match("*.TXT"), (Names{"notes.txt", "Notes.TXT"}));
    EXPECT_EQ(Match("a?c"), Names{"abc"});
    EXPECT_EQ(Match("*"), lPlain);
    EXPECT_EQ(Match("**"), lPlain);
    EXPECT_EQ(Match(""), Names{});
    EXPECT_EQ(Listed<LFile::FolderIterator>(szFolder.c_str()), lPlain);
    Names lAll = lPlain;
    lAll.insert({".", "..", "__MACOSX_x"});
    EXPECT_EQ(Listed<LFile::FolderIteratorAllFiles>(szFolder.c_str()), lAll);
    EXPECT_EQ(Listed<LFile::FolderIterator>(oFolder.Path("a*b").c_str()), Names{"a*b"}) << "a file is itself alone";
    EXPECT_EQ(Listed<LFile::FolderIterator>(oFolder.Path("notes.txt").c_str()), Names{"notes.txt"});
    EXPECT_EQ(Listed<LFile::FolderIterator>(oFolder.Path("missing").c_str()), Names{});
    EXPECT_EQ(Listed<LFile::FolderIterator>(oFolder.Path("abc").c_str(), "*"), Names{});
}

TEST(FolderIterator, KnowsFoldersFromLinksToThem) {
    TemporaryFolder oFolder;
    std::filesystem::create_directory(oFolder.Path("sub"));
    symlink("sub", oFolder.Path("link").c_str());
    LFile::FolderIterator oIterator;
    ASSERT_TRUE(oIterator.Start(oFolder.Path().c_str(), "sub"));
    EXPECT_TRUE(oIterator.IsFolder());
    ASSERT_TRUE(oIterator.Start(oFolder.Path().c_str(), "link"));
    EXPECT_FALSE(oIterator.IsFolder());
    LFile::FolderIteratorAllFiles oBelow;
    EXPECT_FALSE(oBelow.StartBelow(oIterator));
    EXPECT_FALSE(oIterator.StartNotFollowing(oFolder.Path("link").c_str()));
    EXPECT_FALSE(oIterator.IsDotFolderOrMetadata(nullptr));
}

TEST(FolderIterator, FindsAFileOfTheCurrentFolderByItsNameAlone) {
    TemporaryFolder oFolder;
    oFolder.Write("alone.txt", "");
    auto const oBefore = std::filesystem::current_path();
    std::filesystem::current_path(oFolder.Path());
    EXPECT_EQ(Listed<LFile::FolderIterator>("alone.txt"), Names{"alone.txt"});
    std::filesystem::current_path(oBefore);
}
