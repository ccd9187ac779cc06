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

// Calls back with the UTF-8 of every 13th code point above the blocks that the code pages use most, and of each below.
template <class Function>
void ForManyCodePoints(Function Do) {
    for (char32_t c = 1; c <= 0x10FFFF; c += c < 0x600 ? 1 : c < 0x10000 ? 13 : 4001)
        if ((c & 0xFFFFF800) != 0xD800)
            Do(UTF8Of(c));
}

} // namespace

TEST(Charset, EveryNamedSetConvertsAsTheCLibraryDoesAndBack) {
    for (Pair const& oPair : kPairs) {
        Reference ToSet("UTF-8", oPair.szName);
        Reference FromSet(oPair.szName, "UTF-8");
        int nConverted = 0;
        ForManyCodePoints([&](std::string const& szUTF8) {
            std::string const szExpected = ToSet(szUTF8);
            if (szExpected.empty() && nConverted > 300)
                return; // refused; enough of those have been seen
            char szOut[64], szBack[64];
            oPair.To(szOut, szUTF8.c_str(), sizeof szOut);
            ASSERT_EQ(szOut, szExpected) << oPair.szName;
            oPair.From(szBack, szOut, sizeof szBack);
            ASSERT_EQ(szBack, FromSet(szOut)) << oPair.szName;
            nConverted += !szExpected.empty();
        });
        EXPECT_GT(nConverted, 127) << oPair.szName;
    }
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

TEST(CodePage, EveryNumberConvertsAsItsNameDoes) {
    struct {
        unsigned int nCodePage;
        char const* szName;
    } const kPages[] = {
        {37, "IBM037"},         {437, "CP437"},          {850, "CP850"},
        {852, "CP852"},         {855, "CP855"},          {857, "CP857"},
        {860, "CP860"},         {861, "CP861"},          {862, "CP862"},
        {863, "CP863"},         {864, "CP864"},          {865, "CP865"},
        {866, "CP866"},         {874, "CP874"},          {932, "CP932"},
        {936, "CP936"},         {949, "CP949"},          {950, "CP950"},
        {1250, "CP1250"},       {1251, "CP1251"},        {1252, "CP1252"},
        {1253, "CP1253"},       {1254, "CP1254"},        {1255, "CP1255"},
        {1256, "CP1256"},       {1257, "CP1257"},        {1258, "CP1258"},
        {10000, "MACINTOSH"},   {10007, "MAC-CYRILLIC"}, {10029, "MAC-CENTRALEUROPE"},
        {20866, "KOI8-R"},      {28591, "ISO-8859-1"},   {28592, "ISO-8859-2"},
        {28593, "ISO-8859-3"},  {28594, "ISO-8859-4"},   {28595, "ISO-8859-5"},
        {28596, "ISO-8859-6"},  {28597, "ISO-8859-7"},   {28598, "ISO-8859-8"},
        {28599, "ISO-8859-9"},  {28600, "ISO-8859-10"},  {28601, "ISO-8859-11"},
        {28603, "ISO-8859-13"}, {28604, "ISO-8859-14"},  {28605, "ISO-8859-15"},
        {28606, "ISO-8859-16"}, {51932, "EUC-JP"},       {51949, "EUC-KR"},
        {54936, "GB18030"},     {65001, "UTF-8"},
    };
    for (auto const& oPage : kPages) {
        Reference ToPage("UTF-8", oPage.szName), FromPage(oPage.szName, "UTF-8");
        int nConverted = 0, nRefused = 0;
        ForManyCodePoints([&](std::string const& szUTF8) {
            std::string const szExpected = ToPage(szUTF8);
            if (szExpected.empty() && ++nRefused > 300)
                return;
            char szOut[64], szBack[64];
            ASSERT_EQ(LCopyToSpecificCodePage(oPage.nCodePage, szOut, szUTF8.c_str(), sizeof szOut),
                      !szExpected.empty())
                << oPage.nCodePage << " " << szUTF8;
            ASSERT_EQ(szOut, szExpected) << oPage.nCodePage << " " << szUTF8;
            LCopyFromSpecificCodePage(oPage.nCodePage, szBack, szOut, sizeof szBack);
            if (!szExpected.empty()) {
                ASSERT_EQ(szBack, FromPage(szExpected)) << oPage.nCodePage << " " << szUTF8;
            }
            nConverted += !szExpected.empty();
        });
        EXPECT_GT(nConverted, 127) << oPage.nCodePage;
    }
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
