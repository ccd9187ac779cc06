// How a connection comes to its socket, and a listener to its peers.
#include "platform/xpc/connection.h"
#include "platform/xpc/decoder.h"

#include <sys/socket.h>

namespace platform {
namespace {

constexpr long kMaxPeers = 256;

bool IsPacketSocket(int nSocket) {
    int nType = 0, nDomain = 0;
    socklen_t nLength = sizeof nType;
    return ::getsockopt(nSocket, SOL_SOCKET, SO_TYPE, &nType, &nLength) == 0 && nType == SOCK_SEQPACKET &&
           ::getsockopt(nSocket, SOL_SOCKET, SO_DOMAIN, &nDomain, &nLength) == 0 && nDomain == AF_UNIX;
}

} // namespace

// With mtx held. On the resuming thread the first time, so that two connections resumed one after the other come to
// their listener in that order; on the connection's own from then on.
void Connection::Open() {
    switch (eKind) {
    case Kind::Named: {
        ConnectResult const eResult = ConnectToService(szName, oSocket);
        eOpening = eResult == ConnectResult::Connected ? Opening::Open
                   : eResult == ConnectResult::Busy    ? Opening::Later
                                                       : Opening::Refused;
        if (eOpening == Opening::Open)
            oPeer.Read(oSocket.Get());
        break;
    }
    case Kind::ToEndpoint: eOpening = OpenToEndpoint(); break;
    case Kind::Peer: eOpening = Opening::Open; break;
    case Kind::ServiceListener: eOpening = oServed.Serve(szName) ? Opening::Open : Opening::Refused; break;
    case Kind::AnonymousListener: eOpening = EnsureDoor() ? Opening::Open : Opening::Refused; break;
    }
    if (oSocket)
        WidenSendBuffer(oSocket.Get());
}

// One end of a fresh pair goes through the door; a listener that is gone has no door to put it through.
Connection::Opening Connection::OpenToEndpoint() {
    FileDescriptor oOwn, oTheirs;
    if (!oDoor || !MakeSocketPair(oOwn, oTheirs))
        return Opening::Refused;
    FrameHeader const oHeader{.eKind = FrameKind::Connect, .nDescriptors = 1};
    int const nTheirs = oTheirs.Get();
    OutgoingPacket oPacket;
    oPacket.AddPart(&oHeader, sizeof oHeader);
    oPacket.pDescriptors = &nTheirs;
    oPacket.nDescriptors = 1;
    switch (SendPacket(oDoor.Get(), oPacket)) {
    case SendResult::Sent: break;
    case SendResult::Blocked:
    case SendResult::NoBuffers: return Opening::Later;
    default: return Opening::Refused;
    }
    oSocket = std::move(oOwn);
    oPeer.Read(oDoor.Get()); // of the fresh pair both ends are this process's
    return Opening::Open;
}

// With mtx held. The pair that endpoints lead to: made when first asked for.
bool Connection::EnsureDoor() {
    return oSocket || (!bDead && !bFinished && MakeSocketPair(oSocket, oDoor));
}

Ref<Endpoint> Connection::MakeEndpoint() {
    Lock oLock(mtx);
    if (eKind != Kind::AnonymousListener || bCancelled || !EnsureDoor())
        return {};
    Wake();
    FileDescriptor oCopy = FileDescriptor::Duplicate(oDoor.Get());
    return oCopy ? Ref<Endpoint>::Adopt(new Endpoint(std::move(oCopy))) : Ref<Endpoint>();
}

// The thread: one caller of a served name.
bool Connection::Accept(Lock& oLock) {
    int const nListening = oServed.Socket();
    oLock.unlock();
    FileDescriptor oCaller(Uninterrupted(
        [&] { return gSystemCalls.accept4.load()(nListening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK); }));
    int const nError = oCaller ? 0 : errno;
    PeerCredentials oCredentials;
    if (oCaller && (!oCredentials.Read(oCaller.Get()) || oCredentials.nUser != ::geteuid()))
        oCaller.Reset(); // another user's: turned away
    oLock.lock();
    if (oCaller)
        Announce(oLock, std::move(oCaller));
    // Out of descriptors or memory, the caller stays in line, where the kernel would tell of it again at once.
    bStarved = nError != 0 && nError != EAGAIN && nError != ECONNABORTED;
    return nError == 0 || nError == ECONNABORTED;
}

void Connection::Announce(Lock& oLock, FileDescriptor oPeerSocket) {
    oLock.unlock();
    if (pSlots.use_count() <= kMaxPeers && IsPacketSocket(oPeerSocket.Get())) {
        auto pPeer = Make(Kind::Peer, nullptr, pTarget.load());
        pPeer->pSlot = pSlots;
        pPeer->oPeer.Read(oPeerSocket.Get());
        pPeer->oSocket = std::move(oPeerSocket);
        pPeer->eOpening = Opening::Open;
        WidenSendBuffer(pPeer->oSocket.Get());
        oLock.lock();
        return Deliver(oLock, {std::move(pPeer), std::nullopt});
    }
    oPeerSocket.Reset();
    oLock.lock();
}

} // namespace platform
