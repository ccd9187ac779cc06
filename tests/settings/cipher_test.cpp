// Blowfish, base64 and the values that are protected by them.
#include "settings/base64.h"
#include "settings/blow_fish.h"
#include "settings/setting_cipher.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using Words = std::vector<uint32_t>; // a binary fraction behind its whole part, the highest word first

void Divide(Words& lNumber, uint32_t nBy) {
    uint64_t nRest = 0;
    for (auto& n : lNumber) {
        nRest = nRest << 32 | n;
        n = static_cast<uint32_t>(nRest / nBy);
        nRest %= nBy;
    }
}

void Add(Words& lTo, Words const& lMore, bool bSubtract) {
    int64_t nCarry = 0;
    for (size_t n = lTo.size(); n-- > 0;) {
        nCarry += bSubtract ? int64_t{lTo[n]} - lMore[n] : int64_t{lTo[n]} + lMore[n];
        lTo[n] = static_cast<uint32_t>(nCarry);
        nCarry >>= 32;
    }
}

// Adds nFactor * arctan(1 / nOf) by its series.
void AddArcTangent(Words& lTo, uint32_t nFactor, uint32_t nOf, bool bSubtract) {
    Words lPower(lTo.size());
    lPower[0] = nFactor;
    Divide(lPower, nOf);
    for (uint32_t nOdd = 1; std::any_of(lPower.begin(), lPower.end(), [](uint32_t n) { return n != 0; }); nOdd += 2) {
        Words lTerm = lPower;
        Divide(lTerm, nOdd);
        Add(lTo, lTerm, bSubtract != (nOdd % 4 == 3));
        Divide(lPower, nOf * nOf);
    }
}

std::string Encoded(std::string const& szBytes, unsigned int nFlags) {
    LStringLong szText;
    Base64Encode(szBytes.data(), szBytes.size(), szText, nFlags);
    EXPECT_LT(szText.GetLength(),
              static_cast<size_t>(Base64EncodeGetRequiredLength(static_cast<int>(szBytes.size()), nFlags)) + 1);
    char szBounded[260];
    Base64Encode(szBytes.data(), szBytes.size(), szBounded, nFlags);
    EXPECT_EQ(szBounded, std::string(szText.View().substr(0, 259)));
    return std::string(szText.View());
}

std::string Decoded(std::string const& szText) {
    LStringLong oBytes;
    size_t const nBytes = Base64Decode(szText.data(), szText.size(), oBytes);
    EXPECT_EQ(oBytes.GetLength(), 3 * ((szText.size() + 3) / 4));
    EXPECT_EQ(oBytes.View().substr(nBytes).find_first_not_of('\0'), std::string_view::npos);
    std::string szInPlace = szText;
    EXPECT_EQ(Base64Decode(szInPlace.data(), szInPlace.size(), szInPlace.data(), szInPlace.size()), nBytes);
    EXPECT_EQ(szInPlace.substr(0, nBytes), oBytes.View().substr(0, nBytes));
    return std::string(oBytes.View().substr(0, nBytes));
}

// Every byte value, no zero among the first 255.
std::string SomeText(size_t nLength) {
    std::string szText(nLength, '\0');
    for (size_t n = 0; n < nLength; ++n)
        szText[n] = static_cast<char>(1 + (n * 7 + nLength) % 255);
    return szText;
}

std::string Protect(std::string const& szPlain) {
    LStringLong szOut;
    LSettingEncrypt(szOut, szPlain.c_str());
    return szOut.GetString();
}

// By both forms, which must agree.
std::string Reveal(std::string const& szProtected) {
    LStringLong szText;
    szText.Set(szProtected);
    LSettingDecrypt(szText);
    std::string szInPlace = szProtected + '\0' + "behind";
    LSettingDecrypt(szInPlace.data());
    EXPECT_EQ(szInPlace.c_str(), std::string(szText.View()));
    EXPECT_EQ(szInPlace.substr(szProtected.size() + 1), "behind");
    return szInPlace.c_str();
}

