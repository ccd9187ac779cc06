// What reading and writing property lists share. Any thread.
#pragma once

#include "platform/corefoundation/object.h"

#include <CoreFoundation/CFPropertyList.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cf {

// Containers inside containers; more is refused everywhere, so that no list can exhaust a stack.
constexpr size_t kDeepestList = 512;

// The list in the bytes, one reference for the caller, or null.
CFPropertyListRef ReadXmlList(std::string_view bytes, CFOptionFlags mutability) noexcept;
// The bytes of a valid list; nullopt when it holds a text that XML can't or a date outside of its years.
std::optional<std::string> WriteXmlList(CFPropertyListRef list) noexcept;

// "2026-11-22T21:31:00Z".
std::optional<CFAbsoluteTime> DateFromText(std::string_view text) noexcept;
std::optional<std::string> TextFromDate(CFAbsoluteTime at) noexcept;

// Blanks and line ends between the digits are passed over; anything else that does not belong is an error.
std::optional<std::vector<UInt8>> FromBase64(std::string_view text) noexcept;
std::string ToBase64(std::span<UInt8 const> bytes);

// Whether an XML document can hold the character.
constexpr bool IsXmlCharacter(char32_t c) noexcept {
    return c == '\t' || c == '\n' || c == '\r' || (c >= 0x20 && c < 0xD800) || (c >= 0xE000 && c < 0xFFFE) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

} // namespace cf
