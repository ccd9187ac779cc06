#include "tests/platform/corefoundation.h"

#include <vector>

using Strings = CoreFoundation;

namespace {

template <class... Arguments>
std::string Formatted(char const* szFormat, Arguments... arguments) {
    OwnedString const format = MakeString(szFormat);
    return TextOf(CFStringCreateWithFormat(nullptr, nullptr, format, arguments...));
}

} // namespace

TEST_F(Strings, FormatsEveryConversion) {
    EXPECT_EQ("Data Source Item 3", Formatted("Data Source Item %d", 3));
    EXPECT_EQ("[   -7][-7   ][00042][+5]", Formatted("[%5d][%-5d][%05d][%+d]", -7, -7, 42, 5));
    EXPECT_EQ("ff FF 0x1f 17 4294967295", Formatted("%x %X %#x %o %u", 255, 255, 31, 15, -1));
    EXPECT_EQ("-1 255 -1 65535", Formatted("%hhd %hhu %hd %hu", 255, 255, 65535, 65535));
    EXPECT_EQ("-9000000000 9000000000 18446744073709551615",
              Formatted("%ld %lld %zu", -9000000000L, 9000000000LL, ~size_t{0}));
    EXPECT_EQ("3.14 1e+10  2.500 0.5", Formatted("%.2f %g %6.3f %.1Lf", 3.14159, 1e10, 2.5, 0.5L));
    EXPECT_EQ("[  ab][ab  ][a]", Formatted("[%4s][%-4s][%.1s]", "ab", "ab", "ab"));
    EXPECT_EQ("[    7][7    ][3.142]", Formatted("[%*d][%*d][%.*f]", 5, 7, -5, 7, 3, 3.14159));
    EXPECT_EQ("x%y", Formatted("%c%%%c", 'x', 'y'));
    EXPECT_EQ("é [ é]", Formatted("%s [%2s]", "é", "é")); // width in UTF-16 units
}

TEST_F(Strings, FormatsObjectsAndPositions) {
    Owned<CFNumberRef> const number = MakeNumber(SInt64{42});
    Owned<CFMutableArrayRef> const array = CFArrayCreateMutable(nullptr, 0, nullptr);
    EXPECT_EQ("text 42 (null)", Formatted("%@ %@ %@", CFSTR("text"), static_cast<CFNumberRef>(number), nullptr));
    EXPECT_EQ("[  text][te]", Formatted("[%6@][%.2@]", CFSTR("text"), CFSTR("text")));
    EXPECT_EQ("b a b", Formatted("%2$@ %1$s %2$@", "a", CFSTR("b")));
    EXPECT_EQ("2.5 1", Formatted("%2$.1f %1$d", 1, 2.5));
    EXPECT_EQ(0u, Formatted("%@", static_cast<CFMutableArrayRef>(array)).find("<CFArray "));
}

TEST_F(Strings, WhatIsNoConversionStandsForItself) {
    int nStored = 7;
    EXPECT_EQ("%n", Formatted("%n", &nStored));
    EXPECT_EQ(7, nStored);
    EXPECT_EQ("%q 100%!", Formatted("%q 100%!"));
    EXPECT_EQ("tail %", Formatted("tail %"));
    EXPECT_EQ("%9999$d", Formatted("%9999$d", 1));
    EXPECT_EQ("", Formatted(""));
}

TEST_F(Strings, CompareByOption) {
    constexpr auto kFold = kCFCompareCaseInsensitive;
    struct {
        char const *szFirst, *szSecond;
        CFStringCompareFlags options;
        CFComparisonResult expected;
    } const cases[] = {
        {"", "", 0, kCFCompareEqualTo},
        {"a", "", 0, kCFCompareGreaterThan},
        {"a", "b", 0, kCFCompareLessThan},
        {"a", "B", 0, kCFCompareGreaterThan},
        {"a", "B", kFold, kCFCompareLessThan},
        {"STRAßE É", "straße é", kFold, kCFCompareEqualTo},
        {"\U00010400", "\U00010428", kFold, kCFCompareEqualTo}, // letters outside the first plane
        {"item 10", "item 9", 0, kCFCompareLessThan},
        {"item 10", "item 9", kCFCompareNumerically, kCFCompareGreaterThan},
        {"item 010", "item 10", kCFCompareNumerically, kCFCompareEqualTo},
        {"v99999999999999999999", "v100000000000000000000", kCFCompareNumerically, kCFCompareLessThan},
    };
    for (auto const& oCase : cases) {
        OwnedString const first = MakeString(oCase.szFirst), second = MakeString(oCase.szSecond);
        EXPECT_EQ(oCase.expected, CFStringCompare(first, second, oCase.options))
            << oCase.szFirst << " ? " << oCase.szSecond;
        EXPECT_EQ(-oCase.expected, CFStringCompare(second, first, oCase.options))
            << oCase.szSecond << " ? " << oCase.szFirst;
    }
}

