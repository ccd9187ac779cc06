#include "files/charset.h"

#include "base/utf.h"
#include "files/code_page.h"

#include <gtest/gtest.h>

#include <iconv.h>

#include <string>

namespace {

struct Pair {
    char const* szName;
    void (*From)(char*, char const*, unsigned long);
    void (*To)(char*, char const*, unsigned long);
};

template <auto const& oFunction>
void Call(char* szOut, char const* szIn, unsigned long nSize) {
    oFunction(szOut, szIn, nSize);
}

Pair const kPairs[] = {
    {"ISO-8859-1", Call<LCopyFromISO88591>, Call<LCopyToISO88591>},
    {"ISO-8859-2", Call<LCopyFromISO88592>, Call<LCopyToISO88592>},
    {"ISO-8859-5", Call<LCopyFromISO88595>, Call<LCopyToISO88595>},
    {"WINDOWS-1251", Call<LCopyFromWIN1251>, Call<LCopyToWIN1251>},
    {"WINDOWS-1252", Call<LCopyFromWIN1252>, Call<LCopyToWIN1252>},
    {"WINDOWS-1256", Call<LCopyFromWIN1256>, Call<LCopyToWIN1256>},
    {"SHIFT-JIS", Call<LCopyFromSHIFTJIS932>, Call<LCopyToSHIFTJIS932>},
    {"ISO-2022-JP", Call<LCopyFromISO2022JP>, Call<LCopyToISO2022JP>},
    {"EUC-KR", Call<LCopyFromEUCKR>, Call<LCopyToEUCKR>},
    {"GB18030", Call<LCopyFromGB18030>, Call<LCopyToGB18030>},
    {"GBK", Call<LCopyFromGBK>, Call<LCopyToGBK>},
    {"BIG5", Call<LCopyFromBIG5>, Call<LCopyToBIG5>},
    {"KOI8-R", Call<LCopyFromKOI8R>, Call<LCopyToKOI8R>},
    {"macintosh", Call<LCopyFromMacRoman>, Call<LCopyToMacRoman>},
    {"WINDOWS-1252", Call<LCharsetsCopyFromACP>, Call<LCharsetsCopyToACP>},
};

// One conversion of the C library's, whole or "".
class Reference {
public:
    Reference(char const* szFrom, char const* szTo) : oConversion(iconv_open(szTo, szFrom)) {}
    ~Reference() { iconv_close(oConversion); }
    std::string operator()(std::string szIn) {
        char sz[64];
        char *pIn = szIn.data(), *pOut = sz;
        size_t nIn = szIn.size(), nRoom = sizeof sz;
        iconv(oConversion, nullptr, nullptr, nullptr, nullptr);
        bool const bWhole = iconv(oConversion, &pIn, &nIn, &pOut, &nRoom) == 0 &&
                            iconv(oConversion, nullptr, nullptr, &pOut, &nRoom) == 0;
        return bWhole ? std::string(sz, pOut) : "";
    }

private:
    iconv_t oConversion;
};

std::string UTF8Of(char32_t c) {
    char sz[8];
    wchar_t const cWide = static_cast<wchar_t>(c);
    return {sz, LCopyUTF8FromUTF32(sz, sizeof sz, {&cWide, 1})};
}

// Compares conversions from UTF-8 and back with the C library's, for every code point of the blocks that the sets use
// most and some of all others. `To` gives false for what the set lacks; so must the library.
template <class ToSet, class FromSet>
void CompareWithTheCLibrary(char const* szName, ToSet To, FromSet From) {
    Reference ToExpected("UTF-8", szName), FromExpected(szName, "UTF-8");
    int nConverted = 0, nRefused = 0;
    for (char32_t c = 1; c <= 0x10FFFF; c += c < 0x600 ? 1 : c < 0x10000 ? 13 : 4001) {
        if ((c & 0xFFFFF800) == 0xD800)
            continue;
        std::string const szUTF8 = UTF8Of(c), szExpected = ToExpected(szUTF8);
        if (szExpected.empty() && ++nRefused > 300)
            continue; // enough of those have been seen
        char szOut[64], szBack[64];
        ASSERT_EQ(To(szOut, szUTF8.c_str()), !szExpected.empty()) << szName << " " << szUTF8;
        ASSERT_EQ(szOut, szExpected) << szName << " " << szUTF8;
        From(szBack, szOut);
        ASSERT_EQ(szBack, FromExpected(szExpected)) << szName << " " << szUTF8;
        nConverted += !szExpected.empty();
    }
    EXPECT_GT(nConverted, 127) << szName;
}

} // namespace

TEST(Charset, EveryNamedSetConvertsAsTheCLibraryDoesAndBack) {
    for (Pair const& oPair : kPairs)
        CompareWithTheCLibrary(
            oPair.szName, [&](char* szOut, char const* szIn) { return oPair.To(szOut, szIn, 64), *szOut != 0; },
            [&](char* szOut, char const* szIn) { oPair.From(szOut, szIn, 64); });
}

