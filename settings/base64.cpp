#include "settings/base64.h"

#include "base/fixed_text.h"

#include <array>
#include <bit>
#include <climits>
#include <cstdint>

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kGroupsALine = 19;
constexpr std::size_t kBytesALine = 3 * kGroupsALine;
constexpr std::size_t kMostSize = LLONG_MAX / 8; // the room can still be counted

struct Pair {
    char c[2];
};

// Two characters at a time: one look-up for 12 bits.
constexpr auto kPairs = [] {
    std::array<Pair, 4096> lPairs{};
    for (std::size_t n = 0; n < lPairs.size(); ++n)
        lPairs[n] = {{kAlphabet[n >> 6], kAlphabet[n & 63]}};
    return lPairs;
}();

constexpr auto kValues = [] {
    std::array<signed char, 256> lValues{};
    lValues.fill(-1);
    for (int n = 0; n < 64; ++n)
        lValues[static_cast<unsigned char>(kAlphabet[n])] = static_cast<signed char>(n);
    return lValues;
}();

// 16 characters of text at a time; plain vectors, which the compiler breaks up where a machine has none.
using Bytes [[gnu::vector_size(16)]] = unsigned char;
using Pairs [[gnu::vector_size(16)]] = unsigned short;
using Groups [[gnu::vector_size(16)]] = unsigned int;

unsigned char ByteAt(char const* p) noexcept {
    return static_cast<unsigned char>(*p);
}

char* PutPair(char* p, std::uint64_t n) noexcept {
    std::memcpy(p, kPairs[n & 0xFFF].c, 2);
    return p + 2;
}

constexpr std::uint64_t ReadBigEndian(unsigned char const* p) noexcept {
    auto const At = [p](int n) { return std::uint64_t{p[n]} << (56 - 8 * n); };
    return At(0) | At(1) | At(2) | At(3) | At(4) | At(5) | At(6) | At(7); // which compilers know as one load
}

char* EncodeGroups(char* p, unsigned char const* pBytes, std::size_t nGroups) noexcept {
    for (; nGroups > 4; nGroups -= 4, pBytes += 12) { // reads 14 bytes
        std::uint64_t const nFirst = ReadBigEndian(pBytes), nSecond = ReadBigEndian(pBytes + 6);
        p = PutPair(PutPair(PutPair(PutPair(p, nFirst >> 52), nFirst >> 40), nFirst >> 28), nFirst >> 16);
        p = PutPair(PutPair(PutPair(PutPair(p, nSecond >> 52), nSecond >> 40), nSecond >> 28), nSecond >> 16);
    }
    for (; nGroups > 0; --nGroups, pBytes += 3) {
        unsigned int const nGroup = static_cast<unsigned int>(pBytes[0] << 16 | pBytes[1] << 8 | pBytes[2]);
        p = PutPair(PutPair(p, nGroup >> 12), nGroup);
    }
    return p;
}

// Returns the end of what it wrote, no NUL.
char* EncodeAll(char* p, unsigned char const* pBytes, std::size_t nSize, unsigned int nFlags) noexcept {
    if (!(nFlags & kBase64NoLineBreaks))
        for (; nSize >= kBytesALine; nSize -= kBytesALine, pBytes += kBytesALine) {
            p = EncodeGroups(p, pBytes, kGroupsALine);
            *p++ = '\r';
            *p++ = '\n';
        }
    p = EncodeGroups(p, pBytes, nSize / 3);
    pBytes += nSize - nSize % 3;
    if (nSize % 3 == 0)
        return p;
    unsigned int const nLast = static_cast<unsigned int>(pBytes[0] << 16 | (nSize % 3 == 2 ? pBytes[1] << 8 : 0));
    p = PutPair(p, nLast >> 12);
    if (nSize % 3 == 2)
        *p++ = kAlphabet[nLast >> 6 & 63];
    if (!(nFlags & kBase64NoPadding))
        for (std::size_t n = nSize % 3; n < 3; ++n)
            *p++ = '=';
    return p;
}

long long RequiredLength(long long nSize, unsigned int nFlags) noexcept {
    long long nLength = 4 * nSize / 3;
    if (!(nFlags & kBase64NoPadding))
        nLength += nSize % 3;
    long long const nLines = nLength / 76;
    if (nLength % 76 != 0)
        nLength = (nLength + 3) / 4 * 4;
    return nFlags & kBase64NoLineBreaks ? nLength : nLength + 2 * nLines + 2;
}

// All ones in the bytes that are it, and that lie between the two, both included.
Bytes Is(Bytes lBytes, unsigned char n) noexcept {
    return reinterpret_cast<Bytes>(lBytes == n);
}
Bytes Between(Bytes lBytes, unsigned char nFirst, unsigned char nLast) noexcept {
    return reinterpret_cast<Bytes>(lBytes - nFirst <= static_cast<unsigned char>(nLast - nFirst));
}

// What is to be added to a character to make it a value, when nFirst is to become nValue.
constexpr unsigned char From(char nFirst, int nValue) noexcept {
    return static_cast<unsigned char>(nValue - nFirst);
}

