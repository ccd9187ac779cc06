#include "settings/plist.h"

#include "base/cf_ref.h"
#include "platform/testing/objects.h"
#include "settings/cf_string.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using Value = LCFOwner<void const*>;

template <class From>
Value Make(From const& oFrom) {
    void const* pValue = nullptr;
    EXPECT_TRUE(LPlist::ConvertToValue(oFrom, pValue));
    return Value(pValue);
}

Value Number(double f) {
    return Value(CFNumberCreate(nullptr, kCFNumberDoubleType, &f));
}

template <class To>
std::string Show(void const* pValue) {
    To oTo{};
    return LPlist::ConvertFromValue(pValue, oTo) ? std::to_string(oTo) : "no";
}

// What each conversion makes of a value: bool, int, float, text, dictionary.
std::string ShowAll(void const* pValue) {
    LStringLong szText;
    LPlist oList;
    std::string szAll = Show<bool>(pValue) + " " + Show<int>(pValue) + " " + Show<float>(pValue) + " ";
    szAll += LPlist::ConvertFromValue(pValue, szText) ? szText.GetString() : "no";
    return szAll + (LPlist::ConvertFromValue(pValue, oList) ? " " + std::to_string(oList.GetSize()) : " no");
}

struct ListTest : testing::Test {
    ~ListTest() override { EXPECT_EQ(nBefore, PlatformCountLiveObjects()) << "objects leaked"; }
    long const nBefore = PlatformCountLiveObjects();
};

using Plists = ListTest;
using CFStrings = ListTest;

} // namespace

TEST_F(Plists, ConvertEachKindOfValueAndNoOther) {
    LPlist oEmpty;
    EXPECT_TRUE(oEmpty.CreateFromDictionary(static_cast<CFDictionaryRef>(
        Value(CFDictionaryCreate(nullptr, nullptr, nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                 &kCFTypeDictionaryValueCallBacks))
            .Get())));
    LStringLong szLong;
    szLong.Set("grünes Licht");
    struct {
        Value oValue;
        char const* szShown;
    } const lCases[] = {
        {Make(true), "1 no no no no"},
        {Make(-7), "no -7 -7.000000 no no"},
        {Make(1.5f), "no 1 1.500000 no no"},
        {Make("text"), "no no no text no"},
        {Make(szLong), "no no no grünes Licht no"},
        {Make(oEmpty), "no no no no 0"},
        {Make(std::numeric_limits<int>::min()), "no -2147483648 -2147483648.000000 no no"},
        {Number(0.1), "no 0 0.100000 no no"},
        {Number(2147483647.5), "no 2147483647 2147483648.000000 no no"},
        {Number(2147483648.0), "no no 2147483648.000000 no no"},
        {Number(std::nan("")), "no no nan no no"},
        {Value(), "no no no no no"},
    };
    for (auto const& oCase : lCases)
        EXPECT_EQ(oCase.szShown, ShowAll(oCase.oValue.Get()));
    void const* pUntouched = &szLong;
    EXPECT_FALSE(LPlist::ConvertToValue(static_cast<char const*>(nullptr), pUntouched));
    EXPECT_FALSE(LPlist::ConvertToValue(LPlist(), pUntouched));
    EXPECT_EQ(&szLong, pUntouched);
    char sz[] = "0123456789";
    EXPECT_TRUE(LPlist::ConvertFromValue(Make("whole").Get(), sz));
    EXPECT_STREQ("whole", sz);
}