std::string WithoutBreaks(std::string szText) {
    std::erase_if(szText, [](char c) { return c == '\r' || c == '\n'; });
    return szText;
}

} // namespace

TEST(BlowFish, StartsFromTheDigitsOfPi) {
    Words lPi(1 + std::size(kPiFraction) + 2);
    AddArcTangent(lPi, 16, 5, false);
    AddArcTangent(lPi, 4, 239, true);
    EXPECT_EQ(lPi[0], 3u);
    EXPECT_TRUE(std::equal(std::begin(kPiFraction), std::end(kPiFraction), lPi.begin() + 1));
}

TEST(BlowFish, AgreesWithItsPublishedVectors) {
    struct {
        char const* szKey;
        unsigned int nPlain[2], nCipher[2];
    } const kVectors[] = {
        {"abcdefghijklmnopqrstuvwxyz", {0x424C4F57, 0x46495348}, {0x324ED0FE, 0xF413A203}},
        {"Who is John Galt?", {0xFEDCBA98, 0x76543210}, {0xCC91732B, 0x8022F684}},
        {"\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", {0xFFFFFFFF, 0xFFFFFFFF}, {0x51866FD5, 0xB85ECB8A}},
        {"\x11\x11\x11\x11\x11\x11\x11\x11", {0x01234567, 0x89ABCDEF}, {0x7D0CC630, 0xAFDA1EC7}},
        {"\x01\x23\x45\x67\x89\xAB\xCD\xEF", {0x11111111, 0x11111111}, {0x61F9C380, 0x2281B096}},
        {"\xFE\xDC\xBA\x98\x76\x54\x32\x10", {0x01234567, 0x89ABCDEF}, {0x0ACEAB0F, 0xC6A0A28D}},
        {"\x7C\xA1\x10\x45\x4A\x1A\x6E\x57", {0x01A1D6D0, 0x39776742}, {0x59C68245, 0xEB05282B}},
    };
    LBlowFish oCipher;
    for (auto const& oVector : kVectors) {
        SCOPED_TRACE(oVector.szKey);
        oCipher.SetKey(oVector.szKey);
        oCipher.SetKey(""); // nothing happens
        unsigned int nLeft = oVector.nPlain[0], nRight = oVector.nPlain[1];
        oCipher.Blowfish_encipher(nLeft, nRight);
        EXPECT_EQ(nLeft, oVector.nCipher[0]);
        EXPECT_EQ(nRight, oVector.nCipher[1]);
        oCipher.Blowfish_decipher(nLeft, nRight);
        EXPECT_EQ(nLeft, oVector.nPlain[0]);
        EXPECT_EQ(nRight, oVector.nPlain[1]);
    }
}

TEST(BlowFish, TakesEachBlockOfABufferOnItsOwn) {
    LBlowFish const oCipher("abcdefghijklmnopqrstuvwxyz");
    std::string const szBlock = "WOLBHSIF", szEnciphered = "\xFE\xD0\x4E\x32\x03\xA2\x13\xF4"; // halves little-endian
    for (size_t nBlocks = 0; nBlocks < 14; ++nBlocks)
        for (size_t nSpecial = 0; nSpecial < nBlocks; ++nSpecial) {
            std::string szBuffer = SomeText(nBlocks * 8) + "tail";
            szBuffer.replace(nSpecial * 8, 8, szBlock);
            std::string const szBefore = szBuffer;
            oCipher.Encode(szBuffer.data(), szBuffer.size());
            EXPECT_EQ(szBuffer.substr(nSpecial * 8, 8), szEnciphered) << nSpecial << " of " << nBlocks;
            EXPECT_EQ(szBuffer.substr(nBlocks * 8), "tail");
            oCipher.Decode(szBuffer.data(), szBuffer.size());
            EXPECT_EQ(szBuffer, szBefore);
        }
}

