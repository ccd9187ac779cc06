// LBlowFish: the Blowfish cipher, with the string forms that stored values take.
#pragma once

#include "base/string_long.h"
#include "settings/pi_fraction.h"

// Blowfish as its author published it (B. Schneier, "Description of a New Variable-Length Key, 64-Bit Block Cipher",
// 1994): 16 rounds on blocks of 8 bytes. Nothing here throws. One thread at a time sets a key; any number encipher and
// decipher under it.
class LBlowFish {
public:
    // The cipher's published state, without a key in it.
    constexpr LBlowFish() noexcept { CopyInitialTables(); }
    constexpr explicit LBlowFish(std::string_view szKey) noexcept : LBlowFish() {
        if (!szKey.empty())
            Schedule(szKey);
    }

    // Forgets the key before it. Null or empty: nothing happens. Every character counts, up to the 72nd.
    constexpr void SetKey(char const* szKey) noexcept {
        if (szKey && *szKey)
            Schedule(szKey);
    }

    // One block, in place.
    constexpr void Blowfish_encipher(unsigned int& nLeft, unsigned int& nRight) const noexcept;
    constexpr void Blowfish_decipher(unsigned int& nLeft, unsigned int& nRight) const noexcept;

    // A buffer, in place, each block on its own. The halves of a block are little-endian words, the left one first.
    // `nSize` is in bytes, a multiple of 8; bytes behind the last whole block stay as they are.
    void Encode(void* pData, unsigned long nSize) const noexcept;
    void Decode(void* pData, unsigned long nSize) const noexcept;

    // The text, filled up with at least one zero byte to whole blocks, enciphered, as base64 in one line. The forms
    // with a fixed buffer of 260 bytes take 263 characters of the text and give 259: what ends before the last block
    // does not come back. Null is empty, and an empty text gives an empty one. `szIn` may be the output's own text.
    void StringEncodeBase64(LStringLongTemplate<char>& szOut, char const* szIn) const noexcept;
    void StringEncodeBase64(char* szOut, char const* szIn) const noexcept;

    // Back again, up to the first zero byte. A last block that is not whole is dropped: there is no telling what it
    // was. The fixed buffer holds 260 bytes; a longer result is cut.
    void StringDecodeBase64(LStringLongTemplate<char>& szOut, char const* szIn) const noexcept;
    void StringDecodeBase64(char* szOut, char const* szIn) const noexcept;

    // What the string forms are made of. EncipherText gives the padded text as base64 with these flags, "" for an empty
    // text or without memory. DecipherText writes at most `nRoom` bytes, no NUL, and returns where the first zero byte
    // is or the whole blocks end. Either may write where the text lies.
    void EncipherText(LStringLongTemplate<char>& szOut, std::string_view szText,
                      unsigned int nBase64Flags) const noexcept;
    std::size_t DecipherText(char* pOut, std::size_t nRoom, std::string_view szText) const noexcept;

private:
    static constexpr int kRounds = 16;
    static constexpr int kBoxSize = 256;

    template <std::size_t nLanes, bool bEncipher>
    void Blocks(unsigned char* pData) const noexcept;

    constexpr void Schedule(std::string_view szKey) noexcept;
    constexpr void CopyInitialTables() noexcept {
        auto const* pNext = kPiFraction;
        for (auto& n : lP)
            n = *pNext++;
        for (auto& lBox : lS)
            for (auto& n : lBox)
                n = *pNext++;
    }
    constexpr unsigned int Feistel(unsigned int n) const noexcept {
        return ((lS[0][n >> 24] + lS[1][n >> 16 & 0xFF]) ^ lS[2][n >> 8 & 0xFF]) + lS[3][n & 0xFF];
    }

    unsigned int lP[kRounds + 2];
    unsigned int lS[4][kBoxSize];
};
static_assert(sizeof(LBlowFish) == 4 * (18 + 4 * 256));

constexpr void LBlowFish::Blowfish_encipher(unsigned int& nLeft, unsigned int& nRight) const noexcept {
    unsigned int n = nLeft, m = nRight;
    for (int nRound = 0; nRound < kRounds; nRound += 2) {
        n ^= lP[nRound];
        m ^= Feistel(n) ^ lP[nRound + 1];
        n ^= Feistel(m);
    }
    nLeft = m ^ lP[kRounds + 1];
    nRight = n ^ lP[kRounds];
}

constexpr void LBlowFish::Blowfish_decipher(unsigned int& nLeft, unsigned int& nRight) const noexcept {
    unsigned int n = nLeft, m = nRight;
    for (int nRound = kRounds + 1; nRound > 1; nRound -= 2) {
        n ^= lP[nRound];
        m ^= Feistel(n) ^ lP[nRound - 1];
        n ^= Feistel(m);
    }
    nLeft = m ^ lP[0];
    nRight = n ^ lP[1];
}

constexpr void LBlowFish::Schedule(std::string_view szKey) noexcept {
    CopyInitialTables();
    std::size_t nKeyByte = 0;
    for (auto& n : lP) {
        unsigned int nWord = 0;
        for (int nByte = 0; nByte < 4; ++nByte) {
            nWord = nWord << 8 | static_cast<unsigned char>(szKey[nKeyByte]);
            nKeyByte = (nKeyByte + 1) % szKey.size();
        }
        n ^= nWord;
    }
    unsigned int nLeft = 0, nRight = 0;
    auto const Replace = [&](unsigned int* pWords, int nWords) {
        for (int n = 0; n < nWords; n += 2) {
            Blowfish_encipher(nLeft, nRight);
            pWords[n] = nLeft;
            pWords[n + 1] = nRight;
        }
    };
    Replace(lP, kRounds + 2);
    for (auto& lBox : lS)
        Replace(lBox, kBoxSize);
}
