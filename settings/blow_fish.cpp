#include "settings/blow_fish.h"

#include "base/fixed_text.h"
#include "settings/base64.h"

#include <algorithm>

namespace {

constexpr std::size_t kBlock = 8;
// A block's rounds wait for one another, those of different blocks do not: so many keep a processor busy.
constexpr std::size_t kLanes = 4;

unsigned int ReadLittleEndian(unsigned char const* p) noexcept {
    return p[0] | static_cast<unsigned int>(p[1]) << 8 | static_cast<unsigned int>(p[2]) << 16 |
           static_cast<unsigned int>(p[3]) << 24;
}

void WriteLittleEndian(unsigned char* p, unsigned int n) noexcept {
    p[0] = static_cast<unsigned char>(n);
    p[1] = static_cast<unsigned char>(n >> 8);
    p[2] = static_cast<unsigned char>(n >> 16);
    p[3] = static_cast<unsigned char>(n >> 24);
}

// Calls Do with 0, 1, ... as constants, so that lanes become registers.
template <std::size_t... nLane, class Function>
[[gnu::always_inline]] inline void ForEachOf(std::index_sequence<nLane...>, Function const& Do) noexcept {
    (Do(nLane), ...);
}

constexpr std::size_t PaddedSize(std::size_t nCharacters) noexcept {
    return (nCharacters / kBlock + 1) * kBlock;
}

} // namespace

template <std::size_t nLanes, bool bEncipher>
void LBlowFish::Blocks(unsigned char* pData) const noexcept {
    constexpr std::make_index_sequence<nLanes> kAll;
    unsigned int lLeft[nLanes], lRight[nLanes];
    ForEachOf(kAll, [&](std::size_t n) {
        lLeft[n] = ReadLittleEndian(pData + kBlock * n);
        lRight[n] = ReadLittleEndian(pData + kBlock * n + 4);
    });
    auto const KeyOf = [this](int nRound) { return lP[bEncipher ? nRound : kRounds + 1 - nRound]; };
    for (int nRound = 0; nRound < kRounds; nRound += 2) {
        unsigned int const nKey = KeyOf(nRound), nNextKey = KeyOf(nRound + 1);
        ForEachOf(kAll, [&](std::size_t n) { lLeft[n] ^= nKey; });
        ForEachOf(kAll, [&](std::size_t n) { lRight[n] ^= Feistel(lLeft[n]) ^ nNextKey; });
        ForEachOf(kAll, [&](std::size_t n) { lLeft[n] ^= Feistel(lRight[n]); });
    }
    ForEachOf(kAll, [&](std::size_t n) {
        WriteLittleEndian(pData + kBlock * n, lRight[n] ^ KeyOf(kRounds + 1));
        WriteLittleEndian(pData + kBlock * n + 4, lLeft[n] ^ KeyOf(kRounds));
    });
}

void LBlowFish::Encode(void* pData, unsigned long nSize) const noexcept {
    auto* p = static_cast<unsigned char*>(pData);
    for (; nSize >= kLanes * kBlock; nSize -= kLanes * kBlock, p += kLanes * kBlock)
        Blocks<kLanes, true>(p);
    for (; nSize >= kBlock; nSize -= kBlock, p += kBlock)
        Blocks<1, true>(p);
}

void LBlowFish::Decode(void* pData, unsigned long nSize) const noexcept {
    auto* p = static_cast<unsigned char*>(pData);
    for (; nSize >= kLanes * kBlock; nSize -= kLanes * kBlock, p += kLanes * kBlock)
        Blocks<kLanes, false>(p);
    for (; nSize >= kBlock; nSize -= kBlock, p += kBlock)
        Blocks<1, false>(p);
}

void LBlowFish::EncipherText(LStringLongTemplate<char>& szOut, std::string_view szText,
                             unsigned int nBase64Flags) const noexcept {
    LStringLongTemplate<char> oPadded;
    std::size_t const nSize = PaddedSize(szText.size());
    bool const bFits = !szText.empty() && oPadded.Reserve(nSize + 1);
    if (bFits) {
        std::memcpy(oPadded.GetBuffer(), szText.data(), szText.size());
        std::memset(oPadded.GetBuffer() + szText.size(), 0, nSize - szText.size());
        Encode(oPadded.GetBuffer(), nSize);
    }
    Base64Encode(oPadded.GetString(), bFits ? nSize : 0, szOut, nBase64Flags);
}

std::size_t LBlowFish::DecipherText(char* pOut, std::size_t nRoom, std::string_view szText) const noexcept {
    std::size_t const nBytes = Base64Decode(szText.data(), szText.size(), pOut, nRoom) / kBlock * kBlock;
    Decode(pOut, nBytes);
    return strnlen(pOut, nBytes);
}

void LBlowFish::StringEncodeBase64(LStringLongTemplate<char>& szOut, char const* szIn) const noexcept {
    EncipherText(szOut, szIn ? szIn : "", kBase64NoLineBreaks);
}

void LBlowFish::StringEncodeBase64(char* szOut, char const* szIn) const noexcept {
    constexpr std::size_t kMostCharacters = 263;
    char oBlocks[PaddedSize(kMostCharacters)] = {};
    std::size_t const nCharacters = szIn ? strnlen(szIn, kMostCharacters) : 0;
    std::size_t const nSize = nCharacters == 0 ? 0 : PaddedSize(nCharacters);
    std::copy_n(szIn, nCharacters, oBlocks);
    Encode(oBlocks, nSize);
    Base64Encode(oBlocks, nSize, szOut, kBase64NoLineBreaks);
}

void LBlowFish::StringDecodeBase64(LStringLongTemplate<char>& szOut, char const* szIn) const noexcept {
    std::string_view const szText = szIn ? szIn : "";
    LStringLongTemplate<char> szPlain;
    if (szPlain.Reserve(szText.size() + 1))
        szPlain.SetLength(DecipherText(szPlain.GetBuffer(), szText.size(), szText));
    szOut.Swap(szPlain);
}

void LBlowFish::StringDecodeBase64(char* szOut, char const* szIn) const noexcept {
    char szPlain[PaddedSize(kLNameSize - 1)]; // 264: as many whole blocks as whole groups of base64
    std::size_t const nLength = DecipherText(szPlain, sizeof szPlain, szIn ? szIn : "");
    LFixedWriter(szOut, kLNameSize).Add(szPlain, nLength);
}
