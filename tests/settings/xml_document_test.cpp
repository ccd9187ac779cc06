#include "platform/testing/machine.h"
#include "settings/xml_document.h"
#include "tests/files/file_call_hooks.h"
#include "tests/harness/lock_holder.h"
#include "tests/harness/temporary_folder.h"
#include "tests/settings/xml_progress.h"
#include "tests/settings/xml_shown.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <random>
#include <string>

namespace {

using namespace std::string_literals;

// The result, the tree and what the error buffer says.
std::string Loaded(std::string const& szPath, int nFirstYes = 1000) {
    AskCounter oProgress(nFirstYes, 1000);
    LXMLDocument oDocument;
    char szError[kLNameSize] = "left over";
    int const nResult = oDocument.LoadFromFile(oProgress, szPath.c_str(), szError);
    return std::to_string(nResult) + " " + ShownChildren(oDocument) + " ! " + szError;
}

// A tree of elements that hold elements or one text, in any bytes that come back as they are.
class RandomTree {
public:
    explicit RandomTree(unsigned nSeed) : oRandom(nSeed) {}

    void Fill(LXMLElement& oParent, int nDepth) {
        for (size_t n = Below(5); n > 0; --n) {
            std::string const szName = "e" + std::to_string(Below(50));
            LXMLElement& oChild = *oParent.AddElement(szName.c_str());
            for (size_t nAttributes = Below(4); nAttributes > 0; --nAttributes)
                oChild.GetAttributes().Set("n" + std::to_string(Below(9)), Text() + ".");
            if (Below(3) == 0)
                oParent.SetString(szName.c_str(), Text().c_str()); // of the first of that name
            else if (nDepth > 0 && !oChild.GetFirstChild())
                Fill(oChild, nDepth - 1);
        }
    }

private:
    size_t Below(size_t n) { return oRandom() % n; }
    std::string Text() {
        std::string const szBytes = "ab<>&\"'=/?!;[]- \t\n\xC3\xA9\x01";
        std::string szText = "x";
        for (size_t n = Below(12); n > 0; --n)
            szText += szBytes[Below(szBytes.size())];
        return szText;
    }
    std::mt19937 oRandom;
};

} // namespace

TEST(XMLDocument, LoadsFilesOfEveryBeginning) {
    TemporaryFolder const oFolder;
    struct {
        std::string szBytes, szLoaded;
    } const kRows[] = {
        {"", "0  ! "},
        {"<", "0  ! Ln 1, Col 2: Misplaced < without name. Use &lt; instead of < if appropriate."},
        {"<a", "0 a ! Ln 1, Col 3: Tag <a> does not have a closing '>'"},
        {"a&b",
         "0 'a' ! Ln 1, Col 4: Strings starting with an ampersand (&) must end with a semicolon (;). Either replace "
         "the '&' with '&amp;' or add a ';' at the end of the control string."},
        {"\xEF\xBB\xBF", "0  ! "},
        {"\xEF\xBB\xBF<a/>", "0 a ! "},
        {"\xFF\xFE<\0a\0/\0>\0"s, "0 a ! "},
        {"\xFE\xFF\0<\0a\0>\x04\x16\0<\0/\0a\0>"s, "0 a{'\u0416'} ! "},
        {"<a/>\0<b/>"s, "0 a ! "},
    };
    for (auto const& oRow : kRows)
        EXPECT_EQ(Loaded(oFolder.Write("file.xml", oRow.szBytes)), oRow.szLoaded) << oRow.szBytes;
}

TEST(XMLDocument, SaysWhyAFileIsNotLoaded) {
    TemporaryFolder const oFolder;
    std::string const szPath = oFolder.Write("file.xml", "<a/>"), szNone = oFolder.Path(std::string(255, 'n'));
    EXPECT_EQ(Loaded(szNone), "2  ! " + ("File does not exist: " + szNone).substr(0, 259));
    EXPECT_EQ(Loaded(oFolder.Path()), "2  ! Cannot open xml file: " + oFolder.Path());
    EXPECT_EQ(Loaded(szPath, 1), "1  ! left over"); // before the file is read
    EXPECT_EQ(Loaded(szPath, 2), "1  ! left over"); // and behind that
    EXPECT_EQ(Loaded(szPath, 3), "1 a ! ");

    {
        LockHolder const oReader(szPath, LOCK_SH);
        EXPECT_EQ(Loaded(szPath), "0 a ! ");
    }
    LockHolder const oWriter(szPath, LOCK_EX);
    HookScope oHooks;
    oHooks->Sleep = [](long) {};
    EXPECT_EQ(Loaded(szPath), "2  ! Cannot open xml file: " + szPath);
}

