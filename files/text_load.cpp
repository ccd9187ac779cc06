#include "files/text_file.h"

#include "base/utf.h"
#include "files/locked_file.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cstring>
#include <limits>

namespace {

constexpr unsigned int kLoadLockTimeout = 5000;
constexpr long long kMostBytes = 3'000'000'000;
constexpr char16_t kMark = 0xFEFF;
constexpr char16_t kSwappedMark = 0xFFFE;

LFileDescriptor OpenToRead(char const* szPath) noexcept {
    return LOpenLocked(szPath, O_RDONLY, LOCK_SH, kLoadLockTimeout);
}

// Reads `nBytes` of the file, or as many as it has, as elements of the text; a last part of an element is left out.
template <class T>
bool ReadElements(int hFile, std::size_t nBytes, LStringLongTemplate<T>& szText) noexcept {
    std::size_t const nElements = nBytes / sizeof(T);
    if (!szText.Reserve(nElements + 1))
        return false;
    std::ptrdiff_t const nRead = LReadWhole(hFile, szText.GetBuffer(), nElements * sizeof(T));
    if (nRead < 0)
        return false;
    szText.SetLength(static_cast<std::size_t>(nRead) / sizeof(T));
    return true;
}

template <class T>
bool Load(LFileDescriptor const& oFile, long long nLimit, LStringLongTemplate<T>& szText) noexcept {
    szText.Empty();
    long long const nSize = oFile.IsOpen() ? LSizeOfFile(oFile.Get()) : -1;
    return nSize >= 0 && nSize <= nLimit && ReadElements(oFile.Get(), static_cast<std::size_t>(nSize), szText);
}

constexpr char16_t Swap(char16_t c) noexcept {
    return static_cast<char16_t>(c << 8 | c >> 8);
}

// Obeys and skips a byte-order mark, then converts. False when there is no memory.
bool ConvertMarked(LStringLongTemplate<char16_t>& szUnits, LStringLongTemplate<char>& szText) noexcept {
    char16_t* const pUnits = szUnits.GetBuffer();
    std::size_t const nUnits = szUnits.GetLength();
    bool const bSwapped = nUnits != 0 && pUnits[0] == kSwappedMark;
    if (bSwapped)
        for (std::size_t n = 1; n < nUnits; ++n)
            pUnits[n] = Swap(pUnits[n]);
    bool const bMarked = bSwapped || (nUnits != 0 && pUnits[0] == kMark);
    char16_t const* const szStart = szUnits.GetString() + bMarked;
    return LCopyFromUnicode(szText, szStart) != 0 || *szStart == 0;
}

// The bytes as units, a zero put behind an odd last one.
bool CopyUnits(LStringLongTemplate<char> const& szBytes, LStringLongTemplate<char16_t>& szUnits) noexcept {
    std::size_t const nUnits = (szBytes.GetLength() + 1) / 2;
    if (!szUnits.Reserve(nUnits + 1))
        return false;
    szUnits.GetBuffer()[nUnits - 1] = 0;
    std::memcpy(szUnits.GetBuffer(), szBytes.GetString(), szBytes.GetLength());
    szUnits.SetLength(nUnits);
    return true;
}

void RemoveFront(LStringLongTemplate<char>& szText, std::size_t nBytes) noexcept {
    std::size_t const nLeft = szText.GetLength() - nBytes;
    std::memmove(szText.GetBuffer(), szText.GetBuffer() + nBytes, nLeft);
    szText.SetLength(nLeft);
}

} // namespace

bool LLoadText(char const* szPath, LStringLongTemplate<char>& szText) noexcept {
    return Load(OpenToRead(szPath), kMostBytes, szText);
}
bool LLoadTextAsUTF8(char const* szPath, LStringLongTemplate<char>& szText) noexcept {
    return LLoadText(szPath, szText);
}

bool LLoadSharedText(char const* szPath, LStringLongTemplate<char>& szText) noexcept {
    constexpr long long kNoLimit = std::numeric_limits<long long>::max();
    return Load(LOpenLocked(szPath, O_RDONLY, 0, 0), kNoLimit, szText);
}
bool LLoadSharedTextAsUTF8(char const* szPath, LStringLongTemplate<char>& szText) noexcept {
    return LLoadSharedText(szPath, szText);
}

bool LLoadTextAsUTF16(char const* szPath, LStringLongTemplate<char>& szText) noexcept {
    LStringLongTemplate<char16_t> szUnits;
    szText.Empty();
    return Load(OpenToRead(szPath), kMostBytes, szUnits) &&
           (LCopyFromUnicode(szText, szUnits.GetString()) != 0 || *szUnits.GetString() == 0);
}

bool LLoadTextUnicode(char const* szPath, LStringLongTemplate<char>& szText) noexcept {
    LStringLongTemplate<char16_t> szUnits;
    szText.Empty();
    return Load(OpenToRead(szPath), kMostBytes, szUnits) && ConvertMarked(szUnits, szText);
}

bool LLoadTextAutoChar(char const* szPath, LStringLongTemplate<char>& szText) noexcept {
    if (!LLoadText(szPath, szText))
        return false;
    auto const StartsWith = [&](char const* szMark) { return szText.View().starts_with(szMark); };
    if (StartsWith("\xFF\xFE") || StartsWith("\xFE\xFF")) {
        LStringLongTemplate<char16_t> szUnits;
        bool const bConverted = CopyUnits(szText, szUnits) && ConvertMarked(szUnits, szText);
        if (!bConverted)
            szText.Empty();
        return bConverted;
    }
    if (StartsWith("\xEF\xBB\xBF"))
        RemoveFront(szText, 3);
    return true;
}

std::size_t LCopyFromUnicode(LStringLongTemplate<char>& szOut, char16_t const* szIn) noexcept {
    std::u16string_view const szUnits(szIn);
    szOut.Empty();
    if (!szOut.Reserve(szUnits.size() * 6 + 1))
        return 0;
    szOut.SetLength(LCopyUTF8FromUnicode(szOut.GetBuffer(), szOut.GetCapacity(), szUnits));
    return szOut.GetLength();
}
