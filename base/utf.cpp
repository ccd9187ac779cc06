#include "base/utf.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool IsHighSurrogate(char32_t c) noexcept {
    return (c & 0xFFFFFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(char32_t c) noexcept {
    return (c & 0xFFFFFC00) == 0xDC00;
}
constexpr bool IsContinuation(unsigned char c) noexcept {
    return (c & 0xC0) == 0x80;
}

// How many bytes of continuation a lead byte asks for, and which bytes may come first among them. This is what rules
// out overlong forms, surrogates and values past U+10FFFF. nMore is 0 for a byte that leads nothing.
struct Lead {
    unsigned char nMore, nLeast, nMost;
};

constexpr Lead LeadOf(unsigned char c) noexcept {
    if (c < 0xC2 || c > 0xF4)
        return {0, 0, 0};
    if (c < 0xE0)
        return {1, 0x80, 0xBF};
    if (c < 0xF0)
        return {2, static_cast<unsigned char>(c == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(c == 0xED ? 0x9F : 0xBF)};
    return {3, static_cast<unsigned char>(c == 0xF0 ? 0x90 : 0x80),
            static_cast<unsigned char>(c == 0xF4 ? 0x8F : 0xBF)};
}

// Takes one character that is not ASCII, or one ill-formed start of one.
[[gnu::noinline]] char32_t TakeLong(unsigned char const*& p, unsigned char const* pEnd) noexcept {
    unsigned char const c = *p++;
    Lead const oLead = LeadOf(c);
    if (oLead.nMore == 0 || p == pEnd || *p < oLead.nLeast || *p > oLead.nMost)
        return kReplacement;
    char32_t nCode = ((c & (0x3FU >> oLead.nMore)) << 6) | (*p++ & 0x3FU);
    for (int n = 1; n < oLead.nMore; ++n) {
        if (p == pEnd || !IsContinuation(*p))
            return kReplacement;
        nCode = (nCode << 6) | (*p++ & 0x3FU);
    }
    return nCode;
}

// ---- One reader a form: Take gives the next character. Blocks of ASCII, whose elements are the same in every form, are
// found and copied apart.

constexpr std::size_t kBlock = 16;

template <std::size_t nSize>
using WordOf =
    std::conditional_t<nSize == 4, std::uint32_t, std::conditional_t<nSize == 2, std::uint16_t, std::uint8_t>>;

template <class Element>
bool IsBlockPlain(Element const* p) noexcept {
    WordOf<sizeof(Element)> nAny = 0;
    for (std::size_t n = 0; n < kBlock; ++n)
        nAny = static_cast<WordOf<sizeof(Element)>>(nAny | static_cast<WordOf<sizeof(Element)>>(p[n]));
    return nAny < 0x80;
}

struct FromUTF8 {
    using Element = char;
    [[gnu::always_inline]] static char32_t Take(char const*& p, char const* pEnd) noexcept {
        auto const nByte = static_cast<unsigned char>(*p);
        if (nByte < 0x80)
            return static_cast<unsigned char>(*p++);
        // Well-formed sequences, without going through the table: all bytes there and in place, the value not too small
        // for its length and one that UTF-8 may have.
        auto const At = [p](int n) { return static_cast<char32_t>(static_cast<unsigned char>(p[n])); };
        std::ptrdiff_t const nLeft = pEnd - p;
        if (nLeft >= 2 && nByte >= 0xC2 && nByte < 0xE0 && (At(1) & 0xC0) == 0x80) {
            char32_t const nCode = ((nByte & 0x1FU) << 6) | (At(1) & 0x3F);
            p += 2;
            return nCode;
        }
        if (nLeft >= 3 && (nByte & 0xF0) == 0xE0 && ((At(1) << 8 | At(2)) & 0xC0C0) == 0x8080) {
            char32_t const nCode = ((nByte & 0x0FU) << 12) | ((At(1) & 0x3F) << 6) | (At(2) & 0x3F);
            if (nCode >= 0x800 && (nCode & 0xFFFFF800) != 0xD800) {
                p += 3;
                return nCode;
            }
        }
        if (nLeft >= 4 && (nByte & 0xF8) == 0xF0 && ((At(1) << 16 | At(2) << 8 | At(3)) & 0xC0C0C0) == 0x808080) {
            char32_t const nCode =
                ((nByte & 0x07U) << 18) | ((At(1) & 0x3F) << 12) | ((At(2) & 0x3F) << 6) | (At(3) & 0x3F);
            if (nCode >= 0x10000 && nCode <= 0x10FFFF) {
                p += 4;
                return nCode;
            }
        }
        auto pByte = reinterpret_cast<unsigned char const*>(p);
        char32_t const nCode = TakeLong(pByte, reinterpret_cast<unsigned char const*>(pEnd));
        p = reinterpret_cast<char const*>(pByte);
        return nCode;
    }
};

struct FromUTF16 {
    using Element = char16_t;
    [[gnu::always_inline]] static char32_t Take(char16_t const*& p, char16_t const* pEnd) noexcept {
        char32_t const c = *p++;
        if ((c & 0xF800) != 0xD800)
            return c;
        if (!IsHighSurrogate(c) || p == pEnd || !IsLowSurrogate(*p))
            return kReplacement;
        return 0x10000 + ((c & 0x3FF) << 10) + (*p++ & 0x3FFU);
    }
};

struct FromUTF32 {
    using Element = wchar_t;
    [[gnu::always_inline]] static char32_t Take(wchar_t const*& p, wchar_t const*) noexcept {
        auto const c = static_cast<char32_t>(*p++);
        return c > 0x10FFFF || (c & 0xFFFFF800) == 0xD800 ? kReplacement : c;
    }
};

// ---- One writer a form: Put writes a character where kMost elements have room; CountOf says how many it takes.

struct ToUTF8 {
    using Element = char;
    static constexpr std::size_t kMost = 4;
    static std::size_t CountOf(char32_t c) noexcept { return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4; }
    [[gnu::always_inline]] static char* Put(char* p, char32_t c) noexcept {
        if (c < 0x80) {
            *p++ = static_cast<char>(c);
        } else if (c < 0x800) {
            *p++ = static_cast<char>(0xC0 | (c >> 6));
            *p++ = static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            *p++ = static_cast<char>(0xE0 | (c >> 12));
            *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            *p++ = static_cast<char>(0x80 | (c & 0x3F));
        } else {
            *p++ = static_cast<char>(0xF0 | (c >> 18));
            *p++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            *p++ = static_cast<char>(0x80 | (c & 0x3F));
        }
        return p;
    }
};

struct ToUTF16 {
    using Element = char16_t;
    static constexpr std::size_t kMost = 2;
    static std::size_t CountOf(char32_t c) noexcept { return c < 0x10000 ? 1 : 2; }
    [[gnu::always_inline]] static char16_t* Put(char16_t* p, char32_t c) noexcept {
        if (c >= 0x10000) {
            *p++ = static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            c = 0xDC00 + (c & 0x3FF);
        }
        *p++ = static_cast<char16_t>(c);
        return p;
    }
};

struct ToUTF32 {
    using Element = wchar_t;
    static constexpr std::size_t kMost = 1;
    static std::size_t CountOf(char32_t) noexcept { return 1; }
    static wchar_t* Put(wchar_t* p, char32_t c) noexcept {
        *p++ = static_cast<wchar_t>(c);
        return p;
    }
};

// Converts blocks of ASCII while they last and both sides have room for one.
template <class In, class Out>
void ConvertPlain(In const*& p, In const* pEnd, Out*& pOut, Out const* pOutEnd) noexcept {
    while (pEnd - p >= static_cast<std::ptrdiff_t>(kBlock) && pOutEnd - pOut >= static_cast<std::ptrdiff_t>(kBlock) &&
           IsBlockPlain(p)) {
        for (std::size_t n = 0; n < kBlock; ++n)
            pOut[n] = static_cast<Out>(p[n]);
        p += kBlock;
        pOut += kBlock;
    }
}

template <class From, class To>
std::size_t Convert(typename To::Element* const pStart, std::size_t nSize,
                    std::basic_string_view<typename From::Element> szIn) noexcept {
    if (nSize == 0)
        return 0;
    auto p = szIn.data();
    auto const pEnd = p + szIn.size();
    auto pOut = pStart;
    auto const pOutEnd = pStart + nSize - 1; // the NUL's place
    while (p != pEnd && pOutEnd - pOut >= static_cast<std::ptrdiff_t>(To::kMost)) {
        char32_t const c = From::Take(p, pEnd);
        pOut = To::Put(pOut, c);
        // Two in a row: the blanks between words of other letters are not worth a look ahead.
        if (c < 0x80 && p != pEnd && static_cast<WordOf<sizeof *p>>(*p) < 0x80)
            ConvertPlain(p, pEnd, pOut, pOutEnd);
    }
    while (p != pEnd) { // near the end of the room: each character is measured first
        char32_t const c = From::Take(p, pEnd);
        if (pOutEnd - pOut < static_cast<std::ptrdiff_t>(To::CountOf(c)))
            break;
        pOut = To::Put(pOut, c);
    }
    *pOut = 0;
    return static_cast<std::size_t>(pOut - pStart);
}

// `nMost` is the most elements that one element of the input can become.
template <class From, class To>
bool Convert(LStringLongTemplate<typename To::Element>& szOut, std::basic_string_view<typename From::Element> szIn,
             std::size_t nMost) noexcept {
    szOut.Empty();
    if (szIn.size() > SIZE_MAX / sizeof(typename To::Element) / nMost - 1 || !szOut.Reserve(szIn.size() * nMost + 1))
        return false;
    szOut.SetLength(Convert<From, To>(szOut.GetBuffer(), szOut.GetCapacity(), szIn));
    return true;
}

} // namespace

std::size_t LCopyUTF8FromUnicode(char* pOut, std::size_t nSize, std::u16string_view szIn) noexcept {
    return Convert<FromUTF16, ToUTF8>(pOut, nSize, szIn);
}
std::size_t LCopyUTF8FromUTF32(char* pOut, std::size_t nSize, std::wstring_view szIn) noexcept {
    return Convert<FromUTF32, ToUTF8>(pOut, nSize, szIn);
}
std::size_t LCopyUnicodeFromUTF8(char16_t* pOut, std::size_t nSize, std::string_view szIn) noexcept {
    return Convert<FromUTF8, ToUTF16>(pOut, nSize, szIn);
}
std::size_t LCopyUnicodeFromUTF32(char16_t* pOut, std::size_t nSize, std::wstring_view szIn) noexcept {
    return Convert<FromUTF32, ToUTF16>(pOut, nSize, szIn);
}
std::size_t LCopyUTF32FromUTF8(wchar_t* pOut, std::size_t nSize, std::string_view szIn) noexcept {
    return Convert<FromUTF8, ToUTF32>(pOut, nSize, szIn);
}
std::size_t LCopyUTF32FromUnicode(wchar_t* pOut, std::size_t nSize, std::u16string_view szIn) noexcept {
    return Convert<FromUTF16, ToUTF32>(pOut, nSize, szIn);
}

bool LCopyUTF8FromUnicode(LStringLongTemplate<char>& szOut, std::u16string_view szIn) noexcept {
    return Convert<FromUTF16, ToUTF8>(szOut, szIn, 3);
}
bool LCopyUTF8FromUTF32(LStringLongTemplate<char>& szOut, std::wstring_view szIn) noexcept {
    return Convert<FromUTF32, ToUTF8>(szOut, szIn, 4);
}
bool LCopyUnicodeFromUTF8(LStringLongTemplate<char16_t>& szOut, std::string_view szIn) noexcept {
    return Convert<FromUTF8, ToUTF16>(szOut, szIn, 1);
}
bool LCopyUnicodeFromUTF32(LStringLongTemplate<char16_t>& szOut, std::wstring_view szIn) noexcept {
    return Convert<FromUTF32, ToUTF16>(szOut, szIn, 2);
}
bool LCopyUTF32FromUTF8(LStringLongTemplate<wchar_t>& szOut, std::string_view szIn) noexcept {
    return Convert<FromUTF8, ToUTF32>(szOut, szIn, 1);
}
bool LCopyUTF32FromUnicode(LStringLongTemplate<wchar_t>& szOut, std::u16string_view szIn) noexcept {
    return Convert<FromUTF16, ToUTF32>(szOut, szIn, 1);
}

std::size_t LCutUTF8(std::string_view szText, std::size_t nMost) noexcept {
    if (szText.size() <= nMost)
        return szText.size();
    // Back over the continuation bytes that the cut would leave alone; more than three belong to no character.
    std::size_t n = nMost;
    for (int nBack = 0; n != 0 && nBack < 3 && IsContinuation(static_cast<unsigned char>(szText[n])); ++nBack)
        --n;
    return IsContinuation(static_cast<unsigned char>(szText[n])) ? nMost : n;
}

std::size_t LCopyUTF8(char* pOut, std::size_t nSize, std::string_view szIn) noexcept {
    if (nSize == 0)
        return 0;
    std::size_t const nLength = LCutUTF8(szIn, nSize - 1);
    if (nLength > 0) // an empty view may point nowhere
        std::memmove(pOut, szIn.data(), nLength);
    pOut[nLength] = '\0';
    return nLength;
}
