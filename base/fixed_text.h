// Text in the library's fixed buffers: 260 bytes (259 characters and a NUL) for names, keys and paths.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>

inline constexpr std::size_t kLNameSize = 260;

// Appends to a caller's fixed buffer, which is NUL-terminated from construction on and after every call. What does not
// fit is cut, at a character of T, and remembered. Allocates nothing; one thread at a time.
template <class T>
class LFixedLengthStringWriterTemplate {
public:
    // Starts at the buffer's front; `nSize` is its size in characters with the NUL, at least 1.
    LFixedLengthStringWriterTemplate(T* szBuffer, std::size_t nSize) noexcept : szText(szBuffer), nRoom(nSize - 1) {
        szText[0] = T();
    }
    template <std::size_t nSize>
    explicit LFixedLengthStringWriterTemplate(T (&szBuffer)[nSize]) noexcept
        : LFixedLengthStringWriterTemplate(szBuffer, nSize) {}

    LFixedLengthStringWriterTemplate& Add(T const* szMore) noexcept {
        return Add(szMore, std::char_traits<T>::length(szMore));
    }
    LFixedLengthStringWriterTemplate& Add(T const* pMore, std::size_t nCharacters) noexcept {
        std::size_t const nFits = nCharacters < nRoom - nLength ? nCharacters : nRoom - nLength;
        if (nFits > 0) // an empty view may point nowhere
            std::memcpy(szText + nLength, pMore, nFits * sizeof(T));
        nLength += nFits;
        szText[nLength] = T();
        bCut = bCut || nFits < nCharacters;
        return *this;
    }
    LFixedLengthStringWriterTemplate& Add(T c) noexcept { return Add(&c, 1); }

    // In decimal, with leading zeros up to `nDigits` digits (at most 20).
    LFixedLengthStringWriterTemplate& AddNumber(std::uint64_t nNumber, unsigned nDigits = 1) noexcept {
        T szDigits[20];
        std::size_t nFirst = std::size(szDigits);
        do
            szDigits[--nFirst] = static_cast<T>('0' + nNumber % 10);
        while ((nNumber /= 10) != 0 || (std::size(szDigits) - nFirst < nDigits && nFirst > 0));
        return Add(szDigits + nFirst, std::size(szDigits) - nFirst);
    }
    // In decimal, with a "-" when it is negative.
    LFixedLengthStringWriterTemplate& AddSigned(std::int64_t nNumber) noexcept {
        if (nNumber < 0)
            Add(static_cast<T>('-'));
        return AddNumber(nNumber < 0 ? -static_cast<std::uint64_t>(nNumber) : static_cast<std::uint64_t>(nNumber));
    }

    T const* Text() const noexcept { return szText; }
    std::size_t Length() const noexcept { return nLength; } // in characters, without the NUL
    bool WasCut() const noexcept { return bCut; }

private:
    T* szText;
    std::size_t nRoom; // characters of text that the buffer takes
    std::size_t nLength = 0;
    bool bCut = false;
};

using LFixedWriter = LFixedLengthStringWriterTemplate<char>;

// Copies a C string into a fixed buffer, cut to fit; null is empty. What stands behind the NUL is left as it is.
template <std::size_t nSize>
void LCopyFixed(char (&szTo)[nSize], char const* szFrom) noexcept {
    std::size_t const nLength = szFrom ? strnlen(szFrom, nSize - 1) : 0;
    if (nLength > 0)
        std::memcpy(szTo, szFrom, nLength);
    szTo[nLength] = '\0';
}
