// Text in the library's fixed buffers: 260 bytes (259 characters and a NUL) for names, keys and paths.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

inline constexpr std::size_t kLNameSize = 260;

// Appends to a caller's fixed buffer, which is NUL-terminated from construction on and after every call. What does not
// fit is cut, at a byte, and remembered. Allocates nothing; one thread at a time.
class LFixedWriter {
public:
    // Starts at the buffer's front; `nSize` is its size in bytes with the NUL, at least 1.
    LFixedWriter(char* szBuffer, std::size_t nSize) noexcept : szText(szBuffer), nRoom(nSize - 1) { szText[0] = '\0'; }
    template <std::size_t nSize>
    explicit LFixedWriter(char (&szBuffer)[nSize]) noexcept : LFixedWriter(szBuffer, nSize) {}

    LFixedWriter& Add(char const* szMore) noexcept { return Add(szMore, std::strlen(szMore)); }
    LFixedWriter& Add(char const* pMore, std::size_t nBytes) noexcept {
        std::size_t const nFits = nBytes < nRoom - nLength ? nBytes : nRoom - nLength;
        if (nFits > 0) // an empty view may point nowhere
            std::memcpy(szText + nLength, pMore, nFits);
        nLength += nFits;
        szText[nLength] = '\0';
        bCut = bCut || nFits < nBytes;
        return *this;
    }
    LFixedWriter& Add(char c) noexcept { return Add(&c, 1); }

    // In decimal, with leading zeros up to `nDigits` digits (at most 20).
    LFixedWriter& AddNumber(std::uint64_t nNumber, unsigned nDigits = 1) noexcept {
        char szDigits[20];
        std::size_t nFirst = sizeof szDigits;
        do
            szDigits[--nFirst] = static_cast<char>('0' + nNumber % 10);
        while ((nNumber /= 10) != 0 || (sizeof szDigits - nFirst < nDigits && nFirst > 0));
        return Add(szDigits + nFirst, sizeof szDigits - nFirst);
    }

    char const* Text() const noexcept { return szText; }
    std::size_t Length() const noexcept { return nLength; } // in bytes, without the NUL
    bool WasCut() const noexcept { return bCut; }

private:
    char* szText;
    std::size_t nRoom; // bytes of text that the buffer takes
    std::size_t nLength = 0;
    bool bCut = false;
};

// Copies a C string into a fixed buffer, cut to fit; null is empty. What stands behind the NUL is left as it is.
template <std::size_t nSize>
void LCopyFixed(char (&szTo)[nSize], char const* szFrom) noexcept {
    std::size_t const nLength = szFrom ? strnlen(szFrom, nSize - 1) : 0;
    if (nLength > 0)
        std::memcpy(szTo, szFrom, nLength);
    szTo[nLength] = '\0';
}
