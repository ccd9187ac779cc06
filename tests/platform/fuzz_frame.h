// The entry point of a fuzzer for what arrives on a connection's socket.
#pragma once

#include <cstddef>
#include <cstdint>

// Reads one packet: the first byte says how many descriptors came beside it, the rest is the frame. What is accepted is
// written and read again, and must come out the same. Always 0.
int FuzzFrame(uint8_t const* pBytes, size_t nBytes);