TEST_F(Strings, FindsPartsFromEitherEnd) {
    CFStringRef const text = CFSTR("abcABCabc");
    EXPECT_EQ(0, CFStringFind(text, CFSTR("abc"), 0).location);
    EXPECT_EQ(6, CFStringFind(text, CFSTR("abc"), kCFCompareBackwards).location);
    EXPECT_EQ(3, CFStringFind(text, CFSTR("ABC"), 0).location);
    EXPECT_EQ(1, CFStringFind(text, CFSTR("BC"), kCFCompareCaseInsensitive).location);
    EXPECT_EQ(kCFNotFound, CFStringFind(text, CFSTR("bc"), kCFCompareAnchored).location);
    EXPECT_EQ(6, CFStringFind(text, CFSTR("abc"), kCFCompareAnchored | kCFCompareBackwards).location);
    EXPECT_EQ(kCFNotFound, CFStringFind(text, CFSTR(""), 0).location);
    EXPECT_TRUE(CFStringHasPrefix(text, CFSTR("abcA")) && CFStringHasSuffix(text, CFSTR("Cabc")));
    EXPECT_FALSE(CFStringHasPrefix(text, CFSTR("abcABCabcd")));
}

TEST_F(Strings, ConvertToBytesAndBackInEveryEncoding) {
    struct {
        CFStringEncoding encoding;
        std::string bytes;
        char const* szText;
    } const cases[] = {
        {kCFStringEncodingUTF8, "a\xC3\xA9\xF0\x9F\x8E\xB5", "aé🎵"},
        {kCFStringEncodingUTF16LE, {"a\0\xE9\0\x3C\xD8\xB5\xDF", 8}, "aé🎵"},
        {kCFStringEncodingUTF16BE, {"\0a\0\xE9\xD8\x3C\xDF\xB5", 8}, "aé🎵"},
        {kCFStringEncodingUTF32LE, {"a\0\0\0\xB5\xF3\x01\0", 8}, "a🎵"},
        {kCFStringEncodingUTF32BE, {"\0\0\0a\0\x01\xF3\xB5", 8}, "a🎵"},
        {kCFStringEncodingASCII, "abc", "abc"},
        {kCFStringEncodingISOLatin1, "a\xE9\xFF", "aéÿ"},
        {kCFStringEncodingMacRoman, "a\x8E", "aé"},
        {CFStringConvertWindowsCodepageToEncoding(1252), "\x80\xE9", "€é"},
        {CFStringConvertWindowsCodepageToEncoding(1258), "a\xE2", "aâ"},
        {CFStringConvertWindowsCodepageToEncoding(932), "\x83\x41\xB1", "アｱ"},
        {CFStringConvertWindowsCodepageToEncoding(65001), "\xE2\x82\xAC", "€"},
    };
    for (auto const& oCase : cases) {
        auto const* pBytes = reinterpret_cast<UInt8 const*>(oCase.bytes.data());
        auto const nByteCount = static_cast<CFIndex>(oCase.bytes.size());
        OwnedString const text = CFStringCreateWithBytes(nullptr, pBytes, nByteCount, oCase.encoding, false);
        ASSERT_TRUE(text) << oCase.szText;
        EXPECT_EQ(oCase.szText, Text(text));
        UInt8 out[32];
        CFIndex nUsed = 0;
        EXPECT_EQ(CFStringGetLength(text), CFStringGetBytes(text, {0, CFStringGetLength(text)}, oCase.encoding, 0,
                                                            false, out, sizeof out, &nUsed));
        EXPECT_EQ(oCase.bytes, std::string(out, out + nUsed)) << oCase.szText;
        EXPECT_LE(nUsed, CFStringGetMaximumSizeForEncoding(CFStringGetLength(text), oCase.encoding));
    }
    EXPECT_EQ(kCFStringEncodingInvalidId, CFStringConvertWindowsCodepageToEncoding(4711));
    EXPECT_EQ(kCFStringEncodingInvalidId, CFStringConvertWindowsCodepageToEncoding(0));
}

TEST_F(Strings, RefuseBytesThatAreNotOfTheEncoding) {
    struct {
        CFStringEncoding encoding;
        std::string bytes;
    } const cases[] = {
        {kCFStringEncodingUTF8, "\x80"},             // a continuation alone
        {kCFStringEncodingUTF8, "\xC0\xAF"},         // overlong
        {kCFStringEncodingUTF8, "\xE0\x80\xAF"},     // overlong
        {kCFStringEncodingUTF8, "\xED\xA0\x80"},     // a surrogate
        {kCFStringEncodingUTF8, "\xF4\x90\x80\x80"}, // past the last character
        {kCFStringEncodingUTF8, "a\xE2\x82"},        // cut
        {kCFStringEncodingASCII, "\x80"},
        {kCFStringEncodingUTF16LE, "abc"},
        {kCFStringEncodingUTF32LE, {"\0\xD8\0\0", 4}},
        {CFStringConvertWindowsCodepageToEncoding(1252), "\x81"},
        {CFStringConvertWindowsCodepageToEncoding(932), "\x83"},
        {0x7777, "unknown encoding"},
    };
    for (auto const& oCase : cases)
        EXPECT_FALSE(CFStringCreateWithBytes(nullptr, reinterpret_cast<UInt8 const*>(oCase.bytes.data()),
                                             static_cast<CFIndex>(oCase.bytes.size()), oCase.encoding, false))
            << testing::PrintToString(oCase.bytes);
}

