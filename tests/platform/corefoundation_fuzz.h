// Fuzz entry points: one buffer of any bytes each, 0 returned; a fault shows as a crash or a sanitizer's report.
#pragma once

#include <cstddef>
#include <cstdint>

// Reads the bytes as a property list in every mutability; what is accepted must be written, read again and be equal.
int FuzzPropertyList(std::uint8_t const* bytes, std::size_t nByteCount);
