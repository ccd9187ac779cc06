#include "platform/corefoundation/unicode.h"

#include <clocale>
#include <cwctype>

namespace cf {
namespace {

struct Scalar {
    char32_t c;
    size_t nByteCount; // 0: not valid
};

// One row a length: how the first byte tells it, and the least character that needs it.
struct Utf8Form {
    UInt8 mask, mark;
    size_t nByteCount;
    char32_t least;
};
constexpr Utf8Form kUtf8Forms[] = {
    {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

Scalar FirstOf(std::string_view text) noexcept {
    UInt8 const first = static_cast<UInt8>(text[0]);
    for (auto const& oForm : kUtf8Forms) {
        if ((first & oForm.mask) != oForm.mark)
            continue;
        if (text.size() < oForm.nByteCount)
            return {0, 0};
        char32_t c = first & static_cast<UInt8>(~oForm.mask);
        for (size_t n = 1; n < oForm.nByteCount; ++n) {
            UInt8 const next = static_cast<UInt8>(text[n]);
            if ((next & 0xC0) != 0x80)
                return {0, 0};
            c = c << 6 | (next & 0x3F);
        }
        bool const bValid = c >= oForm.least && c <= 0x10FFFF && !IsSurrogate(c);
        return {c, bValid ? oForm.nByteCount : 0};
    }
    return {0, 0};
}

// Leaked on purpose: texts are compared until the process is gone. Null (ASCII only) when the C library lacks it.
locale_t UnicodeLocale() noexcept {
    static locale_t const locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
}

} // namespace

char32_t NextCharacter(std::u16string_view text, size_t& nAt) noexcept {
    char32_t const c = text[nAt++];
    if (!IsHighSurrogate(c) || nAt == text.size() || !IsLowSurrogate(text[nAt]))
        return c;
    return 0x10000 + ((c - 0xD800) << 10) + (text[nAt++] - 0xDC00u);
}

void AppendUtf16(std::u16string& out, char32_t c) {
    if (c < 0x10000) {
        out += static_cast<char16_t>(c);
        return;
    }
    out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
    out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
}

void AppendUtf8(std::string& out, char32_t c) {
    size_t n = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    out += static_cast<char>(kUtf8Forms[n].mark | c >> 6 * n);
    while (n-- > 0)
        out += static_cast<char>(0x80 | (c >> 6 * n & 0x3F));
}

std::optional<std::u16string> Utf16FromUtf8(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    while (!text.empty()) {
        Scalar const oScalar = FirstOf(text);
        if (oScalar.nByteCount == 0)
            return std::nullopt;
        AppendUtf16(out, oScalar.c);
        text.remove_prefix(oScalar.nByteCount);
    }
    return out;
}

std::u16string Utf16FromUtf8Lossy(std::string_view text) {
    std::u16string out;
    while (!text.empty()) {
        Scalar const oScalar = FirstOf(text);
        AppendUtf16(out, oScalar.nByteCount == 0 ? kReplacementCharacter : oScalar.c);
        text.remove_prefix(oScalar.nByteCount == 0 ? 1 : oScalar.nByteCount);
    }
    return out;
}

std::optional<std::string> Utf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t n = 0; n < text.size();) {
        char32_t const c = NextCharacter(text, n);
        if (IsSurrogate(c))
            return std::nullopt;
        AppendUtf8(out, c);
    }
    return out;
}

std::string Utf8Lossy(std::u16string_view text) {
    std::string out;
    for (size_t n = 0; n < text.size();) {
        char32_t const c = NextCharacter(text, n);
        AppendUtf8(out, IsSurrogate(c) ? kReplacementCharacter : c);
    }
    return out;
}

char32_t LowerCase(char32_t c) noexcept {
    if (c < 0x80 || !UnicodeLocale())
        return c >= 'A' && c <= 'Z' ? c + 32 : c;
    return static_cast<char32_t>(towlower_l(static_cast<wint_t>(c), UnicodeLocale()));
}

char32_t UpperCase(char32_t c) noexcept {
    if (c < 0x80 || !UnicodeLocale())
        return c >= 'a' && c <= 'z' ? c - 32 : c;
    return static_cast<char32_t>(towupper_l(static_cast<wint_t>(c), UnicodeLocale()));
}

} // namespace cf
