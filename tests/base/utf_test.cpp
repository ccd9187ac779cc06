#include "base/utf.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

// One code point in each form, as the standard's tables write it.
std::string InUTF8(char32_t c) {
    auto const Byte = [c](int nShift, unsigned nLead) { return static_cast<char>(nLead | ((c >> nShift) & 0x3F)); };
    if (c < 0x80)
        return {static_cast<char>(c)};
    if (c < 0x800)
        return {Byte(6, 0xC0), Byte(0, 0x80)};
    if (c < 0x10000)
        return {Byte(12, 0xE0), Byte(6, 0x80), Byte(0, 0x80)};
    return {Byte(18, 0xF0), Byte(12, 0x80), Byte(6, 0x80), Byte(0, 0x80)};
}
std::u16string InUTF16(char32_t c) {
    if (c < 0x10000)
        return {static_cast<char16_t>(c)};
    return {static_cast<char16_t>(0xD7C0 + (c >> 10)), static_cast<char16_t>(0xDC00 | (c & 0x3FF))};
}

// Well-formed sequences by the ranges of their bytes; a character is the longest start of one that is there.
struct Range {
    unsigned char nFrom, nTo;
};
std::vector<std::vector<Range>> const kWellFormed = {
    {{0x00, 0x7F}},
    {{0xC2, 0xDF}, {0x80, 0xBF}},
    {{0xE0, 0xE0}, {0xA0, 0xBF}, {0x80, 0xBF}},
    {{0xE1, 0xEC}, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xED, 0xED}, {0x80, 0x9F}, {0x80, 0xBF}},
    {{0xEE, 0xEF}, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xF0, 0xF0}, {0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xF1, 0xF3}, {0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xF4, 0xF4}, {0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}},
};

std::u32string DecodeUTF8(std::string const& szText) {
    std::u32string szCodes;
    for (size_t n = 0; n < szText.size();) {
        size_t nTaken = 1;
        char32_t nCode = 0xFFFD;
        for (auto const& lRow : kWellFormed) {
            size_t nFits = 0;
            char32_t nBits = 0;
            for (; nFits < lRow.size() && n + nFits < szText.size(); ++nFits) {
                auto const nByte = static_cast<unsigned char>(szText[n + nFits]);
                if (nByte < lRow[nFits].nFrom || nByte > lRow[nFits].nTo)
                    break;
                nBits = nFits == 0 ? nByte & (lRow.size() == 1 ? 0x7FU : 0x7FU >> lRow.size())
                                   : nBits << 6 | (nByte & 0x3F);
            }
            nTaken = std::max(nTaken, nFits);
            if (nFits == lRow.size())
                nCode = nBits;
        }
        szCodes += nCode;
        n += nTaken;
    }
    return szCodes;
}

std::u32string DecodeUTF16(std::u16string const& szText) {
    std::u32string szCodes;
    for (size_t n = 0; n < szText.size(); ++n) {
        bool const bHigh = szText[n] >= 0xD800 && szText[n] < 0xDC00;
        bool const bLow = szText[n] >= 0xDC00 && szText[n] < 0xE000;
        bool const bPair = bHigh && n + 1 < szText.size() && szText[n + 1] >= 0xDC00 && szText[n + 1] < 0xE000;
        szCodes += bPair           ? 0x10000U + (szText[n] - 0xD800U) * 0x400 + (szText[n + 1] - 0xDC00U)
                   : bHigh || bLow ? 0xFFFD
                                   : szText[n];
        n += bPair;
    }
    return szCodes;
}

std::string Wide8(std::u32string const& szCodes) {
    std::string sz;
    for (char32_t const c : szCodes)
        sz += InUTF8(c);
    return sz;
}
std::u16string Wide16(std::u32string const& szCodes) {
    std::u16string sz;
    for (char32_t const c : szCodes)
        sz += InUTF16(c);
    return sz;
}
std::wstring Wide32(std::u32string const& szCodes) {
    return {szCodes.begin(), szCodes.end()};
}