TEST(Base64, AgreesWithItsPublishedVectorsAndItsRulesOfLines) {
    struct {
        char const *szBytes, *szText;
    } const kVectors[] = {{"", ""},
                          {"f", "Zg=="},
                          {"fo", "Zm8="},
                          {"foo", "Zm9v"},
                          {"foob", "Zm9vYg=="},
                          {"fooba", "Zm9vYmE="},
                          {"foobar", "Zm9vYmFy"},
                          {"\xFB\xEF\xBE\xFF\xFF\xFF", "++++////"}};
    for (auto const& oVector : kVectors) {
        EXPECT_EQ(Encoded(oVector.szBytes, 0), oVector.szText);
        EXPECT_EQ(Decoded(oVector.szText), oVector.szBytes);
    }
    for (size_t nSize = 0; nSize <= 400; ++nSize) {
        SCOPED_TRACE(nSize);
        std::string const szBytes = SomeText(nSize), szWhole = Encoded(szBytes, kBase64NoLineBreaks);
        std::string szLines; // characters of whole groups make the lines; what is left follows the last
        for (size_t n = 0; n < szWhole.size(); ++n) {
            if (n > 0 && n % 76 == 0)
                szLines += "\r\n";
            szLines += szWhole[n];
        }
        if (nSize > 0 && nSize % 57 == 0)
            szLines += "\r\n";
        EXPECT_EQ(Encoded(szBytes, 0), szLines);
        EXPECT_EQ(szWhole.size(), (nSize + 2) / 3 * 4);
        std::string const szUnpadded = szWhole.substr(0, szWhole.find('='));
        EXPECT_EQ(Encoded(szBytes, kBase64NoPadding | kBase64NoLineBreaks), szUnpadded);
        EXPECT_EQ(Decoded(szLines), szBytes);
        EXPECT_EQ(Decoded(szUnpadded), szBytes);
    }
    int const kLengths[][3] = {// bytes, flags, room
                               {0, 0, 2},   {0, 2, 0},     {1, 0, 6},    {1, 1, 6},   {2, 2, 4},
                               {57, 0, 80}, {57, 3, 76},   {58, 0, 84},  {64, 0, 92}, {INT32_MAX, 2, INT32_MAX},
                               {-1, 2, 0},  {100, 1, 140}, {100, 3, 136}};
    for (auto const& l : kLengths)
        EXPECT_EQ(Base64EncodeGetRequiredLength(l[0], static_cast<unsigned int>(l[1])), l[2]) << l[0] << ' ' << l[1];
}

TEST(Base64, PassesOverWhatIsNotOfItsAlphabet) {
    struct {
        std::string szText, szBytes;
    } const kTexts[] = {
        {" Zm\t9\r\nv-Y_g", "foob"},             // in the middle of a group
        {"Zg==Zm8=", Decoded("ZgZm8")},          // "=" ends nothing
        {"Zm9vY", "foo"},                        // one character gives no byte
        {std::string("Zm9v\0Zm9v", 9), "foo"},   // a NUL ends it
        {std::string("Z\0m9vZm9vZm9v", 13), ""}, // wherever it stands
        {"\xC3\xA4Z\x80m\xFF"
         "9vZm9vZ",
         "foofoo"},
        {"====", ""},
    };
    for (auto const& oText : kTexts)
        EXPECT_EQ(Decoded(oText.szText), oText.szBytes) << oText.szText;
    EXPECT_EQ(Base64Decode("Zm9vZm9v", 3, std::string(4, 0).data(), 4), 2u); // the length ends it
    int const kCharacters[][2] = {{'A', 0},  {'Z', 25}, {'a', 26}, {'z', 51}, {'0', 52},       {'9', 61},
                                  {'+', 62}, {'/', 63}, {'=', -1}, {0, -1},   {'A' + 256, -1}, {-1, -1}};
    for (auto const& l : kCharacters)
        EXPECT_EQ(DecodeBase64Char(static_cast<unsigned int>(l[0])), l[1]) << l[0];
}