// As long as there are 16 characters of the alphabet in a row, makes 12 bytes of them. Moves both pointers past what it
// did; writes up to 2 bytes more, but never over a character that it has not read.
void DecodeRuns(char const*& p, char const* const pEnd, unsigned char*& pOut,
                unsigned char const* const pOutEnd) noexcept {
    if constexpr (std::endian::native != std::endian::little)
        return; // the characters of a group would lie the other way round
    for (; pEnd - p >= 16 && pOutEnd - pOut >= 14; p += 16, pOut += 12) {
        Bytes lText;
        std::memcpy(&lText, p, sizeof lText);
        // What makes a character its value. For none of them is that nothing, which is therefore what the others have.
        Bytes const lToValue = (Between(lText, 'A', 'Z') & From('A', 0)) | (Between(lText, 'a', 'z') & From('a', 26)) |
                               (Between(lText, '0', '9') & From('0', 52)) | (Is(lText, '+') & From('+', 62)) |
                               (Is(lText, '/') & From('/', 63));
        Bytes const lUnknown = Is(lToValue, 0);
        std::uint64_t lHalves[2];
        std::memcpy(lHalves, &lUnknown, sizeof lHalves);
        if ((lHalves[0] | lHalves[1]) != 0)
            return;
        // 6 bits of each byte, 12 of each two, 24 of each four, the first always the highest.
        auto const l6 = reinterpret_cast<Pairs>(lText + lToValue);
        auto const l12 = reinterpret_cast<Groups>((l6 << 6 & 0xFC0) | l6 >> 8);
        Groups const l24 = (l12 << 12 & 0xFFF000) | l12 >> 16;
        for (int n = 0; n < 4; n += 2) {
            std::uint64_t const nFirst = l24[n], nSecond = l24[n + 1];
            std::uint64_t const nBytes = __builtin_bswap64(nFirst << 40 | nSecond << 16);
            std::memcpy(pOut + 3 * n, &nBytes, sizeof nBytes);
        }
    }
}

// The next group of up to four characters, whatever stands between them. The highest value comes first; returns how
// many there were.
int ReadGroup(char const*& p, char const* const pEnd, unsigned int& nGroup) noexcept {
    int nCharacters = 0;
    nGroup = 0;
    for (; nCharacters < 4 && p != pEnd && *p; ++p)
        if (int const n = kValues[ByteAt(p)]; n >= 0)
            nGroup |= static_cast<unsigned int>(n) << (18 - 6 * nCharacters++);
    return nCharacters;
}

} // namespace

int Base64EncodeGetRequiredLength(int nSize, unsigned int nFlags) noexcept {
    long long const nLength = nSize > 0 ? RequiredLength(nSize, nFlags) : RequiredLength(0, nFlags);
    return nLength < INT_MAX ? static_cast<int>(nLength) : INT_MAX;
}

void Base64Encode(void const* pBytes, std::size_t nSize, LStringLongTemplate<char>& szOut,
                  unsigned int nFlags) noexcept {
    szOut.Empty();
    if (nSize > kMostSize)
        return;
    auto const nRoom = static_cast<std::size_t>(RequiredLength(static_cast<long long>(nSize), nFlags));
    if (nRoom == 0 || !szOut.Reserve(nRoom + 1))
        return;
    char const* const pEnd = EncodeAll(szOut.GetBuffer(), static_cast<unsigned char const*>(pBytes), nSize, nFlags);
    szOut.SetLength(static_cast<std::size_t>(pEnd - szOut.GetBuffer()));
}

void Base64Encode(void const* pBytes, std::size_t nSize, char* szOut, unsigned int nFlags) noexcept {
    constexpr std::size_t kMostBytes = (kLNameSize + 3) / 4 * 3; // whole groups that fill the buffer
    char szText[kMostBytes / 3 * 4 + 2 * (kMostBytes / kBytesALine)];
    char const* const pEnd =
        EncodeAll(szText, static_cast<unsigned char const*>(pBytes), nSize < kMostBytes ? nSize : kMostBytes, nFlags);
    LFixedWriter(szOut, kLNameSize).Add(szText, static_cast<std::size_t>(pEnd - szText));
}

std::size_t Base64Decode(char const* szText, std::size_t nLength, void* pTo, std::size_t nRoom) noexcept {
    char const *p = szText, *const pEnd = szText + nLength;
    auto* const pFirst = static_cast<unsigned char*>(pTo);
    auto* pOut = pFirst;
    for (;;) {
        DecodeRuns(p, pEnd, pOut, pFirst + nRoom);
        unsigned int nGroup;
        int const nBytes = ReadGroup(p, pEnd, nGroup) * 3 / 4;
        if (nBytes == 0 || static_cast<std::size_t>(nBytes) > nRoom - static_cast<std::size_t>(pOut - pFirst))
            break;
        for (int n = 0; n < nBytes; ++n)
            *pOut++ = static_cast<unsigned char>(nGroup >> (16 - 8 * n));
        if (nBytes < 3)
            break;
    }
    return static_cast<std::size_t>(pOut - pFirst);
}

std::size_t Base64Decode(char const* szText, std::size_t nLength, LStringLongTemplate<char>& oOut) noexcept {
    oOut.Empty();
    std::size_t const nRoom = 3 * (nLength / 4 + (nLength % 4 != 0));
    if (!oOut.Reserve(nRoom + 1))
        return 0;
    std::size_t const nBytes = Base64Decode(szText, nLength, oOut.GetBuffer(), nRoom);
    std::memset(oOut.GetBuffer() + nBytes, 0, nRoom - nBytes);
    oOut.SetLength(nRoom);
    return nBytes;
}

int DecodeBase64Char(unsigned int nCharacter) noexcept {
    return nCharacter < kValues.size() ? kValues[nCharacter] : -1;
}
