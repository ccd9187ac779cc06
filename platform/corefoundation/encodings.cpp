// The encodings by number: which there are, and how bytes become text and text becomes bytes.
#include "platform/corefoundation/unicode.h"

#include <bit>
#include <cstring>
#include <vector>

namespace cf {
namespace {

struct EncodingRow {
    CFStringEncoding encoding;
    UInt32 nWindowsCodepage; // 0: none
    char const* szConverter; // the C library's name; null where this file converts itself
};

// Encodings with shift states are left out: a character of theirs has no bytes of its own.
constexpr EncodingRow kEncodings[] = {
    {kCFStringEncodingUTF8, 65001, nullptr},
    {kCFStringEncodingUTF16LE, 1200, nullptr},
    {kCFStringEncodingUTF16BE, 1201, nullptr},
    {kCFStringEncodingUTF16, 0, nullptr},
    {kCFStringEncodingUTF32LE, 12000, nullptr},
    {kCFStringEncodingUTF32BE, 12001, nullptr},
    {kCFStringEncodingUTF32, 0, nullptr},
    {kCFStringEncodingASCII, 20127, nullptr},
    {kCFStringEncodingISOLatin1, 28591, nullptr},
    {kCFStringEncodingMacRoman, 10000, "MACINTOSH"},
    {0x0400, 437, "CP437"},
    {0x0405, 737, "CP737"},
    {0x0406, 775, "CP775"},
    {0x0410, 850, "CP850"},
    {0x0411, 851, "CP851"},
    {0x0412, 852, "CP852"},
    {0x0413, 855, "CP855"},
    {0x0414, 857, "CP857"},
    {0x0415, 860, "CP860"},
    {0x0416, 861, "CP861"},
    {0x0417, 862, "CP862"},
    {0x0418, 863, "CP863"},
    {0x0419, 864, "CP864"},
    {0x041A, 865, "CP865"},
    {0x041B, 866, "CP866"},
    {0x041C, 869, "CP869"},
    {0x041D, 874, "CP874"},
    {0x0420, 932, "CP932"},
    {0x0421, 936, "CP936"},
    {0x0422, 949, "CP949"},
    {0x0423, 950, "CP950"},
    {kCFStringEncodingWindowsLatin1, 1252, "CP1252"},
    {0x0501, 1250, "CP1250"},
    {0x0502, 1251, "CP1251"},
    {0x0503, 1253, "CP1253"},
    {0x0504, 1254, "CP1254"},
    {0x0505, 1255, "CP1255"},
    {0x0506, 1256, "CP1256"},
    {0x0507, 1257, "CP1257"},
    {0x0508, 1258, "CP1258"},
    {0x0510, 1361, "JOHAB"},
    {0x0202, 28592, "ISO-8859-2"},
    {0x0203, 28593, "ISO-8859-3"},
    {0x0204, 28594, "ISO-8859-4"},
    {0x0205, 28595, "ISO-8859-5"},
    {0x0206, 28596, "ISO-8859-6"},
    {0x0207, 28597, "ISO-8859-7"},
    {0x0208, 28598, "ISO-8859-8"},
    {0x0209, 28599, "ISO-8859-9"},
    {0x020A, 28600, "ISO-8859-10"},
    {0x020B, 28601, "ISO-8859-11"},
    {0x020D, 28603, "ISO-8859-13"},
    {0x020E, 28604, "ISO-8859-14"},
    {0x020F, 28605, "ISO-8859-15"},
    {0x0210, 28606, "ISO-8859-16"},
    {0x0632, 54936, "GB18030"},
    {0x0920, 51932, "EUC-JP"},
    {0x0930, 51936, "EUC-CN"},
    {0x0940, 51949, "EUC-KR"},
    {0x0931, 51950, "EUC-TW"},
    {0x0007, 10007, "MAC-CYRILLIC"},
    {0x0098, 10017, "MAC-UK"},
    {0x001D, 10029, "MAC-CENTRALEUROPE"},
    {0x0025, 10079, "MAC-IS"},
    {0x0C02, 37, "IBM037"},
    {0x0A02, 20866, "KOI8-R"},
    {0x0A08, 21866, "KOI8-U"},
};

EncodingRow const* RowOf(CFStringEncoding encoding) noexcept {
    for (auto const& oRow : kEncodings)
        if (oRow.encoding == encoding)
            return &oRow;
    return nullptr;
}

iconv_t const kNoConverter = reinterpret_cast<iconv_t>(-1);
constexpr bool kBigEndianHost = std::endian::native == std::endian::big;

// The unit of `Width` bytes at `at`.
template <size_t Width>
char32_t UnitAt(UInt8 const* at, bool bBigEndian) noexcept {
    char32_t unit = 0;
    for (size_t n = 0; n < Width; ++n)
        unit = unit << 8 | at[bBigEndian ? n : Width - 1 - n];
    return unit;
}

template <size_t Width>
void PutUnit(UInt8* at, char32_t unit, bool bBigEndian) noexcept {
    for (size_t n = 0; n < Width; ++n)
        at[bBigEndian ? Width - 1 - n : n] = static_cast<UInt8>(unit >> 8 * n);
}

// `order` is the encoding's own, or nothing when a mark decides.
template <size_t Width>
std::optional<std::u16string> DecodeUnits(std::span<UInt8 const> bytes, std::optional<bool> order) {
    if (bytes.size() % Width != 0)
        return std::nullopt;
    size_t n = 0;
    bool bBigEndian = order.value_or(kBigEndianHost);
    if (!order && !bytes.empty() && UnitAt<Width>(bytes.data(), !bBigEndian) == 0xFEFF)
        bBigEndian = !bBigEndian;
    if (!order && !bytes.empty() && UnitAt<Width>(bytes.data(), bBigEndian) == 0xFEFF)
        n = Width;
    std::u16string out;
    out.reserve((bytes.size() - n) / Width);
    for (; n < bytes.size(); n += Width) {
        char32_t const unit = UnitAt<Width>(&bytes[n], bBigEndian);
        if (Width == 4 && (unit > 0x10FFFF || IsSurrogate(unit)))
            return std::nullopt;
        AppendUtf16(out, unit);
    }
    return out;
}

// The encodings whose bytes are the characters up to `last`.
std::optional<std::u16string> DecodeBytes(std::span<UInt8 const> bytes, UInt8 last) {
    std::u16string out;
    out.reserve(bytes.size());
    for (UInt8 const byte : bytes) {
        if (byte > last)
            return std::nullopt;
        out += byte;
    }
    return out;
}

std::optional<std::u16string> DecodeByConverter(std::span<UInt8 const> bytes, char const* szConverter) {
    iconv_t const converter = iconv_open(kBigEndianHost ? "UTF-16BE" : "UTF-16LE", szConverter);
    if (converter == kNoConverter)
        return std::nullopt;
    // A byte or more a character in, at most two units (a base and its accent) a byte out.
    std::u16string out(bytes.size() * 2 + 2, u'\0');
    std::vector<char> lIn(bytes.begin(), bytes.end());
    char* pIn = lIn.data();
    char* pOut = reinterpret_cast<char*>(out.data());
    size_t nInLeft = lIn.size(), nOutLeft = out.size() * 2;
    bool const bWhole = iconv(converter, &pIn, &nInLeft, &pOut, &nOutLeft) != static_cast<size_t>(-1) &&
                        iconv(converter, nullptr, nullptr, &pOut, &nOutLeft) != static_cast<size_t>(-1);
    iconv_close(converter);
    if (!bWhole)
        return std::nullopt;
    out.resize(out.size() - nOutLeft / 2);
    return out;
}

std::optional<std::u16string> DecodeUtf8(std::span<UInt8 const> bytes, bool bExternal) {
    std::string_view text(reinterpret_cast<char const*>(bytes.data()), bytes.size());
    if (bExternal && text.substr(0, 3) == "\xEF\xBB\xBF")
        text.remove_prefix(3);
    return Utf16FromUtf8(text);
}

} // namespace

bool IsKnownEncoding(CFStringEncoding encoding) noexcept {
    return RowOf(encoding) != nullptr;
}

std::optional<std::u16string> Decode(std::span<UInt8 const> bytes, CFStringEncoding encoding, bool bExternal) {
    switch (encoding) {
    case kCFStringEncodingUTF8: return DecodeUtf8(bytes, bExternal);
    case kCFStringEncodingUTF16: return DecodeUnits<2>(bytes, std::nullopt);
    case kCFStringEncodingUTF16BE: return DecodeUnits<2>(bytes, true);
    case kCFStringEncodingUTF16LE: return DecodeUnits<2>(bytes, false);
    case kCFStringEncodingUTF32: return DecodeUnits<4>(bytes, std::nullopt);
    case kCFStringEncodingUTF32BE: return DecodeUnits<4>(bytes, true);
    case kCFStringEncodingUTF32LE: return DecodeUnits<4>(bytes, false);
    case kCFStringEncodingASCII: return DecodeBytes(bytes, 0x7F);
    case kCFStringEncodingISOLatin1: return DecodeBytes(bytes, 0xFF);
    }
    EncodingRow const* pRow = RowOf(encoding);
    return pRow ? DecodeByConverter(bytes, pRow->szConverter) : std::nullopt;
}

Encoder::Encoder(CFStringEncoding encodingToWrite) noexcept : encoding(encodingToWrite), converter(kNoConverter) {
    EncodingRow const* pRow = RowOf(encoding);
    if (pRow && pRow->szConverter)
        converter = iconv_open(pRow->szConverter, kBigEndianHost ? "UTF-32BE" : "UTF-32LE");
}

Encoder::~Encoder() {
    if (converter != kNoConverter)
        iconv_close(converter);
}

int Encoder::Encode(char32_t c, UInt8 (&bytes)[kMostBytes]) noexcept {
    auto const Utf16 = [&](bool bBigEndian) {
        std::u16string units;
        AppendUtf16(units, c); // a text keeps half surrogates, so UTF-16 does too
        for (size_t n = 0; n < units.size(); ++n)
            PutUnit<2>(bytes + 2 * n, units[n], bBigEndian);
        return static_cast<int>(units.size() * 2);
    };
    auto const Utf32 = [&](bool bBigEndian) {
        PutUnit<4>(bytes, c, bBigEndian);
        return IsSurrogate(c) ? 0 : 4;
    };
    auto const OneByte = [&](char32_t last) {
        bytes[0] = static_cast<UInt8>(c);
        return c <= last ? 1 : 0;
    };
    switch (encoding) {
    case kCFStringEncodingUTF16: return Utf16(kBigEndianHost);
    case kCFStringEncodingUTF16BE: return Utf16(true);
    case kCFStringEncodingUTF16LE: return Utf16(false);
    case kCFStringEncodingUTF32: return Utf32(kBigEndianHost);
    case kCFStringEncodingUTF32BE: return Utf32(true);
    case kCFStringEncodingUTF32LE: return Utf32(false);
    case kCFStringEncodingASCII: return OneByte(0x7F);
    case kCFStringEncodingISOLatin1: return OneByte(0xFF);
    case kCFStringEncodingUTF8: break;
    default: return EncodeByConverter(c, bytes);
    }
    std::string text;
    AppendUtf8(text, c);
    std::memcpy(bytes, text.data(), text.size());
    return IsSurrogate(c) ? 0 : static_cast<int>(text.size());
}

int Encoder::EncodeByConverter(char32_t c, UInt8 (&bytes)[kMostBytes]) noexcept {
    if (converter == kNoConverter || IsSurrogate(c))
        return 0;
    char* pIn = reinterpret_cast<char*>(&c);
    char* pOut = reinterpret_cast<char*>(bytes);
    size_t nInLeft = sizeof c, nOutLeft = sizeof bytes;
    // A positive result means that something else was written in the character's place. The second call brings out a
    // letter held back in the hope of an accent.
    bool const bExact = iconv(converter, &pIn, &nInLeft, &pOut, &nOutLeft) == 0 &&
                        iconv(converter, nullptr, nullptr, &pOut, &nOutLeft) == 0;
    return bExact ? static_cast<int>(sizeof bytes - nOutLeft) : 0;
}

} // namespace cf

CFStringEncoding CFStringConvertWindowsCodepageToEncoding(UInt32 nCodepage) {
    for (auto const& oRow : cf::kEncodings)
        if (nCodepage != 0 && oRow.nWindowsCodepage == nCodepage)
            return oRow.encoding;
    return kCFStringEncodingInvalidId;
}

Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding) {
    return cf::IsKnownEncoding(encoding);
}
