// Strings out into bytes of an encoding.
#include "platform/corefoundation/string_object.h"
#include "platform/corefoundation/unicode.h"

#include <CoreFoundation/CFString.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

// Where a conversion writes: counts when there is no buffer, refuses what does not fit whole.
class ByteSink {
public:
    ByteSink(UInt8* pBuffer, CFIndex nMaxBytes) noexcept
        : pBytes(pBuffer),
          nRoom(pBuffer ? static_cast<size_t>(std::max<CFIndex>(nMaxBytes, 0)) : std::numeric_limits<size_t>::max()) {}

    bool Put(UInt8 const* bytes, size_t nByteCount) noexcept {
        if (nByteCount > nRoom - nUsed)
            return false;
        if (pBytes)
            std::memcpy(pBytes + nUsed, bytes, nByteCount);
        nUsed += nByteCount;
        return true;
    }
    template <size_t nByteCount>
    bool Put(UInt8 const (&bytes)[nByteCount]) noexcept {
        return Put(bytes, nByteCount);
    }
    // UTF-8 has a loop of its own: it is what nearly every key, path and value leaves in. The units put.
    size_t PutUtf8(std::u16string_view text, UInt8 lossByte) noexcept;
    size_t Used() const noexcept { return nUsed; }

private:
    UInt8* pBytes;
    size_t nRoom;
    size_t nUsed = 0;
};

// Whether all eight units are ASCII.
bool IsAscii(char16_t const* pEight) noexcept {
    uint64_t lFour[2];
    std::memcpy(lFour, pEight, sizeof lFour);
    return ((lFour[0] | lFour[1]) & 0xFF80FF80FF80FF80) == 0;
}

size_t ByteSink::PutUtf8(std::u16string_view text, UInt8 lossByte) noexcept {
    size_t nDone = 0;
    while (nDone < text.size()) {
        if (text.size() - nDone >= 8 && nRoom - nUsed >= 8 && IsAscii(&text[nDone])) {
            if (pBytes)
                for (size_t n = 0; n < 8; ++n)
                    pBytes[nUsed + n] = static_cast<UInt8>(text[nDone + n]);
            nUsed += 8;
            nDone += 8;
            continue;
        }
        char32_t c = text[nDone];
        if (c < 0x80) {
            if (nUsed == nRoom)
                break;
            if (pBytes)
                pBytes[nUsed] = static_cast<UInt8>(c);
            ++nUsed;
            ++nDone;
            continue;
        }
        size_t nUnits = 1;
        if (cf::IsHighSurrogate(c) && nDone + 1 < text.size() && cf::IsLowSurrogate(text[nDone + 1])) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[nDone + 1] - 0xDC00u);
            nUnits = 2;
        } else if (cf::IsSurrogate(c) && lossByte == 0) {
            break;
        }
        auto const Byte = [](char32_t n) { return static_cast<UInt8>(n); };
        auto const Tail = [](char32_t n) { return static_cast<UInt8>(0x80 | (n & 0x3F)); };
        bool bPut;
        if (cf::IsSurrogate(c))
            bPut = Put(&lossByte, 1);
        else if (c < 0x800)
            bPut = Put({Byte(0xC0 | c >> 6), Tail(c)});
        else if (c < 0x10000)
            bPut = Put({Byte(0xE0 | c >> 12), Tail(c >> 6), Tail(c)});
        else
            bPut = Put({Byte(0xF0 | c >> 18), Tail(c >> 12), Tail(c >> 6), Tail(c)});
        if (!bPut)
            break;
        nDone += nUnits;
    }
    return nDone;
}

// As many units of `text` as the encoding and the sink take.
size_t Convert(std::u16string_view text, CFStringEncoding encoding, UInt8 lossByte, ByteSink& sink) noexcept {
    if (encoding == kCFStringEncodingUTF8)
        return sink.PutUtf8(text, lossByte);
    cf::Encoder encoder(encoding);
    size_t nDone = 0;
    for (size_t nNext = 0; nNext < text.size(); nDone = nNext) {
        char32_t const c = cf::NextCharacter(text, nNext);
        UInt8 bytes[cf::Encoder::kMostBytes];
        int nByteCount = encoder.Encode(c, bytes);
        if (nByteCount == 0 && lossByte != 0) {
            bytes[0] = lossByte;
            nByteCount = 1;
        }
        if (nByteCount == 0 || !sink.Put(bytes, static_cast<size_t>(nByteCount)))
            break;
    }
    return nDone;
}

