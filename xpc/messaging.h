// Messages, replies and events over connections.
#pragma once

#include "xpc/connection.h"
#include "xpc/event_notify.h"
#include "xpc/gate.h"

// A messaging object: sends the items that its send keys declare, decodes what arrives by its receive keys and tells
// its sink. Connections are named by their platform handles, as `long`. Nothing throws; what can't be sent is lost, and
// the platform's failures reach the sink as errors of the connection.
//
// Sending: any thread, never waiting for the peer. Keys are read without a lock: one thread may declare them, also
// while messages flow; a message is encoded and decoded by those that are declared when that begins.
//
// Destruction: no sink call of this object runs any more when it is over, other than one that the destroying thread is
// itself inside of (see LXPCGate); handlers that the platform runs later call nothing. Whoever destroys one holds no
// lock that a sink could want. A class derived from this one calls StopEvents first thing in its destructor.
class LXPCBase {
public:
    // The sink (may be null: nobody is told anything) is not owned and outlives this object. May throw bad_alloc.
    explicit LXPCBase(LXPCEventNotify* pSink);
    LXPCBase(LXPCBase const&) = delete;
    LXPCBase& operator=(LXPCBase const&) = delete;

    // Clears the sink's bEnabled, detaches it, and deletes the keys.
    virtual ~LXPCBase();

    // Declares a key: for what is received when `bReceive`, else for what is sent. Names are cut to 259 characters; a
    // later declaration of a name stands in front of the earlier one. A table ends with an empty name. A null name or
    // table declares nothing.
    void AddKey(LXPCDictionaryKey const& oKey, bool bReceive) noexcept;
    void AddKey(char const* szName, LXPCDataType nType, bool bReceive) noexcept;
    void AddKeys(LXPCDictionaryKey const* arTable, bool bReceive) noexcept;

    // Sends one message, empty when no item is declared. With `bWantReply` the sink then gets one EvReplyReceived or
    // EvConnectionError, or nothing when the answer has no entry that is declared; without, one EvMessageSent.
    void SendMessage(long nConnection, LList<LXPCDataListable> const& lItems, bool bWantReply) noexcept;
    void SendMessage(long nConnection, LXPCData const* arItems, unsigned long nCount, bool bWantReply) noexcept;

    // Answers a message received on the connection, while its event call runs; an EvMessageSent follows. Sends nothing
    // when no answer was asked for, or one was sent already.
    void SendReply(long nConnection, long nMessage, LList<LXPCDataListable> const& lItems) noexcept;

    // Sends the connection's events to this object's sink from now on, and resumes it. Nothing without a handle.
    void SetupConnectionHandlerAndResume(LXPCConnection& oConnection) noexcept;

    // Ends all sink calls, as the destructor does: see there.
    void StopEvents() noexcept { oGate->Close(); }

protected:
    // For handlers of derived classes.
    LXPCGateRef const& Gate() const noexcept { return oGate; }

private:
    enum class Origin { Message, Reply };

    void Send(long nConnection, xpc_object_t pMessage, bool bWantReply);
    static void OnEvent(LXPCGateRef oGate, long nConnection, xpc_object_t pEvent, Origin nOrigin) noexcept;
    static void OnSent(LXPCGate& oGate, long nConnection) noexcept;
    void DecodeAndNotify(long nConnection, xpc_object_t pEvent, Origin nOrigin);
    LXPCEventNotify* EnabledSink() const noexcept;

    LXPCEventNotify* pNotify;
    LList<LXPCDictionaryKeyListable> lSendKeys;
    LList<LXPCDictionaryKeyListable> lReceiveKeys;
    LXPCGateRef const oGate; // shared with every handler
};

// Tells the sink which of the platform's errors, told apart by identity, has reached the connection.
void ErrorHandler(xpc_object_t pError, long nConnection, LXPCEventNotify* pSink);
