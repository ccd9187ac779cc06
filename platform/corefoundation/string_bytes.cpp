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
    size_t Used() const noexcept { return nUsed; }

private:
    UInt8* pBytes;
    size_t nRoom;
    size_t nUsed = 0;
};

// As many units of `text` as the encoding and the sink take.
size_t Convert(std::u16string_view text, CFStringEncoding encoding, UInt8 lossByte, ByteSink& sink) noexcept {
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
    bool bRoom = cf::IsKnownEncoding(encoding);
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
