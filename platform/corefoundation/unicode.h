// UTF-8, UTF-16 and the encodings by number. Any thread.
#pragma once

#include <CoreFoundation/CFString.h>

#include <iconv.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace cf {

constexpr char32_t kReplacementCharacter = 0xFFFD;

constexpr bool IsHighSurrogate(char32_t c) noexcept {
    return c >= 0xD800 && c <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char32_t c) noexcept {
    return c >= 0xDC00 && c <= 0xDFFF;
}
constexpr bool IsSurrogate(char32_t c) noexcept {
    return c >= 0xD800 && c <= 0xDFFF;
}

// The character at `nAt`, which is moved past it; a surrogate without its other half comes as itself.
char32_t NextCharacter(std::u16string_view text, size_t& nAt) noexcept;
void AppendUtf16(std::u16string& out, char32_t c);
void AppendUtf8(std::string& out, char32_t c);

// Strict: no overlong form, no surrogate, nothing past U+10FFFF; nullopt otherwise.
std::optional<std::u16string> Utf16FromUtf8(std::string_view text);
// U+FFFD for what is not valid, byte by byte.
std::u16string Utf16FromUtf8Lossy(std::string_view text);
// nullopt when there is a surrogate without its other half.
std::optional<std::string> Utf8(std::u16string_view text);
std::string Utf8Lossy(std::u16string_view text);

// One-to-one case mapping of the Unicode tables, whatever the process's locale.
char32_t LowerCase(char32_t c) noexcept;
char32_t UpperCase(char32_t c) noexcept;

bool IsKnownEncoding(CFStringEncoding encoding) noexcept;

// The whole of `bytes`, or nullopt when they are not valid or the encoding is unknown. With `bExternal` a byte-order
// mark of UTF-8 is dropped; those of UTF-16 and UTF-32 without a named order are always obeyed.
std::optional<std::u16string> Decode(std::span<UInt8 const> bytes, CFStringEncoding encoding, bool bExternal);

// Writes one encoding, character by character. Not to be shared between threads.
class Encoder {
public:
    static constexpr int kMostBytes = 8; // of one character

    explicit Encoder(CFStringEncoding encoding) noexcept;
    ~Encoder();
    Encoder(Encoder const&) = delete;
    Encoder& operator=(Encoder const&) = delete;

    // The bytes of the character, their number returned; 0 when the encoding lacks it.
    int Encode(char32_t c, UInt8 (&bytes)[kMostBytes]) noexcept;

private:
    int EncodeByConverter(char32_t c, UInt8 (&bytes)[kMostBytes]) noexcept;

    CFStringEncoding encoding;
    iconv_t converter;
};

} // namespace cf
