// The string object. A mutable one is the same type with the flag set; its callers keep it to one thread at a time.
#pragma once

#include "platform/corefoundation/object.h"

#include <CoreFoundation/CFString.h>

#include <string>
#include <string_view>

struct __CFString final : cf::Object {
    explicit __CFString(std::u16string text, bool bIsMutable = false) noexcept
        : sText(std::move(text)), bMutable(bIsMutable) {}
    __CFString(Immortal, std::u16string text) noexcept : Object(Immortal{}), sText(std::move(text)), bMutable(false) {}

    CFTypeID TypeOf() const noexcept override { return cf::kTypeString; }
    bool Equals(Object const& other) const noexcept override {
        return sText == static_cast<__CFString const&>(other).sText;
    }
    CFHashCode Hash() const noexcept override { return std::hash<std::u16string_view>()(sText); }
    std::string Description() const override;
    std::u16string FormattingText() const override { return sText; }

    std::u16string sText;
    bool bMutable;

private:
    void Destroy() const noexcept override { delete this; }
};

namespace cf {

inline CFStringRef MakeString(std::u16string text) noexcept {
    return new __CFString(std::move(text));
}

// The units of `range`, which must lie inside.
std::u16string_view Slice(CFStringRef text, CFRange range) noexcept;

// Stops the process when the string is null or not a mutable one.
std::u16string& MutableText(CFMutableStringRef text) noexcept;

// What the format makes of the arguments.
std::u16string Format(std::u16string_view format, va_list arguments) noexcept;

} // namespace cf
