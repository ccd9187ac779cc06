#include "files/text_file.h"

#include "tests/files/file_call_hooks.h"
#include "tests/harness/lock_holder.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
#include <string>

namespace {

using namespace std::string_literals;

using Load = bool (*)(char const*, LStringLongTemplate<char>&) noexcept;

// The text, or "false" and an empty one.
std::string Loaded(Load LoadText, std::string const& szPath) {
    LStringLong szText;
    szText.Set("left over");
    bool const bLoaded = LoadText(szPath.c_str(), szText);
    EXPECT_EQ(strlen(szText.GetString()) <= szText.GetLength(), true);
    return bLoaded ? std::string(szText.View()) : "false" + std::string(szText.View());
}

std::string Attribute(std::string const& szPath) {
    char szValue[64];
    ssize_t const nLength = getxattr(szPath.c_str(), "com.apple.TextEncoding", szValue, sizeof szValue, 0, 0);
    return nLength < 0 ? "" : std::string(szValue, static_cast<size_t>(nLength));
}

LStringLong Long(std::string const& szText) {
    LStringLong szLong;
    szLong.Set(szText);
    return szLong;
}

} // namespace

TEST(TextFile, EachLoadReadsItsForm) {
    std::string const szLE = "\xFF\xFE", szBE = "\xFE\xFF", szMark = "\uFEFF";
    struct {
        std::string szBytes, szUTF16, szUnicode, szAuto;
    } const kRows[] = {
        {"", "", "", ""},
        {"a", "", "", "a"},
        {"ab", "\u6261", "\u6261", "ab"},
        {"a\0b"s, "a", "a", "a\0b"s},
        {szLE + "a\0b\0c\0"s, szMark + "abc", "abc", "abc"},
        {szBE + "\0a\0b\0c"s, "\uFFFE\u6100\u6200\u6300", "abc", "abc"},
        {"\xEF\xBB\xBF\xD0\xB6", "\uBBEF\uD0BF", "\uBBEF\uD0BF", "\u0436"},
        {"\xEF\xBB", "\uBBEF", "\uBBEF", "\xEF\xBB"},
        {"\xEF\xBB\xBF", "\uBBEF", "\uBBEF", ""},
        {szLE, szMark, "", ""},
        {szBE, "\uFFFE", "", ""},
        {szLE + "a", szMark, "", "a"}, // an odd byte at the end
        {szBE + "a", "\uFFFE", "", "\u6100"},
        {szLE + "a\0b"s, szMark + "a", "a", "ab"},
        {szLE + "\x3D\xD8\0\xDE\x3D\xD8"s, szMark + "\U0001F600\uFFFD", "\U0001F600\uFFFD", "\U0001F600\uFFFD"},
        {szLE + "a\0\0\0b\0"s, szMark + "a", "a", "a"}, // a zero unit ends it
    };
    TemporaryFolder oFolder;
    for (auto const& oRow : kRows) {
        std::string const szPath = oFolder.Write("text", oRow.szBytes);
        EXPECT_EQ(Loaded(LLoadText, szPath), oRow.szBytes);
        EXPECT_EQ(Loaded(LLoadSharedText, szPath), oRow.szBytes);
        EXPECT_EQ(Loaded(LLoadTextAsUTF16, szPath), oRow.szUTF16);
        EXPECT_EQ(Loaded(LLoadTextUnicode, szPath), oRow.szUnicode);
        EXPECT_EQ(Loaded(LLoadTextAutoChar, szPath), oRow.szAuto) << "row " << &oRow - kRows;
    }
}

