#include "platform/corefoundation/object.h"
#include "platform/corefoundation/string_object.h"

#include <CoreFoundation/CFUUID.h>

#include <sys/random.h>

#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>

using Bytes = std::array<UInt8, 16>;

struct __CFUUID final : cf::Object {
    explicit __CFUUID(Bytes const& theBytes) noexcept : bytes(theBytes) {}
    __CFUUID(Immortal, Bytes const& theBytes) noexcept : Object(Immortal{}), bytes(theBytes) {}

    CFTypeID TypeOf() const noexcept override { return cf::kTypeUuid; }
    bool Equals(Object const& other) const noexcept override {
        return bytes == static_cast<__CFUUID const&>(other).bytes;
    }
    CFHashCode Hash() const noexcept override { return std::hash<std::string>()({bytes.begin(), bytes.end()}); }
    std::string Description() const override { return Head() + " " + Text(); }

    std::string Text() const {
        char szText[37];
        auto const& b = bytes;
        std::snprintf(szText, sizeof szText, "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                      b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14],
                      b[15]);
        return szText;
    }

    Bytes const bytes;

private:
    void Destroy() const noexcept override { delete this; }
};

namespace {

int HexDigit(char16_t c) noexcept {
    if (c >= '0' && c <= '9')
        return c - '0';
    char16_t const lower = c | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool Parse(std::u16string_view text, Bytes& bytes) noexcept {
    static constexpr std::string_view kPattern = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    if (text.size() == kPattern.size() + 2 && text.front() == '{' && text.back() == '}')
        text = text.substr(1, kPattern.size());
    if (text.size() != kPattern.size())
        return false;
    size_t nDigits = 0;
    for (size_t n = 0; n < text.size(); ++n) {
        if (kPattern[n] == '-') {
            if (text[n] != '-')
                return false;
            continue;
        }
        int const nDigit = HexDigit(text[n]);
        if (nDigit < 0)
            return false;
        UInt8& byte = bytes[nDigits++ / 2];
        byte = static_cast<UInt8>(byte << 4 | nDigit);
    }
    return true;
}

} // namespace

CFTypeID CFUUIDGetTypeID() {
    return cf::kTypeUuid;
}

CFUUIDRef CFUUIDCreate(CFAllocatorRef) {
    Bytes bytes;
    if (getentropy(bytes.data(), bytes.size()) != 0)
        cf::Halt("no random bytes to be had");
    bytes[6] = static_cast<UInt8>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<UInt8>((bytes[8] & 0x3F) | 0x80);
    return new __CFUUID(bytes);
}

CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef, CFUUIDBytes bytes) {
    return new __CFUUID(std::bit_cast<Bytes>(bytes));
}

CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef, CFStringRef text) {
    Bytes bytes{};
    return text && Parse(text->sText, bytes) ? new __CFUUID(bytes) : nullptr;
}

CFStringRef CFUUIDCreateString(CFAllocatorRef, CFUUIDRef uuid) {
    auto const szText = uuid->Text();
    return cf::MakeString({szText.begin(), szText.end()});
}

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid) {
    return std::bit_cast<CFUUIDBytes>(uuid->bytes);
}

CFUUIDRef CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3,
                                         UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8, UInt8 byte9,
                                         UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13, UInt8 byte14,
                                         UInt8 byte15) {
    // Leaked, as every constant.
    static auto& mtxConstants = *new std::mutex;
    static auto& mapConstants = *new std::map<Bytes, CFUUIDRef>;
    Bytes const bytes{byte0, byte1, byte2,  byte3,  byte4,  byte5,  byte6,  byte7,
                      byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15};
    std::lock_guard const lock(mtxConstants);
    auto& constant = mapConstants[bytes];
    if (!constant)
        constant = new __CFUUID(cf::Object::Immortal{}, bytes);
    return constant;
}