// What the converter makes of the text with `nSize` elements of room, in blocks of memory that end where they end.
template <class Out, class In>
std::basic_string<Out> ConvertIn(size_t (*Copy)(Out*, size_t, std::basic_string_view<In>), size_t nSize,
                                 std::basic_string<In> const& szIn) {
    std::unique_ptr<In[]> const pIn(new In[szIn.size()]);
    std::copy(szIn.begin(), szIn.end(), pIn.get());
    std::unique_ptr<Out[]> const pOut(new Out[nSize]);
    size_t const nLength = Copy(pOut.get(), nSize, {pIn.get(), szIn.size()});
    EXPECT_LT(nLength, nSize);
    EXPECT_EQ(pOut[nLength], Out());
    return {pOut.get(), nLength};
}

// Every room from none to plenty holds the longest start that ends between characters.
template <class Out, class In>
void CheckRooms(size_t (*Copy)(Out*, size_t, std::basic_string_view<In>), std::basic_string<In> const& szIn,
                std::u32string const& szCodes, std::basic_string<Out> (*Encode)(std::u32string const&)) {
    std::basic_string<Out> const szWhole = Encode(szCodes);
    for (size_t nSize = 1; nSize <= szWhole.size() + 3; ++nSize) {
        size_t nCount = szCodes.size();
        while (Encode(szCodes.substr(0, nCount)).size() >= nSize)
            --nCount;
        ASSERT_EQ(ConvertIn(Copy, nSize, szIn), Encode(szCodes.substr(0, nCount)));
    }
}

} // namespace

TEST(Utf, EveryCodePointGoesThereAndBackThroughEveryPair) {
    std::u32string szAll;
    for (char32_t c = 0; c <= 0x10FFFF; c += c == 0xD7FF ? 0x801 : 1)
        szAll += c;
    std::string const sz8 = Wide8(szAll);
    std::u16string const sz16 = Wide16(szAll);
    std::wstring const sz32 = Wide32(szAll);
    LStringLongTemplate<char> o8;
    LStringLongTemplate<char16_t> o16;
    LStringLongTemplate<wchar_t> o32;
    EXPECT_TRUE(LCopyUTF8FromUnicode(o8, sz16) && o8.View() == sz8);
    EXPECT_TRUE(LCopyUTF8FromUTF32(o8, sz32) && o8.View() == sz8);
    EXPECT_TRUE(LCopyUnicodeFromUTF8(o16, sz8) && o16.View() == sz16);
    EXPECT_TRUE(LCopyUnicodeFromUTF32(o16, sz32) && o16.View() == sz16);
    EXPECT_TRUE(LCopyUTF32FromUTF8(o32, sz8) && o32.View() == sz32);
    EXPECT_TRUE(LCopyUTF32FromUnicode(o32, sz16) && o32.View() == sz32);
}

