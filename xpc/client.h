// A messaging object with named connections.
#pragma once

#include "base/mutex.h"
#include "xpc/messaging.h"
#include "xpc/object.h"

#include <cstddef>
#include <memory>

inline constexpr std::size_t kLXPCConnectionNameSize = 264;

// A connection under the pair that callers address it by.
class LXPCConnectionClient : public LXPCConnection {
public:
    // Whether the names are the same but for the case of ASCII letters, and the instances exactly.
    bool Matches(char const* szOtherName, unsigned long nOtherInstance) const noexcept;

    char szName[kLXPCConnectionNameSize] = {};
    unsigned long nInstance = 0;
};

// Holds any number of connections, each under a name and an instance number; of two that match a pair, the newer one
// is meant. Names match without regard to the case of ASCII letters; one longer than 263 characters, or null, names no
// connection and is refused: cut, it could be another one's. Any thread, all at once, sink calls included; no call
// waits for a peer, and none throws.
//
// The client's lock is a leaf: nothing else is taken under it, and under it the platform is called only to create,
// retain, resume, suspend or set a handler, which calls nobody back. To send, a reference to the handle is taken under
// the lock and the rest is done without it: a handle that is being sent on outlives its record, and what the audio
// thread can wait for is another thread's search, or its making and resuming of one connection (a few system calls that
// wait for nobody, and the start of a thread), never its sending. Records are allocated, and deleted (their connections
// cancelled), without the lock.
//
// Destroying a client that other threads still call is the caller's fault; sink calls are waited for (see LXPCBase).
class LXPCClient : public LXPCBase {
public:
    explicit LXPCClient(LXPCClientEventNotify* pSink) : LXPCBase(pSink) {}
    ~LXPCClient() override;

    // Makes a connection to a mach service (`bMachService`) or an XPC service of the name: its events go to the sink.
    // Sends nothing; a service that does not exist shows as an EvConnectionError later. False, and no change, when the
    // pair names a connection already, the name is refused or the platform gives no connection. Of several threads that
    // connect one pair, one succeeds, and the others make no connection.
    bool Connect(char const* szName, unsigned long nInstance, bool bMachService) noexcept;
    // The same to an endpoint's listener. The endpoint stays the caller's.
    bool ConnectEndPoint(char const* szName, unsigned long nInstance, xpc_object_t pEndPoint) noexcept;

    // Makes this client reachable: every peer that connects to the endpoint becomes a connection of the given pair, the
    // newest being the one that is sent to. The listener itself is a connection "AnonymousConnection", instance 0.
    // The caller owns the endpoint (one reference). Null as Connect is false; the listener is then gone.
    xpc_object_t CreateEndPoint(char const* szName, unsigned long nInstance) noexcept;

    // Ends the connection, without an error to the sink other than one EvConnectionError for each request that still
    // waits for its answer; sent notices still come. An unknown pair is ignored, here and below.
    void Disconnect(char const* szName, unsigned long nInstance) noexcept;
    // Listeners first, and until none is left: those that peers or other threads make meanwhile are ended as well.
    void DisconnectAll() noexcept;
    void Suspend(char const* szName, unsigned long nInstance) noexcept;
    void Resume(char const* szName, unsigned long nInstance) noexcept;

    // Whether the client holds such a connection; says nothing about the peer.
    bool IsConnectionValid(char const* szName, unsigned long nInstance) noexcept;

    using LXPCBase::SendMessage;
    void SendMessage(char const* szName, unsigned long nInstance, LList<LXPCDataListable> const& lItems,
                     bool bWantReply) noexcept;
    // The array form; with a count of 0 it sends an empty message.
    void SendMessage(char const* szName, unsigned long nInstance, LXPCData const* arItems, unsigned long nCount,
                     bool bWantReply) noexcept;

private:
    using RecordPtr = std::unique_ptr<LXPCConnectionClient>;

    static RecordPtr NewRecord(char const* szName, unsigned long nInstance) noexcept;
    template <class Create>
    bool ConnectNew(char const* szName, unsigned long nInstance, Create const& oCreate) noexcept;
    using PairPtr = std::shared_ptr<LXPCConnectionClient const>; // a record without a connection: name and instance
    static void OnPeer(LXPCGateRef oGate, PairPtr pPair, xpc_object_t pPeer) noexcept;
    void Accept(LXPCConnectionClient const& oPair, xpc_connection_t pPeer) noexcept;
    static void TurnAway(xpc_connection_t pPeer) noexcept;
    LXPCConnectionClient* Find(char const* szName, unsigned long nInstance) const noexcept REQUIRES(mtxConnections);
    LXPCObject RetainHandle(char const* szName, unsigned long nInstance) noexcept;

    LMutex mtxConnections;
    LList<LXPCConnectionClient> lConnections GUARDED_BY(mtxConnections); // newest first
};