TEST_F(Strings, ObeyAndWriteByteOrderMarks) {
    UInt8 const bytes[] = {0xFE, 0xFF, 0x00, 0x41};
    EXPECT_EQ("A", TextOf(CFStringCreateWithBytes(nullptr, bytes, 4, kCFStringEncodingUTF16, true)));
    UInt8 const utf8[] = {0xEF, 0xBB, 0xBF, 'A'};
    EXPECT_EQ("A", TextOf(CFStringCreateWithBytes(nullptr, utf8, 4, kCFStringEncodingUTF8, true)));
    EXPECT_EQ("\xEF\xBB\xBF"
              "A",
              TextOf(CFStringCreateWithBytes(nullptr, utf8, 4, kCFStringEncodingUTF8, false)));
    Owned<CFDataRef> const data = CFStringCreateExternalRepresentation(nullptr, CFSTR("A"), kCFStringEncodingUTF16, 0);
    EXPECT_EQ(4, CFDataGetLength(data));
    EXPECT_EQ("A", TextOf(CFStringCreateFromExternalRepresentation(nullptr, data, kCFStringEncodingUTF16)));
}

TEST_F(Strings, WriteOnlyWholeCharactersThatFit) {
    CFStringRef const text = CFSTR("é🎵x"); // 2, 4 and 1 bytes; 1, 2 and 1 units
    for (CFIndex const nRoom : {0, 1, 2, 5, 6, 7, 100}) {
        std::vector<UInt8> lOut(static_cast<size_t>(nRoom) + 1, 0xAA);
        CFIndex nUsed = -1;
        CFIndex const nUnits =
            CFStringGetBytes(text, {0, 4}, kCFStringEncodingUTF8, 0, false, lOut.data(), nRoom, &nUsed);
        EXPECT_EQ(nRoom < 2 ? 0 : nRoom < 6 ? 1 : nRoom < 7 ? 3 : 4, nUnits) << nRoom;
        EXPECT_EQ(nRoom < 2 ? 0 : nRoom < 6 ? 2 : nRoom < 7 ? 6 : 7, nUsed) << nRoom;
        EXPECT_EQ(0xAA, lOut[static_cast<size_t>(nUsed)]) << nRoom;
    }
    char szOut[8] = "dirty";
    EXPECT_FALSE(CFStringGetCString(text, szOut, 7, kCFStringEncodingUTF8));
    EXPECT_STREQ("", szOut);
    EXPECT_TRUE(CFStringGetCString(text, szOut, 8, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(text, szOut, 8, kCFStringEncodingASCII));
    CFIndex nUsed = 0;
    EXPECT_EQ(4, CFStringGetBytes(text, {0, 4}, kCFStringEncodingASCII, '?', false, nullptr, 0, &nUsed));
    EXPECT_EQ(3, nUsed); // a loss byte a character, not a unit

    UniChar const half = 0xD83C;
    OwnedString const broken = CFStringCreateWithCharacters(nullptr, &half, 1);
    EXPECT_FALSE(CFStringGetCString(broken, szOut, sizeof szOut, kCFStringEncodingUTF8));
}

TEST_F(Strings, ChangeInPlace) {
    Owned<CFMutableStringRef> const text = CFStringCreateMutable(nullptr, 0);
    CFStringAppendCString(text, "Straße", kCFStringEncodingUTF8);
    CFStringAppendFormat(text, nullptr, CFSTR(" %d"), 7);
    CFStringReplace(text, {0, 0}, text); // by itself
    EXPECT_EQ("Straße 7Straße 7", Text(text));
    CFStringDelete(text, {8, 8});
    CFStringUppercase(text, nullptr);
    EXPECT_EQ("STRAßE 7", Text(text));
    OwnedString const frozen = CFStringCreateCopy(nullptr, text);
    CFStringReplaceAll(text, CFSTR("x"));
    EXPECT_EQ("STRAßE 7", Text(frozen));
}

TEST_F(Strings, SplitAndJoin) {
    for (char const* szText : {"", "a", "a/b//c/", "/"}) {
        OwnedString const text = MakeString(szText);
        Owned<CFArrayRef> const parts = CFStringCreateArrayBySeparatingStrings(nullptr, text, CFSTR("/"));
        EXPECT_EQ(szText, TextOf(CFStringCreateByCombiningStrings(nullptr, parts, CFSTR("/"))));
    }
    Owned<CFArrayRef> const parts = CFStringCreateArrayBySeparatingStrings(nullptr, CFSTR("a, b, "), CFSTR(", "));
    EXPECT_EQ(3, CFArrayGetCount(parts));
    EXPECT_EQ(-12, CFStringGetIntValue(CFSTR("  -12 monkeys")));
    EXPECT_EQ(INT32_MAX, CFStringGetIntValue(CFSTR("99999999999")));
}