TEST(TextFile, WhatCannotBeLoadedLeavesAnEmptyText) {
    TemporaryFolder oFolder;
    std::string const szPipe = oFolder.Path("pipe"), szLarge = oFolder.Write("large", "");
    mkfifo(szPipe.c_str(), 0600);
    ASSERT_EQ(truncate(szLarge.c_str(), 3'000'000'001), 0); // a hole; no such memory is asked for
    for (Load const LoadText : {LLoadText, LLoadTextAsUTF16, LLoadTextUnicode, LLoadTextAutoChar})
        for (std::string const& szPath : {oFolder.Path("missing"), oFolder.Path(), szPipe, szLarge, ""s})
            EXPECT_EQ(Loaded(LoadText, szPath), "false") << szPath;
    EXPECT_EQ(Loaded(LLoadSharedText, oFolder.Path()), "false");
}

TEST(TextFile, SavesTruncateAndAppendAndMarkTheFile) {
    TemporaryFolder oFolder;
    std::string const szPath = oFolder.Path("text");
    EXPECT_TRUE(LSaveText(szPath.c_str(), "long old text"));
    EXPECT_TRUE(LSaveText(szPath.c_str(), Long("a\0b"s)));
    EXPECT_EQ(Loaded(LLoadText, szPath), "a\0b"s);
    EXPECT_TRUE(LSaveAppendText(szPath.c_str(), "c"));
    EXPECT_TRUE(LSaveAppendText(szPath.c_str(), Long("d")));
    EXPECT_TRUE(LSaveAppendText(szPath.c_str(), LStringLong()));
    EXPECT_EQ(oFolder.Read("text"), "a\0bcd"s);
    EXPECT_EQ(Attribute(szPath), "utf-8;134217984");
    EXPECT_TRUE(LSaveText(szPath.c_str(), LStringLong()));
    EXPECT_EQ(oFolder.Read("text"), "");
    LSaveTextAsUnicodeBOM(oFolder.Path("wide").c_str(), Long("A\U0001F600"));
    EXPECT_EQ(oFolder.Read("wide"), "\xFF\xFE\x41\0\x3D\xD8\0\xDE"s);
    EXPECT_EQ(Attribute(oFolder.Path("wide")), "");
    EXPECT_FALSE(LSaveText(oFolder.Path("no/such/folder").c_str(), "x"));
    EXPECT_FALSE(LSaveText("/dev/null", "text")) << "a device has no attributes";
}

TEST(TextFile, BytesMoveInPiecesAndThroughInterruptions) {
    TemporaryFolder oFolder;
    std::string const szPath = oFolder.Path("text"), szText(1000, 'x');
    HookScope oHooks;
    int nCall = 0;
    oHooks->Transfer = [&](size_t nBytes) -> ssize_t {
        return ++nCall % 2 ? -EINTR : static_cast<ssize_t>(std::min<size_t>(nBytes, 7));
    };
    LSaveText(szPath.c_str(), szText.c_str());
    EXPECT_EQ(Loaded(LLoadText, szPath), szText);
    EXPECT_GT(nCall, 500);
    oHooks->Transfer = [&](size_t) -> ssize_t { return -EIO; };
    EXPECT_EQ(Loaded(LLoadText, szPath), "false");
}

// While another process holds the file: what each call makes of it, and how long it waits.
TEST(TextFile, WaitsForTheLockAndGivesUp) {
    std::vector<long> const lLoadPauses{157, 314, 628, 1256, 2512}, lSavePauses{16, 32, 64, 128, 256};
    struct {
        char const* szWhat;
        int nLock;
        std::vector<long> lPauses;
        std::function<bool(char const*)> Call;
        bool bResult;
    } const kRows[] = {
        {"load, exclusive", LOCK_EX, lLoadPauses, [](char const* p) { return Loaded(LLoadText, p) == "old"; }, false},
        {"load, shared", LOCK_SH, {}, [](char const* p) { return Loaded(LLoadText, p) == "old"; }, true},
        {"auto", LOCK_EX, lLoadPauses, [](char const* p) { return Loaded(LLoadTextAutoChar, p) == "old"; }, false},
        {"UTF-16", LOCK_EX, lLoadPauses, [](char const* p) { return Loaded(LLoadTextUnicode, p) != "false"; }, false},
        {"unlocked", LOCK_EX, {}, [](char const* p) { return Loaded(LLoadSharedText, p) == "old"; }, true},
        {"save", LOCK_SH, lSavePauses, [](char const* p) { return LSaveText(p, "new"); }, true},
        {"append", LOCK_EX, lSavePauses, [](char const* p) { return LSaveAppendText(p, "new"); }, true},
        {"wide", LOCK_EX, lSavePauses, [](char const* p) { return LSaveTextAsUnicodeBOM(p, Long("new")), true; }, true},
    };
    TemporaryFolder oFolder;
    for (auto const& oRow : kRows) {
        std::string const szPath = oFolder.Write(oRow.szWhat, "old");
        LockHolder oHolder(szPath, oRow.nLock);
        std::vector<long> lPauses;
        HookScope oHooks;
        oHooks->Sleep = [&](long nMilliseconds) { lPauses.push_back(nMilliseconds); };
        EXPECT_EQ(oRow.Call(szPath.c_str()), oRow.bResult) << oRow.szWhat;
        EXPECT_EQ(lPauses, oRow.lPauses) << oRow.szWhat;
        EXPECT_EQ(oFolder.Read(oRow.szWhat), "old") << oRow.szWhat;
        bool const bMarks = oRow.szWhat == "save"s || oRow.szWhat == "append"s;
        EXPECT_EQ(Attribute(szPath), bMarks ? "utf-8;134217984" : "") << oRow.szWhat;
    }
}

TEST(TextFile, GoesOnWhenTheHolderDies) {
    TemporaryFolder oFolder;
    std::string const szPath = oFolder.Write("text", "old");
    for (bool const bSave : {false, true}) {
        LockHolder oHolder(szPath, LOCK_EX);
        int nPauses = 0;
        HookScope oHooks;
        oHooks->Sleep = [&](long) {
            if (++nPauses == 3)
                oHolder.Kill();
        };
        if (bSave)
            LSaveText(szPath.c_str(), "new");
        EXPECT_EQ(bSave ? oFolder.Read("text") : Loaded(LLoadText, szPath), bSave ? "new" : "old");
        EXPECT_EQ(nPauses, 3);
    }
}