CFIndex MostBytesOfAUnit(CFStringEncoding encoding) noexcept {
    switch (encoding) {
    case kCFStringEncodingASCII:
    case kCFStringEncodingISOLatin1: return 1;
    case kCFStringEncodingUTF16:
    case kCFStringEncodingUTF16BE:
    case kCFStringEncodingUTF16LE: return 2;
    case kCFStringEncodingUTF8: return 3; // four bytes are a pair of units
    default: return 4;
    }
}

// The encodings whose texts from outside start with a byte-order mark.
bool HasMark(CFStringEncoding encoding) noexcept {
    return encoding == kCFStringEncodingUTF16 || encoding == kCFStringEncodingUTF32;
}

} // namespace

CFIndex CFStringGetBytes(CFStringRef text, CFRange range, CFStringEncoding encoding, UInt8 lossByte,
                         Boolean bIsExternalRepresentation, UInt8* buffer, CFIndex nMaxBytes, CFIndex* usedBytes) {
    ByteSink sink(buffer, nMaxBytes);
    size_t nUnits = 0;
    bool bRoom = encoding == kCFStringEncodingUTF8 || cf::IsKnownEncoding(encoding);
    if (bRoom && bIsExternalRepresentation && HasMark(encoding)) {
        UInt8 mark[cf::Encoder::kMostBytes];
        int const nMarkBytes = cf::Encoder(encoding).Encode(0xFEFF, mark);
        bRoom = sink.Put(mark, static_cast<size_t>(nMarkBytes));
    }
    if (bRoom)
        nUnits = Convert(cf::Slice(text, range), encoding, lossByte, sink);
    if (usedBytes)
        *usedBytes = static_cast<CFIndex>(sink.Used());
    return static_cast<CFIndex>(nUnits);
}

Boolean CFStringGetCString(CFStringRef text, char* buffer, CFIndex nBufferSize, CFStringEncoding encoding) {
    if (!buffer || nBufferSize < 1)
        return false;
    CFIndex nUsed = 0;
    CFIndex const nLength = CFStringGetLength(text);
    bool const bWhole = CFStringGetBytes(text, {0, nLength}, encoding, 0, false, reinterpret_cast<UInt8*>(buffer),
                                         nBufferSize - 1, &nUsed) == nLength &&
                        cf::IsKnownEncoding(encoding);
    buffer[bWhole ? nUsed : 0] = '\0';
    return bWhole;
}

char const* CFStringGetCStringPtr(CFStringRef, CFStringEncoding) {
    return nullptr;
}

UniChar const* CFStringGetCharactersPtr(CFStringRef) {
    return nullptr;
}

CFDataRef CFStringCreateExternalRepresentation(CFAllocatorRef, CFStringRef text, CFStringEncoding encoding,
                                               UInt8 lossByte) {
    CFRange const whole{0, CFStringGetLength(text)};
    CFIndex nByteCount = 0;
    if (!cf::IsKnownEncoding(encoding) ||
        CFStringGetBytes(text, whole, encoding, lossByte, true, nullptr, 0, &nByteCount) != whole.length)
        return nullptr;
    CFMutableDataRef const data = CFDataCreateMutable(nullptr, 0);
    CFDataSetLength(data, nByteCount);
    CFStringGetBytes(text, whole, encoding, lossByte, true, CFDataGetMutableBytePtr(data), nByteCount, nullptr);
    return data;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex nLength, CFStringEncoding encoding) {
    CFIndex const nPerUnit = MostBytesOfAUnit(encoding);
    return nLength > std::numeric_limits<CFIndex>::max() / nPerUnit ? static_cast<CFIndex>(kCFNotFound)
                                                                    : nLength * nPerUnit;
}