TEST(SettingCipher, ProtectsTextsOfEveryLength) {
    EXPECT_EQ(Protect("secret"), "3fFsB9zxNQo=");
    EXPECT_EQ(Protect("12345678"), "LK2abzBRDoAYBqAr3d5wsg==");
    EXPECT_EQ(Protect("The quick brown fox jumps over the lazy dog, twice today"),
              "2J+qhmdJ14C28IPzGzPNDSry3cf6KZokEvCqiZv1hOt1Qt/570xVNFKoXRtUSu6rtj0HqzQuvFoY\r\nBqAr3d5wsg==");
    LBlowFish const oCipher(kSettingCipherKey);
    for (size_t nLength = 0; nLength <= 300; ++nLength) {
        SCOPED_TRACE(nLength);
        std::string const szPlain = SomeText(nLength), szProtected = Protect(szPlain);
        EXPECT_EQ(Decoded(szProtected).size(), nLength == 0 ? 0 : nLength / 8 * 8 + 8);
        EXPECT_EQ(Reveal(szProtected), szPlain);
        EXPECT_EQ(Reveal(WithoutBreaks(szProtected)), szPlain);

        LStringLong szLong; // from itself and into itself
        szLong.Set(szPlain);
        oCipher.StringEncodeBase64(szLong, szLong.GetString());
        EXPECT_EQ(szLong.View(), WithoutBreaks(szProtected));
        oCipher.StringDecodeBase64(szLong, szLong.GetString());
        EXPECT_EQ(szLong.View(), szPlain);

        char szBounded[260], szBack[260];
        oCipher.StringEncodeBase64(szBounded, szPlain.c_str());
        EXPECT_EQ(szBounded, WithoutBreaks(Protect(szPlain.substr(0, 263))).substr(0, 259));
        oCipher.StringDecodeBase64(szBack, szBounded);
        EXPECT_EQ(szBack, szPlain.substr(0, nLength < 192 ? nLength : 192)); // 24 blocks are whole in 259 characters
        oCipher.StringDecodeBase64(szBack, szProtected.c_str());
        EXPECT_EQ(szBack, szPlain.substr(0, 259));
    }
    LStringLong szOut;
    szOut.Set("old");
    LSettingEncrypt(szOut, nullptr);
    EXPECT_TRUE(szOut.IsEmpty());
    LSettingDecrypt(nullptr);
    LSettingDecrypt(szOut);
    EXPECT_TRUE(szOut.IsEmpty());
}

TEST(SettingCipher, GivesWholeBlocksOfWhatIsCutAndHarmlessTextOfWhatIsWrong) {
    std::string const szPlain = SomeText(100), szProtected = Protect(szPlain);
    for (size_t nCut = 0; nCut <= szProtected.size(); ++nCut)
        EXPECT_EQ(Reveal(szProtected.substr(0, nCut)),
                  szPlain.substr(0, Decoded(szProtected.substr(0, nCut)).size() / 8 * 8))
            << nCut;
    for (char const* szWrong : {"=", "not protected", "\x01\x02\xFF", "AAAAAAAAAAAAAAAAAAAAAA"})
        EXPECT_LT(Reveal(szWrong).size(), std::string(szWrong).size()) << szWrong;
    for (size_t n = 0; n < szProtected.size(); n += 11) { // a changed character spoils its block only
        std::string szChanged = szProtected;
        szChanged[n] = szChanged[n] == 'A' ? 'B' : 'A';
        std::string const szRevealed = Reveal(szChanged);
        EXPECT_EQ(szRevealed.substr(0, Decoded(szProtected.substr(0, n)).size() / 8 * 8),
                  szPlain.substr(0, Decoded(szProtected.substr(0, n)).size() / 8 * 8));
        EXPECT_NE(szRevealed, szPlain);
    }
}