TEST(Charset, KeepsWhatItHasWhereItMustStop) {
    struct {
        char const* szWhat;
        void (*Do)(char*, char const*, unsigned long);
        char const* szIn;
        unsigned long nSize;
        char const* szOut;
    } const kRows[] = {
        {"a character that the set lacks", Call<LCopyToKOI8R>, "\u0434\u0430\u20ACx", 64, "\xC4\xC1"},
        {"bytes that are no UTF-8", Call<LCopyToKOI8R>,
         "a\xFF"
         "b",
         64, "a"},
        {"bytes that are not in the set", Call<LCopyFromSHIFTJIS932>, "a\x81", 64, "a"},
        {"no room", Call<LCopyToKOI8R>, "abc", 3, "ab"},
        {"no room for a whole character", Call<LCopyFromKOI8R>, "\xC4\xC1", 4, "\u0434"},
        {"room for the NUL alone", Call<LCopyFromKOI8R>, "abc", 1, ""},
        {"back to the first state", Call<LCopyToISO2022JP>, "\u3042", 64, "\x1B$B$\"\x1B(B"},
    };
    for (auto const& oRow : kRows) {
        char szOut[64];
        memset(szOut, '#', sizeof szOut);
        oRow.Do(szOut, oRow.szIn, oRow.nSize);
        EXPECT_STREQ(szOut, oRow.szOut) << oRow.szWhat;
        EXPECT_EQ(szOut[oRow.nSize == 64 ? 63 : oRow.nSize], '#') << oRow.szWhat;
    }
    char szOut[8] = "x";
    LConvertCharset("no such set", "UTF-8", szOut, "abc", sizeof szOut);
    EXPECT_STREQ(szOut, "");
    LCopyFromISO88591(szOut, "\xE9\xE9"); // three bytes of room, four and the NUL wanted
    EXPECT_STREQ(szOut, "\u00E9");
    LCopyToISO88591(szOut, "\u00E9\u00E9");
    EXPECT_STREQ(szOut, "\xE9\xE9");
}

TEST(CodePage, NumbersConvertAsTheirNamesDo) {
    struct {
        unsigned int nCodePage;
        char const* szName;
    } const kPages[] = {
        {37, "IBM037"},       {437, "CP437"},    {850, "CP850"},        {866, "CP866"},        {874, "CP874"},
        {932, "CP932"},       {936, "CP936"},    {949, "CP949"},        {950, "CP950"},        {1250, "CP1250"},
        {1251, "CP1251"},     {1252, "CP1252"},  {1253, "CP1253"},      {1255, "CP1255"},      {1256, "CP1256"},
        {10000, "MACINTOSH"}, {20866, "KOI8-R"}, {28591, "ISO-8859-1"}, {28592, "ISO-8859-2"}, {28605, "ISO-8859-15"},
        {51932, "EUC-JP"},    {51949, "EUC-KR"}, {54936, "GB18030"},    {65001, "UTF-8"},
    };
    for (auto const& oPage : kPages)
        CompareWithTheCLibrary(
            oPage.szName,
            [&](char* szOut, char const* szIn) { return LCopyToSpecificCodePage(oPage.nCodePage, szOut, szIn, 64); },
            [&](char* szOut, char const* szIn) { LCopyFromSpecificCodePage(oPage.nCodePage, szOut, szIn, 64); });
}

TEST(CodePage, RefusesWhatItCannotConvertWhole) {
    char szOut[8] = "x";
    EXPECT_FALSE(LCopyToSpecificCodePage(4711, szOut, "a", sizeof szOut));
    EXPECT_STREQ(szOut, "");
    EXPECT_FALSE(LCopyToSpecificCodePage(1251, szOut, "a\u3042", sizeof szOut));
    EXPECT_STREQ(szOut, "");
    EXPECT_FALSE(LCopyToSpecificCodePage(1251, szOut, "\xFF", sizeof szOut));
    EXPECT_FALSE(LCopyToSpecificCodePage(1251, szOut, "12345678", sizeof szOut));
    EXPECT_STREQ(szOut, "");
    EXPECT_TRUE(LCopyToSpecificCodePage(1251, szOut, "1234567", sizeof szOut));
    LCopyFromSpecificCodePage(4711, szOut, "a", sizeof szOut);
    EXPECT_STREQ(szOut, "");
    LCopyFromSpecificCodePage(932, szOut, "a\x81", sizeof szOut);
    EXPECT_STREQ(szOut, "") << "half a character";
    LCopyFromSpecificCodePage(1251, szOut, "\xE4\xE0\xE4\xE0", sizeof szOut);
    EXPECT_STREQ(szOut, "\u0434\u0430\u0434") << "cut between characters";
    LStringLong szText;
    szText.Set("\xE4\xE0");
    EXPECT_EQ(LCopyFromSpecificCodePage(1251, szText, szText), 4u);
    EXPECT_EQ(szText, "\u0434\u0430");
    EXPECT_EQ(LCopyFromSpecificCodePage(4711, szText, szText), 0u);
}
