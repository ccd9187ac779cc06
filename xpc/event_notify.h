// The event sink: through it a messaging object tells its owner what happened.
#pragma once

#include "xpc/data.h"

#include <atomic>
#include <cstdint>

enum LXPCErrorType : std::uint32_t {
    LXPCError_Other = 0,                 // any other error
    LXPCError_ConnectionInvalid = 1,     // can't be used: no such service, or the connection was cancelled
    LXPCError_ConnectionInterrupted = 2, // the peer went away; the connection may be used again
    LXPCError_TerminationImminent = 3,
};

// Called on the platform's threads, never out of a call of this library's and never with a lock of its held. A
// connection's messages and errors come one at a time and in order; what is told about replies and sent notices, and
// about other connections, may come at the same time. A sink guards its own state and may call anything of the library,
// its own client's destruction included.
//
// `nConnection` is the connection's platform handle and `nMessage` the received message's object, good for SendReply
// while the call runs. Items are the sink's only while the call runs (see LXPCData). An exception that leaves a call
// ends there: the event is over.
//
// A sink belongs to whoever made it and outlives the messaging objects that it is attached to.
class LXPCEventNotify {
public:
    LXPCEventNotify() noexcept = default;
    LXPCEventNotify(LXPCEventNotify const&) = delete;
    LXPCEventNotify& operator=(LXPCEventNotify const&) = delete;

    virtual void EvConnectionError(long nConnection, LXPCErrorType nType) = 0;
    // All that was sent before, up to and with one message without a reply, has been handed to the transport, or was
    // lost with a connection that broke.
    virtual void EvMessageSent(long nConnection) = 0;

    // The list form, called when bUseDataArray is clear.
    virtual void EvMessageReceived(long nConnection, long nMessage, LList<LXPCDataListable> const& lItems);
    virtual void EvReplyReceived(long nConnection, LList<LXPCDataListable> const& lItems);

    // The array form, called when bUseDataArray is set.
    virtual void EvMessageReceived(long nConnection, long nMessage, LXPCData const* arItems, unsigned long nCount) = 0;
    virtual void EvReplyReceived(long nConnection, LXPCData const* arItems, unsigned long nCount) = 0;

    virtual ~LXPCEventNotify();

    bool bUseDataArray = true; // set before the sink is attached
    // Events are delivered only while it is set. Cleared, on whatever thread, by the destruction of a messaging object
    // that the sink is attached to.
    std::atomic<bool> bEnabled = true;
};

// The sink that clients are created with.
class LXPCClientEventNotify : public LXPCEventNotify {};
