// A dictionary becomes a frame without its large values being copied.
#pragma once

#include "platform/xpc/packet_socket.h"
#include "platform/xpc/values.h"

#include <array>
#include <string_view>

namespace platform {

// One frame being written. Small values go into a buffer of its own; large ones stay where they are and are gathered by
// the send, so the dictionary must live, unchanged, as long as the frame is used. One thread; made on the stack.
class FrameWriter {
public:
    explicit FrameWriter(FrameKind eKind) noexcept;

    // False when the dictionary goes beyond a limit of the format or holds what can't travel.
    bool Write(Dictionary const& oDictionary);

    void SetReplyNumber(uint64_t nReply) noexcept { Header().nReply = nReply; }

    // Bytes that the message holds in memory while it waits, whichever way it travels.
    size_t Cost() const noexcept { return nSmall + nOutside; }
    bool IsLarge() const noexcept { return static_cast<bool>(oBodyFile); }

    // Moves the body into a sealed memory file. Write has done so already when the body is over kMaxInlineBody; a
    // socket that takes less than that asks for it. False when the machine has no memory or descriptor left.
    bool MoveBodyToFile();

    // The packet that carries the frame; valid as long as the writer and the dictionary are.
    void Fill(OutgoingPacket& oPacket) const noexcept;

    // The same, in memory of its own.
    struct Kept {
        std::vector<uint8_t> lBytes;
        std::vector<int> lDescriptors;
        std::vector<Ref<Object>> lHolders; // of the descriptors
        FileDescriptor oBodyFile;
        size_t nCost = 0;

        void Fill(OutgoingPacket& oPacket) const noexcept;
    };
    Kept Keep();

private:
    struct Outside {
        size_t nAt; // of the small buffer's bytes, those before this come first
        uint8_t const* pBytes;
        size_t nBytes;
    };
    static constexpr size_t kWorthGathering = 512; // bytes; below, a copy is cheaper than a part of a packet
    static constexpr size_t kMaxOutside = 16;

    FrameHeader& Header() noexcept { return *reinterpret_cast<FrameHeader*>(Small()); }
    FrameHeader const& Header() const noexcept { return *reinterpret_cast<FrameHeader const*>(Small()); }
    uint8_t* Small() noexcept { return lSpilled.empty() ? aSmall : lSpilled.data(); }
    uint8_t const* Small() const noexcept { return lSpilled.empty() ? aSmall : lSpilled.data(); }
    void FillParts(OutgoingPacket& oPacket) const noexcept;

    void Put(void const* pBytes, size_t nBytes) {
        if (lSpilled.empty() && nBytes <= sizeof aSmall - nSmall)
            std::memcpy(aSmall + nSmall, pBytes, nBytes);
        else
            Spill(pBytes, nBytes);
        nSmall += nBytes;
    }
    void Spill(void const* pBytes, size_t nBytes);
    template <class T>
    void PutValue(T const& oValue) {
        Put(&oValue, sizeof oValue);
    }
    bool PutLength(size_t nLength);
    bool PutBytes(uint8_t const* pBytes, size_t nBytes);
    bool PutDescriptor(Object& oHolder, int nDescriptor);
    bool PutObject(Object& oObject, int nDepth);
    bool PutEntries(Dictionary const& oDictionary, int nDepth);
    bool PutItems(Array const& oArray, int nDepth);

    alignas(8) uint8_t aSmall[1024]; // header first; until it is full
    std::vector<uint8_t> lSpilled;   // instead of aSmall, once that was full
    size_t nSmall = sizeof(FrameHeader);
    std::array<Outside, kMaxOutside> aOutside;
    size_t nOutsides = 0;
    size_t nOutside = 0; // bytes
    size_t nValues = 0;
    std::array<int, kMaxPacketDescriptors> aDescriptors; // [0] is kept for the body's file
    std::array<Object*, kMaxDescriptors> aHolders;
    size_t nDescriptors = 0;
    FileDescriptor oBodyFile;
};

} // namespace platform