TEST_F(Plists, ComeFromFilesAndGoBackWhole) {
    TemporaryFolder const oFolder;
    std::string const szPath = oFolder / "list.plist", szOdd = oFolder / "grün %20 #.plist";
    auto const Write = [&](std::string const& szText) { std::ofstream(szPath) << szText; };
    LPlist oList;
    unsigned long nSize = 99;
    void const* pValue = nullptr;
    EXPECT_FALSE(oList.CreateFromFile(szPath.c_str()) || oList.WriteToFile(szPath.c_str()));
    Write("<plist><dict><key>list</key><array><true/><true/></array><key>ü</key><string>v</string></dict></plist>");
    ASSERT_TRUE(oList.CreateFromFile(szPath.c_str()));
    for (char const* szBad : {"<plist><array/></plist>", "bplist00", ""}) { // what is held stays
        Write(szBad);
        EXPECT_FALSE(oList.CreateFromFile(szPath.c_str())) << szBad;
        EXPECT_EQ(2u, oList.GetSize());
    }
    EXPECT_TRUE(oList.GetValueArraySize("list", nSize) && nSize == 2);
    EXPECT_FALSE(oList.GetValueArraySize("ü", nSize) || oList.GetValueArraySize("none", nSize));
    EXPECT_FALSE(oList.TestKeyExists("none") || oList.GetValue("none", pValue) || oList.TestKeyExists(nullptr));
    EXPECT_TRUE(oList.GetValue("ü", pValue) && oList.TestValueExists(Make("v").Get()));
    EXPECT_FALSE(oList.TestValueExists(Make("w").Get()));
    LPlist oCopy;
    EXPECT_TRUE(LPlist::ConvertFromValue(Make(oList).Get(), oCopy));
    oList.RemoveValue("ü");
    EXPECT_TRUE(oList.WriteToFile(szOdd.c_str()));     // a path
    EXPECT_FALSE(oList.CreateFromFile(szOdd.c_str())); // part of a URL
    EXPECT_TRUE(oList.WriteToFile(szPath.c_str()) && oList.CreateFromFile(szPath.c_str()));
    EXPECT_TRUE(oList.TestKeyExists("list") && !oList.TestKeyExists("ü") && oCopy.TestKeyExists("ü"));
    oList.RemoveAllValues();
    EXPECT_EQ(0u, oList.GetSize());
    EXPECT_FALSE(oList.WriteToFile((oFolder / "none/list").c_str()));
}

TEST_F(CFStrings, ConvertOddTextsBothWaysAndCutThemWhole) {
    struct {
        std::string szIn, szOut;
        std::wstring szWide;
    } const lCases[] = {
        {"", "", L""},
        {"aé€🎵", "aé€🎵", L"aé€🎵"},
        {"\xEF\xBB\xBFmark", "\xEF\xBB\xBFmark", L"\xFEFFmark"},
        {"a\xFF"
         "b",
         "a\uFFFDb",
         L"a\xFFFD"
         L"b"},
        {"\xC3", "\uFFFD", L"\xFFFD"},
        {"\xF0\x9F\x8E", "\uFFFD", L"\xFFFD"},
        {"\xC0\xAF", "\uFFFD\uFFFD", L"\xFFFD\xFFFD"},
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD", L"\xFFFD\xFFFD\xFFFD"},
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD", L"\xFFFD\xFFFD\xFFFD\xFFFD"},
    };
    for (auto const& oCase : lCases) {
        LCFString oText(oCase.szIn.c_str());
        LStringLong szLong;
        LStringLongTemplate<wchar_t> szWide;
        EXPECT_TRUE(oText.GetString(szLong) && oText.GetString(szWide));
        EXPECT_EQ(oCase.szOut, szLong.GetString());
        EXPECT_EQ(oCase.szWide, szWide.GetString());
        oText = szWide.GetString();
        for (size_t nSize = 1; nSize <= oCase.szOut.size() + 1; ++nSize) {
            char sz[64] = "?";
            EXPECT_TRUE(oText.GetString(sz, nSize));
            std::string szCut = oCase.szOut.substr(0, nSize - 1);
            while (szCut.size() < oCase.szOut.size() && (oCase.szOut[szCut.size()] & 0xC0) == 0x80)
                szCut.pop_back();
            EXPECT_EQ(szCut, sz);
        }
        for (size_t nSize = 1; nSize <= oCase.szWide.size() + 1; ++nSize) {
            wchar_t sz[64] = L"?";
            EXPECT_TRUE(oText.GetString(sz, nSize));
            EXPECT_EQ(oCase.szWide.substr(0, nSize - 1), sz);
        }
    }
    wchar_t const szOdd[] = {0xD800, L'a', 0x110000, -1, 0xDFFF, 0};
    LStringLong szLong;
    EXPECT_TRUE(LCFString(szOdd).GetString(szLong) && szLong == "\uFFFDa\uFFFD\uFFFD\uFFFD");
    UniChar const lHalves[] = {'a', 0xD83C, 'b', 0xDFB5};
    EXPECT_TRUE(LCFString(CFStringCreateWithCharacters(nullptr, lHalves, 4)).GetString(szLong) &&
                szLong == "a\uFFFDb\uFFFD");
    char sz[2] = "?";
    EXPECT_FALSE(LCFString().GetString(szLong) || LCFString(static_cast<char const*>(nullptr)).GetString(sz, 2));
    EXPECT_TRUE(szLong.IsEmpty() && !sz[0]);
    EXPECT_FALSE(LCFString("a").GetString(sz, 0));
}
