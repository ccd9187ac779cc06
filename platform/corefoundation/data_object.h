// The data object: bytes of its own, or a caller's that outlive it.
#pragma once

#include "platform/corefoundation/object.h"

#include <CoreFoundation/CFData.h>

#include <span>
#include <vector>

struct __CFData final : cf::Object {
    __CFData(std::vector<UInt8> bytes, bool bIsMutable) noexcept : lBytes(std::move(bytes)), bMutable(bIsMutable) {}
    explicit __CFData(std::span<UInt8 const> callersBytes) noexcept : borrowed(callersBytes), bMutable(false) {}

    CFTypeID TypeOf() const noexcept override { return cf::kTypeData; }
    bool Equals(Object const& other) const noexcept override;
    CFHashCode Hash() const noexcept override;
    std::string Description() const override;

    std::span<UInt8 const> Bytes() const noexcept { return borrowed.empty() ? lBytes : borrowed; }

    std::vector<UInt8> lBytes;
    std::span<UInt8 const> const borrowed;
    bool const bMutable;

private:
    void Destroy() const noexcept override { delete this; }
};

namespace cf {

inline CFDataRef MakeData(std::span<UInt8 const> bytes) noexcept {
    return new __CFData(std::vector<UInt8>(bytes.begin(), bytes.end()), false);
}

} // namespace cf
