// A connection, or a listener for them: its state, and the thread that runs everything it delivers.
#pragma once

#include "platform/xpc/outgoing.h"
#include "platform/xpc/service_folder.h"

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// Who hears the answer to one message. Runs exactly once.
struct ReplyTarget {
    xpc_handler_t oHandler;
    Ref<Object> pAnswer;               // set when it is known
    dispatch_queue_t pQueue = nullptr; // retained
    bool bAtOnce = false;              // on the connection's thread itself, whatever the target queue

    ReplyTarget() = default;
    ReplyTarget(xpc_handler_t oHandlerOfReply, dispatch_queue_t pQueueOfReply, bool bAtOnceOfReply);
    ReplyTarget(ReplyTarget&& oOther) noexcept;
    ReplyTarget& operator=(ReplyTarget&& oOther) noexcept;
    ~ReplyTarget();
};

// Any thread, except where said.
//
// Life: users' references are the Object's count. The thread holds the memory by a count of its own, so that it can end
// in its own time after the last reference has gone, or be the place where that happens. A listener's peer that was
// resumed, and any connection that was cancelled, holds a reference to itself until it has told its end; a peer's
// thread ends then, too.
//
// Order: `mtx` is a leaf. No handler, barrier or destructor of one runs with it held. Only the thread reads and closes
// the socket; senders write to it under `mtx`.
class Connection final : public Object {
public:
    enum class Kind {
        Named,             // to a service by name: connects again after its peer has gone
        ToEndpoint,        // to a listener's endpoint
        Peer,              // what a listener got
        ServiceListener,   // serves a name
        AnonymousListener, // reached through its endpoints
    };

    static Ref<Connection> Make(Kind eKind, char const* szName, dispatch_queue_t pTarget);
    static Ref<Connection> MakeToEndpoint(Endpoint const& oEndpoint);
    static void LastReferenceGone(Object* pConnection);

    void SetHandler(xpc_handler_t oHandler);
    void SetTargetQueue(dispatch_queue_t pQueue);
    void Suspend();
    void Resume();
    void Cancel();

    // `pMessage` is no reply; null, as one that can't travel, is refused. `pReply`: who hears the answer; null when
    // none is wanted.
    void Send(Dictionary const* pMessage, ReplyTarget* pReply);
    void SendBarrier(dispatch_block_t&& oBarrier);
    // An answer, or (null) that there is none, over the socket that the message came by or not at all.
    void Answer(uint64_t nReply, uint64_t nGenerationOfMessage, Dictionary const* pAnswer);

    Ref<Endpoint> MakeEndpoint();
    char const* Name() const { return bNamed ? szName.c_str() : nullptr; }
    PeerCredentials Credentials();
    XpcTraffic Traffic();

    std::atomic<void*> pContext{nullptr};
    std::atomic<xpc_finalizer_t> pFinalizer{nullptr};

private:
    using Lock = std::unique_lock<std::mutex>;
    enum class Opening { NotYet, Open, Later, Refused };

    // One thing for a handler: an event, or the answer to a message.
    struct Arrival {
        Ref<Object> pObject;
        std::optional<ReplyTarget> oReply;
    };

    Connection(Kind eKindOfConnection, char const* szNameOfConnection, dispatch_queue_t pTarget);
    ~Connection();
    void ReleaseMemory();
    void RunElsewhere(dispatch_queue_t pQueue, dispatch_block_t oBlock);
    bool IsListener() const { return eKind == Kind::ServiceListener || eKind == Kind::AnonymousListener; }
    bool CanSend() const { return !IsListener() && !bDead && !bFinished; }

    // All with mtx held.
    void Wake();
    void StartIfNeeded();
    void MarkEnding();
    void HoldItself();
    void Open();
    Opening OpenToEndpoint();
    bool EnsureDoor();
    int ReadSocket() const { return eKind == Kind::ServiceListener ? oServed.Socket() : oSocket.Get(); }
    void FailReply(ReplyTarget oReply, xpc_object_t pError);
    std::vector<ReplyTarget> TakeReplies(xpc_object_t pError);