TEST(XMLDocument, TwentyTimesTheFileMustBeBelowTheFreeHeap) {
    TemporaryFolder const oFolder;
    std::string const szPath = oFolder.Write("file.xml", "<a/>");
    rlimit oBefore;
    ASSERT_EQ(getrlimit(RLIMIT_DATA, &oBefore), 0);
    rlim_t const nLimit = std::min(rlim_t{1} << 50, oBefore.rlim_max); // far above what the test takes
    rlimit const oNew{nLimit, oBefore.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_DATA, &oNew), 0);
    // The figure has no sign: a process past its limit, as one that only reserves much is, still loads.
    for (auto const& [nLeft, bLoads] : {std::pair{81, true}, {80, false}, {0, false}, {-1, true}}) {
        PlatformMachine oMachine;
        oMachine.nVirtualSize = nLimit - static_cast<rlim_t>(nLeft);
        PlatformSetMachine(oMachine);
        EXPECT_EQ(Loaded(szPath), bLoads ? "0 a ! " : "2  ! Not enough memory available to load " + szPath) << nLeft;
    }
    PlatformResetMachine();
    setrlimit(RLIMIT_DATA, &oBefore);
}

TEST(XMLDocument, WritesOnlyWhereNobodyElseHoldsTheFile) {
    TemporaryFolder const oFolder;
    std::string const szText = "<?xml version=\"1.0\"?>\n<S>\n\t<K value=\"v\"/>\n</S>\n<T>t</T>\n";
    std::string const szPath = oFolder.Write("file.xml", szText);
    AskCounter oProgress(0);
    LXMLDocument oDocument;
    char szError[kLNameSize];
    ASSERT_EQ(oDocument.LoadFromFile(oProgress, szPath.c_str(), szError), LXMLDocument::kLoaded);
    std::string const szNew = oFolder.Path("new.xml");
    oDocument.WriteToFile(szNew.c_str());
    EXPECT_EQ(oFolder.Read("new.xml"), szText);
    struct stat oStat;
    mode_t const nMask = umask(0);
    umask(nMask);
    ASSERT_EQ(stat(szNew.c_str(), &oStat), 0);
    EXPECT_EQ(oStat.st_mode & 0777, 0666 & ~nMask);

    oDocument.DeleteElement("S");
    for (int const nLock : {LOCK_SH, LOCK_EX}) {
        LockHolder const oOther(szPath, nLock);
        oDocument.WriteToFile(szPath.c_str());
        EXPECT_EQ(oFolder.Read("file.xml"), szText);
    }
    oDocument.WriteToFile(szPath.c_str());
    EXPECT_EQ(oFolder.Read("file.xml"), "<?xml version=\"1.0\"?>\n<T>t</T>\n");
    oDocument.WriteToFile(oFolder.Path("none/file.xml").c_str());
    LXMLDocument().WriteToFile(szPath.c_str());
    EXPECT_EQ(oFolder.Read("file.xml"), "");
}

TEST(XMLDocument, WhatIsSavedComesBack) {
    TemporaryFolder const oFolder;
    std::string const szPath = oFolder.Path("file.xml");
    for (unsigned nSeed = 0; nSeed < 100; ++nSeed) {
        LXMLDocument oTree, oPlain, oFormatted;
        RandomTree(nSeed).Fill(oTree, 6);
        LStringLong szText;
        for (auto const* p = oTree.GetFirstChild(); p; p = p->GetNext())
            p->SaveToBufferNoFormatting(szText);
        char szError[kLNameSize] = "";
        LXMLLoader oLoader{.szText = szText.GetString(), .szError = szError};
        oPlain.LoadData(oLoader);
        EXPECT_EQ(ShownChildren(oPlain), ShownChildren(oTree)) << nSeed;
        EXPECT_STREQ(szError, "");

        oTree.WriteToFile(szPath.c_str());
        std::string const szWritten = oFolder.Read("file.xml");
        AskCounter oProgress(0);
        oFormatted.LoadFromFile(oProgress, szPath.c_str(), szError);
        EXPECT_STREQ(szError, "");
        oFormatted.WriteToFile(szPath.c_str());
        EXPECT_EQ(oFolder.Read("file.xml"), szWritten) << nSeed;
    }
}
