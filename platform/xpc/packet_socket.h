// Packets with descriptors beside them on a SOCK_SEQPACKET socket. Never blocks, never raises SIGPIPE.
#pragma once

#include "platform/xpc/file_descriptor.h"
#include "platform/xpc/frame.h"

#include <array>
#include <cstddef>
#include <memory>
#include <sys/uio.h>
#include <vector>

namespace platform {

// What goes out: bytes that lie in several places, and descriptors. Points into what it was filled from.
struct OutgoingPacket {
    static constexpr size_t kMaxParts = 33;

    void AddPart(void const* pBytes, size_t nBytes) noexcept {
        if (nBytes != 0)
            aParts[nParts++] = {const_cast<void*>(pBytes), nBytes};
    }

    std::array<iovec, kMaxParts> aParts; // the first nParts
    size_t nParts = 0;
    int const* pDescriptors = nullptr;
    size_t nDescriptors = 0;
};

enum class SendResult {
    Sent,
    Blocked,   // the socket is full: POLLOUT tells when it is not
    NoBuffers, // the kernel is out of something: worth a try in a while
    TooBig,    // for this socket
    Broken,    // nobody is there any more
    Refused,   // this packet, for good
};

SendResult SendPacket(int nSocket, OutgoingPacket const& oPacket) noexcept;

enum class ReceiveResult { Packet, Nothing, Closed, Bad };

// Where packets arrive; reused from one to the next. One thread.
class PacketBuffer {
public:
    // Bad: empty, longer than any packet, or with more descriptors than any has; those are closed.
    ReceiveResult Receive(int nSocket);

    uint8_t const* Bytes() const noexcept { return pBytes.get(); }
    size_t Length() const noexcept { return nBytes; }
    std::vector<FileDescriptor>& Descriptors() noexcept { return lDescriptors; }

private:
    void TakeDescriptors(struct msghdr& oMessage);

    std::unique_ptr<uint8_t[]> const pBytes = std::make_unique_for_overwrite<uint8_t[]>(kMaxPacket);
    size_t nBytes = 0;
    std::vector<FileDescriptor> lDescriptors;
};

// A connected pair, close-on-exec and non-blocking; false when the machine has none left.
bool MakeSocketPair(FileDescriptor& oFirst, FileDescriptor& oSecond) noexcept;

// Room for a second or so of audio before a reader that is late makes the sender queue.
void WidenSendBuffer(int nSocket) noexcept;

} // namespace platform