TEST(Utf, IllFormedTextIsReplacedByMaximalSubparts) {
    struct {
        std::string szIn;
        std::u32string szOut;
    } const kRows[] = {
        {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", U"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA"},
        {"\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", U"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA"},
        {"\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42", U"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA\uFFFD\uFFFDB"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", U"\uFFFD\uFFFD\uFFFD\uFFFDA"},
        {"\xF0\x9F\x98", U"\uFFFD"},
    };
    for (auto const& oRow : kRows) {
        EXPECT_EQ(ConvertIn(LCopyUTF32FromUTF8, 64, oRow.szIn), Wide32(oRow.szOut));
        EXPECT_EQ(ConvertIn(LCopyUnicodeFromUTF8, 64, oRow.szIn), Wide16(oRow.szOut));
    }
    EXPECT_EQ(ConvertIn(LCopyUTF8FromUTF32, 64, std::wstring{0xD800, 0xDFFF, 0x110000, -1, 0x10FFFF}),
              "\uFFFD\uFFFD\uFFFD\uFFFD\U0010FFFF");
}

// Any bytes as text of each form, into any room and back: for a fuzzer, and below for random bytes.
int FuzzUtf(std::uint8_t const* pBytes, std::size_t nBytes) {
    std::string const sz8(reinterpret_cast<char const*>(pBytes), nBytes);
    std::u16string sz16(nBytes / 2, u'\0');
    std::wstring sz32(nBytes / 4, L'\0');
    std::copy_n(pBytes, sz16.size() * 2, reinterpret_cast<std::uint8_t*>(sz16.data()));
    std::copy_n(pBytes, sz32.size() * 4, reinterpret_cast<std::uint8_t*>(sz32.data()));
    for (std::size_t const nRoom : {std::size_t{1}, nBytes / 3 + 1, nBytes * 4 + 1}) {
        std::u16string const szUnits = ConvertIn(LCopyUnicodeFromUTF8, nRoom, sz8);
        std::string const szBytes = ConvertIn(LCopyUTF8FromUnicode, nRoom, sz16);
        std::wstring const szWide = ConvertIn(LCopyUTF32FromUTF8, nRoom, sz8);
        // What came out is well-formed: it goes there and back unchanged.
        EXPECT_EQ(ConvertIn(LCopyUnicodeFromUTF8, nRoom * 4, ConvertIn(LCopyUTF8FromUnicode, nRoom * 4, szUnits)),
                  szUnits);
        EXPECT_EQ(ConvertIn(LCopyUTF8FromUnicode, nRoom * 4, ConvertIn(LCopyUnicodeFromUTF8, nRoom * 4, szBytes)),
                  szBytes);
        EXPECT_EQ(ConvertIn(LCopyUTF32FromUnicode, nRoom * 4, ConvertIn(LCopyUnicodeFromUTF32, nRoom * 4, szWide)),
                  szWide);
        ConvertIn(LCopyUTF8FromUTF32, nRoom, sz32);
    }
    return 0;
}

TEST(Utf, RandomBytesComeOutWellFormed) {
    std::mt19937 oRandom(6);
    for (int n = 0; n < 5000; ++n) {
        std::vector<std::uint8_t> lBytes(oRandom() % 60);
        for (std::uint8_t& nByte : lBytes)
            nByte = static_cast<std::uint8_t>(oRandom());
        FuzzUtf(lBytes.data(), lBytes.size());
    }
}

TEST(Utf, RandomElementsConvertAsTheModelDoesInAnyRoom) {
    std::mt19937 oRandom(5);
    // Bytes and units that matter, much more often than chance would have them.
    std::string const szBytes =
        "aZ\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF";
    std::u16string const szUnits = u"aZ\u007F\u0080\u07FF\u0800\uFFFF"s + char16_t(0xD800) + char16_t(0xDBFF) +
                                   char16_t(0xDC00) + char16_t(0xDFFF);
    for (int n = 0; n < 6000; ++n) {
        std::string sz8(n % 5 == 0 ? 20 : 0, 'x'); // a block of ASCII in front, now and then
        std::u16string sz16(sz8.begin(), sz8.end());
        for (size_t nLeft = oRandom() % 14; nLeft != 0; --nLeft) {
            sz8 += szBytes[oRandom() % szBytes.size()];
            sz16 += szUnits[oRandom() % szUnits.size()];
        }
        std::u32string const szFrom8 = DecodeUTF8(sz8), szFrom16 = DecodeUTF16(sz16);
        CheckRooms(LCopyUnicodeFromUTF8, sz8, szFrom8, Wide16);
        CheckRooms(LCopyUTF32FromUTF8, sz8, szFrom8, Wide32);
        CheckRooms(LCopyUTF8FromUnicode, sz16, szFrom16, Wide8);
        CheckRooms(LCopyUTF32FromUnicode, sz16, szFrom16, Wide32);
        CheckRooms(LCopyUTF8FromUTF32, Wide32(szFrom16), szFrom16, Wide8);
        CheckRooms(LCopyUnicodeFromUTF32, Wide32(szFrom8), szFrom8, Wide16);
    }
}

TEST(Utf, ACutFallsBetweenCharacters) {
    std::string const szText = "a\u00E9\u20AC\U0001F600b";
    size_t const kCuts[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11, 11};
    for (size_t nMost = 0; nMost < std::size(kCuts); ++nMost)
        EXPECT_EQ(LCutUTF8(szText, nMost), kCuts[nMost]) << nMost;
    EXPECT_EQ(LCutUTF8("\x80\x80\x80\x80\x80", 4), 4u) << "bytes that belong to no character are cut anywhere";
    char szOut[8];
    EXPECT_EQ(LCopyUTF8(szOut, sizeof szOut, szText), 6u);
    EXPECT_STREQ(szOut, "a\u00E9\u20AC");
}
