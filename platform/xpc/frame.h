// What a message looks like in a packet: constants and limits. Written out in docs/message-format.md.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

enum class FrameKind : uint16_t {
    Message = 1, // reply number: 0 when no answer is wanted
    Reply = 2,   // the number of the message answered
    NoReply = 3, // no body: the message's receiver let it go without an answer
    Connect = 4, // no body, one descriptor: a new peer's socket, sent through an endpoint
};

constexpr uint32_t kFrameMagic = 0x3143504C; // "LPC1" in memory
constexpr uint16_t kFrameBodyIsFile = 1;     // flag: the body is in the first descriptor, a sealed memory file

struct FrameHeader {
    uint32_t nMagic = kFrameMagic;
    FrameKind eKind = FrameKind::Message;
    uint16_t nFlags = 0;
    uint64_t nReply = 0;
    uint32_t nBodyLength = 0;
    uint32_t nDescriptors = 0; // all that travel beside the packet, the body's file included
};
static_assert(sizeof(FrameHeader) == 24 && offsetof(FrameHeader, nReply) == 8);

constexpr size_t kMaxInlineBody = 64 * 1024;     // bytes; a longer body travels as a file
constexpr size_t kMaxBody = 256 * 1024 * 1024;   // bytes
constexpr size_t kMaxDescriptors = 64;           // the message's own
constexpr size_t kMaxPacketDescriptors = 1 + 64; // and the body's file
constexpr int kMaxDepth = 32;                    // dictionaries and arrays in each other, the message included
constexpr size_t kMaxValues = 1024 * 1024;       // in one message: a value costs more here than on the wire
constexpr size_t kMaxPacket = sizeof(FrameHeader) + kMaxInlineBody;

} // namespace platform
