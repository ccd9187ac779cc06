#include "platform/testing/system_calls.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/mman.h>

namespace {

// The C library declares these with attributes or extra qualifiers; a plain pointer wants a plain function.
ssize_t SendMessage(int nSocket, msghdr const* pMessage, int nFlags) {
    return ::sendmsg(nSocket, pMessage, nFlags);
}
ssize_t ReceiveMessage(int nSocket, msghdr* pMessage, int nFlags) {
    return ::recvmsg(nSocket, pMessage, nFlags);
}
int Socket(int nDomain, int nType, int nProtocol) {
    return ::socket(nDomain, nType, nProtocol);
}
int SocketPair(int nDomain, int nType, int nProtocol, int* pPair) {
    return ::socketpair(nDomain, nType, nProtocol, pPair);
}
int Connect(int nSocket, sockaddr const* pAddress, socklen_t nLength) {
    return ::connect(nSocket, pAddress, nLength);
}
int Accept(int nSocket, sockaddr* pAddress, socklen_t* pLength, int nFlags) {
    return ::accept4(nSocket, pAddress, pLength, nFlags);
}
int MemoryFile(char const* szName, unsigned nFlags) {
    return ::memfd_create(szName, nFlags);
}
int EventDescriptor(unsigned nValue, int nFlags) {
    return ::eventfd(nValue, nFlags);
}
int Poll(pollfd* pEntries, nfds_t nEntries, timespec const* pTimeout, sigset_t const* pMask) {
    return ::ppoll(pEntries, nEntries, pTimeout, pMask);
}
int Duplicate(int nDescriptor) {
    return ::fcntl(nDescriptor, F_DUPFD_CLOEXEC, 0);
}

} // namespace

constinit SystemCalls gSystemCalls{SendMessage, ReceiveMessage, Socket,          SocketPair, Connect,
                                   Accept,      MemoryFile,     EventDescriptor, Poll,       Duplicate};

void SystemCallsReset() {
    gSystemCalls.sendmsg = SendMessage;
    gSystemCalls.recvmsg = ReceiveMessage;
    gSystemCalls.socket = Socket;
    gSystemCalls.socketpair = SocketPair;
    gSystemCalls.connect = Connect;
    gSystemCalls.accept4 = Accept;
    gSystemCalls.memfd_create = MemoryFile;
    gSystemCalls.eventfd = EventDescriptor;
    gSystemCalls.ppoll = Poll;
    gSystemCalls.duplicate = Duplicate;
}
