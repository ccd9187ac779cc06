#include "platform/corefoundation/data_object.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kMostShown = 24; // bytes of a description; longer ones show both ends

void AppendHex(std::string& out, std::span<UInt8 const> bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    for (UInt8 const byte : bytes)
        out.append({kDigits[byte >> 4], kDigits[byte & 15]});
}

__CFData& Mutable(CFMutableDataRef data) noexcept {
    if (!cf::IsOfType(data, cf::kTypeData) || !data->bMutable)
        cf::Halt("data that is not mutable was to be changed");
    return *data;
}

std::vector<UInt8> Copy(UInt8 const* bytes, CFIndex nLength) {
    if (nLength < 0)
        cf::Halt("a negative length of data");
    return {bytes, bytes + nLength};
}

} // namespace

bool __CFData::Equals(Object const& other) const noexcept {
    return std::ranges::equal(Bytes(), static_cast<__CFData const&>(other).Bytes());
}

CFHashCode __CFData::Hash() const noexcept {
    auto const bytes = Bytes();
    return std::hash<std::string_view>()({reinterpret_cast<char const*>(bytes.data()), bytes.size()});
}

std::string __CFData::Description() const {
    auto const bytes = Bytes();
    std::string out = Head() + "{length = " + std::to_string(bytes.size()) + ", bytes = 0x";
    if (bytes.size() <= kMostShown) {
        AppendHex(out, bytes);
    } else {
        AppendHex(out, bytes.first(kMostShown - 8));
        out += " ... ";
        AppendHex(out, bytes.last(8));
    }
    return out + "}";
}

CFTypeID CFDataGetTypeID() {
    return cf::kTypeData;
}

CFDataRef CFDataCreate(CFAllocatorRef, UInt8 const* bytes, CFIndex nLength) {
    return new __CFData(Copy(bytes, nLength), false);
}

CFDataRef CFDataCreateWithBytesNoCopy(CFAllocatorRef, UInt8 const* bytes, CFIndex nLength,
                                      CFAllocatorRef bytesDeallocator) {
    if (bytesDeallocator != kCFAllocatorNull || nLength < 0)
        return nullptr;
    return new __CFData(std::span<UInt8 const>(bytes, static_cast<size_t>(nLength)));
}

CFDataRef CFDataCreateCopy(CFAllocatorRef, CFDataRef data) {
    if (data && !data->bMutable && data->borrowed.empty())
        return static_cast<CFDataRef>(CFRetain(data));
    return CFDataCreate(nullptr, CFDataGetBytePtr(data), CFDataGetLength(data));
}

CFMutableDataRef CFDataCreateMutable(CFAllocatorRef, CFIndex) {
    return new __CFData({}, true);
}

CFMutableDataRef CFDataCreateMutableCopy(CFAllocatorRef, CFIndex, CFDataRef data) {
    return new __CFData(Copy(CFDataGetBytePtr(data), CFDataGetLength(data)), true);
}

CFIndex CFDataGetLength(CFDataRef data) {
    return static_cast<CFIndex>(data->Bytes().size());
}

UInt8 const* CFDataGetBytePtr(CFDataRef data) {
    return data->Bytes().data();
}

UInt8* CFDataGetMutableBytePtr(CFMutableDataRef data) {
    return Mutable(data).lBytes.data();
}

void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer) {
    CFIndex const nLength = CFDataGetLength(data);
    if (range.location < 0 || range.length < 0 || range.location > nLength || range.length > nLength - range.location)
        cf::Halt("a range past the end of data");
    std::copy_n(CFDataGetBytePtr(data) + range.location, range.length, buffer);
}

void CFDataSetLength(CFMutableDataRef data, CFIndex nLength) {
    if (nLength < 0)
        cf::Halt("a negative length of data");
    Mutable(data).lBytes.resize(static_cast<size_t>(nLength));
}

void CFDataAppendBytes(CFMutableDataRef data, UInt8 const* bytes, CFIndex nLength) {
    auto const copy = Copy(bytes, nLength); // they may be the data's own
    auto& lBytes = Mutable(data).lBytes;
    lBytes.insert(lBytes.end(), copy.begin(), copy.end());
}