    // The thread. Those that are given the lock come with it held and go with it held, and let go of it in between.
    void Run();
    bool IsOver() const { return bAbandoned || (bCancelled && nSuspensions == 0) || IsSpent(); }
    bool IsSpent() const;
    bool DoWaitingWork(Lock& oLock);
    bool DeliverHeld(Lock& oLock);
    bool OpenAgain(Lock& oLock);
    bool RunDue(Lock& oLock);
    bool LetGoWhenDead(Lock& oLock);
    bool Receive(Lock& oLock);
    bool Accept(Lock& oLock);
    bool TakePacket(Lock& oLock);
    bool TakeFrame(Lock& oLock, FrameHeader const& oHeader, Ref<Dictionary> pBody);
    bool TakeReply(Lock& oLock, FrameHeader const& oHeader, Ref<Dictionary> pBody);
    void Announce(Lock& oLock, FileDescriptor oPeerSocket);
    void Sleep(Lock& oLock);
    void Deliver(Lock& oLock, Arrival oArrival);
    void HandleEvent(Object& oEvent);
    void Disconnect(Lock& oLock, xpc_object_t pError, bool bForGood);
    void Finish(Lock& oLock);
    void RunReplies(std::vector<ReplyTarget> lReplies);
    void RunBarriers(std::vector<dispatch_block_t> lBarriers);
    void OnTarget(dispatch_block_t const& oBlock);

    Kind const eKind;
    bool const bNamed;
    std::string const szName;
    std::shared_ptr<int> const pSlots =
        std::make_shared<int>(0);                   // a listener: its peers own it too, and are counted so
    std::shared_ptr<int> pSlot;                     // a peer: its listener's, until it ends
    PacketBuffer* pPackets = nullptr;               // the thread's
    std::atomic<int> nMemoryHolders{1};             // the users' references together are one
    std::atomic<dispatch_queue_t> pTarget{nullptr}; // retained; settled once resumed

    std::mutex mtx; // guards what follows
    std::shared_ptr<xpc_handler_t> pHandler;
    uint32_t nSuspensions = 1;
    Opening eOpening = Opening::NotYet;
    FileDescriptor oDoor; // ToEndpoint: the listener's; a listener without name: its own
    FileDescriptor oSocket;
    ServedName oServed;
    FileDescriptor oWake;
    PeerCredentials oPeer;
    uint64_t nGeneration = 0; // of the socket
    uint64_t nLastReply = 0;
    std::map<uint64_t, ReplyTarget> mapReplies;
    std::vector<ReplyTarget> lAnswered; // with an error, on this side
    std::deque<Arrival> lHeld;          // came while suspending
    Outgoing oOutgoing;
    bool bThread = false;
    bool bAsleep = false;
    bool bChanged = false;      // since the thread last looked
    int nTicks = 0;             // for how many more naps the thread wakes by itself, for barriers
    bool bStarved = false;      // the machine is out of descriptors: look again in a while
    bool bOverrun = false;      // the peer asks and does not read its answers
    bool bUnservedTold = false; // that nobody serves the name
    bool bInvalidTold = false;  // the last event has been delivered
    bool bCancelled = false;    // by the user
    bool bAbandoned = false;    // no user reference left
    bool bDead = false;         // can't be used any more
    bool bEnding = false;       // counted as such
    bool bFinished = false;     // the thread's last work is taken
    bool bHoldsItself = false;
};

// The right, and the duty, to answer one message. Unused, it tells the sender that no answer comes.
class ReplyTicket {
public:
    ReplyTicket(Ref<Connection> pConnectionOfMessage, uint64_t nReplyNumber, uint64_t nGenerationOfMessage)
        : pConnection(std::move(pConnectionOfMessage)), nReply(nReplyNumber), nGeneration(nGenerationOfMessage) {}
    ~ReplyTicket() { Use(nullptr); }
    ReplyTicket(ReplyTicket const&) = delete;
    ReplyTicket& operator=(ReplyTicket const&) = delete;

    // Once; null says that no answer comes.
    void Use(Dictionary const* pAnswer) {
        if (nReply != 0)
            pConnection->Answer(std::exchange(nReply, 0), nGeneration, pAnswer);
    }

private:
    Ref<Connection> const pConnection;
    uint64_t nReply;
    uint64_t const nGeneration;
};

// Waits until no connection that was cancelled or let go has a thread any more; false at the deadline.
bool WaitForEndedConnections(std::chrono::steady_clock::time_point oDeadline);

inline Connection* ConnectionOf(xpc_connection_t pConnection) noexcept {
    return reinterpret_cast<Connection*>(pConnection);
}
inline xpc_connection_t HandleOf(Connection* pConnection) noexcept {
    return reinterpret_cast<xpc_connection_t>(pConnection);
}

} // namespace platform
