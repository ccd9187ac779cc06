// Fuzz entry point: one buffer of any bytes, 0 returned; a fault shows as a crash or a sanitizer's report.
#pragma once

#include <cstddef>
#include <cstdint>

// Parses the bytes in every way there is; the tree, the error and the place must be the same each time.
int FuzzXML(std::uint8_t const* bytes, std::size_t nByteCount);
