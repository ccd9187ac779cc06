#include "platform/xpc/packet_socket.h"

#include <cstring>
#include <poll.h>
#include <sys/socket.h>

namespace platform {
namespace {

constexpr size_t kControlBytes = CMSG_SPACE(kMaxPacketDescriptors * sizeof(int));
constexpr int kSendBufferBytes = 1024 * 1024;

SendResult ResultOf(int nError) noexcept {
    switch (nError) {
    case EAGAIN: return SendResult::Blocked;
    case ENOBUFS:
    case ENOMEM:
    case ETOOMANYREFS: return SendResult::NoBuffers;
    case EMSGSIZE: return SendResult::TooBig;
    case EPIPE:
    case ECONNRESET:
    case ENOTCONN:
    case ECONNREFUSED: return SendResult::Broken;
    default: return SendResult::Refused;
    }
}

} // namespace

SendResult SendPacket(int nSocket, OutgoingPacket const& oPacket) noexcept {
    msghdr oMessage{};
    oMessage.msg_iov = const_cast<iovec*>(oPacket.aParts.data());
    oMessage.msg_iovlen = oPacket.nParts;
    alignas(cmsghdr) char aControl[kControlBytes];
    if (oPacket.nDescriptors != 0) {
        size_t const nBytes = oPacket.nDescriptors * sizeof(int);
        oMessage.msg_control = aControl;
        oMessage.msg_controllen = CMSG_SPACE(nBytes);
        std::memset(aControl, 0, oMessage.msg_controllen);
        cmsghdr* const pControl = CMSG_FIRSTHDR(&oMessage);
        pControl->cmsg_level = SOL_SOCKET;
        pControl->cmsg_type = SCM_RIGHTS;
        pControl->cmsg_len = CMSG_LEN(nBytes);
        std::memcpy(CMSG_DATA(pControl), oPacket.pDescriptors, nBytes);
    }
    auto const nSent = Uninterrupted([&] {
        return gSystemCalls.sendmsg.load(std::memory_order_relaxed)(nSocket, &oMessage, MSG_DONTWAIT | MSG_NOSIGNAL);
    });
    return nSent >= 0 ? SendResult::Sent : ResultOf(errno);
}

namespace {

// An empty packet reads like the end, and must not close a door that many share.
bool HasHungUp(int nSocket) noexcept {
    pollfd oEntry{nSocket, POLLRDHUP, 0};
    return ::poll(&oEntry, 1, 0) != 0;
}

} // namespace

void PacketBuffer::TakeDescriptors(msghdr& oMessage) {
    for (cmsghdr* p = CMSG_FIRSTHDR(&oMessage); p; p = CMSG_NXTHDR(&oMessage, p)) {
        if (p->cmsg_level != SOL_SOCKET || p->cmsg_type != SCM_RIGHTS)
            continue;
        size_t const nCount = (p->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t n = 0; n < nCount; ++n) {
            int nDescriptor;
            std::memcpy(&nDescriptor, CMSG_DATA(p) + n * sizeof(int), sizeof nDescriptor);
            lDescriptors.emplace_back(nDescriptor);
        }
    }
}

ReceiveResult PacketBuffer::Receive(int nSocket) {
    lDescriptors.clear();
    iovec oPart{pBytes.get(), kMaxPacket};
    alignas(cmsghdr) char aControl[kControlBytes];
    msghdr oMessage{};
    oMessage.msg_iov = &oPart;
    oMessage.msg_iovlen = 1;
    oMessage.msg_control = aControl;
    oMessage.msg_controllen = sizeof aControl;
    ssize_t nReceived = -1;
    // A peer that dies with packets of ours unread leaves an ECONNRESET in front of what it had sent; it is told once.
    for (int nTry = 0; nTry < 3 && nReceived < 0; ++nTry) {
        nReceived = Uninterrupted([&] {
            return gSystemCalls.recvmsg.load(std::memory_order_relaxed)(nSocket, &oMessage,
                                                                        MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
        });
        if (nReceived < 0 && errno != ECONNRESET)
            return errno == EAGAIN || errno == ENOBUFS || errno == ENOMEM ? ReceiveResult::Nothing
                                                                          : ReceiveResult::Closed;
    }
    if (nReceived < 0)
        return ReceiveResult::Closed;
    TakeDescriptors(oMessage); // an empty packet can bring some, too
    if (nReceived == 0)
        return HasHungUp(nSocket) ? ReceiveResult::Closed : ReceiveResult::Bad;
    nBytes = static_cast<size_t>(nReceived);
    return oMessage.msg_flags & (MSG_TRUNC | MSG_CTRUNC) ? ReceiveResult::Bad : ReceiveResult::Packet;
}

bool MakeSocketPair(FileDescriptor& oFirst, FileDescriptor& oSecond) noexcept {
    int aPair[2];
    if (gSystemCalls.socketpair.load()(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, aPair) != 0)
        return false;
    oFirst.Reset(aPair[0]);
    oSecond.Reset(aPair[1]);
    return true;
}

void WidenSendBuffer(int nSocket) noexcept {
    ::setsockopt(nSocket, SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes, sizeof kSendBufferBytes);
}

} // namespace platform
