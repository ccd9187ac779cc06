// A connection as its users call it. What its thread does: connection_thread.cpp.
#include "platform/xpc/connection.h"

#include "platform/dispatch/thread.h"

#include <chrono>
#include <condition_variable>
#include <sys/eventfd.h>

namespace platform {
namespace {

constexpr size_t kBarriersWorthWaking = 1000;

// Connections whose thread is on its way out. Never destroyed: such threads may outlive main.
struct Ending {
    std::mutex mtx; // guards what follows
    std::condition_variable cvNone;
    int nCount = 0;

    static Ending& Shared() {
        static Ending& oEnding = *new Ending;
        return oEnding;
    }
    void Count(int nMore) {
        std::lock_guard oLock(mtx);
        nCount += nMore;
        if (nCount == 0)
            cvNone.notify_all();
    }
};

dispatch_queue_t Retained(dispatch_queue_t pQueue) {
    if (pQueue)
        dispatch_retain(pQueue);
    return pQueue;
}

} // namespace

bool WaitForEndedConnections(std::chrono::steady_clock::time_point oDeadline) {
    Ending& oEnding = Ending::Shared();
    std::unique_lock oLock(oEnding.mtx);
    return oEnding.cvNone.wait_until(oLock, oDeadline, [&] { return oEnding.nCount == 0; });
}

ReplyTarget::ReplyTarget(xpc_handler_t oHandlerOfReply, dispatch_queue_t pQueueOfReply, bool bAtOnceOfReply)
    : oHandler(std::move(oHandlerOfReply)), pQueue(Retained(pQueueOfReply)), bAtOnce(bAtOnceOfReply) {}

ReplyTarget::ReplyTarget(ReplyTarget&& oOther) noexcept
    : oHandler(std::move(oOther.oHandler)), pAnswer(std::move(oOther.pAnswer)),
      pQueue(std::exchange(oOther.pQueue, nullptr)), bAtOnce(oOther.bAtOnce) {}

ReplyTarget& ReplyTarget::operator=(ReplyTarget&& oOther) noexcept {
    std::swap(oHandler, oOther.oHandler);
    std::swap(pAnswer, oOther.pAnswer);
    std::swap(pQueue, oOther.pQueue);
    std::swap(bAtOnce, oOther.bAtOnce);
    return *this;
}

ReplyTarget::~ReplyTarget() {
    if (pQueue)
        dispatch_release(pQueue);
}

Connection::Connection(Kind eKindOfConnection, char const* szNameOfConnection, dispatch_queue_t pTargetOfConnection)
    : Object(XPC_TYPE_CONNECTION), eKind(eKindOfConnection), bNamed(szNameOfConnection != nullptr),
      szName(szNameOfConnection ? szNameOfConnection : ""), pTarget(Retained(pTargetOfConnection)) {}

Connection::~Connection() {
    if (pTarget)
        dispatch_release(pTarget);
}

Ref<Connection> Connection::Make(Kind eKind, char const* szName, dispatch_queue_t pTarget) {
    return Ref<Connection>::Adopt(new Connection(eKind, szName, pTarget));
}

// Without a descriptor left for the door the connection is made all the same, and turns out invalid when resumed.
Ref<Connection> Connection::MakeToEndpoint(Endpoint const& oEndpoint) {
    auto pConnection = Make(Kind::ToEndpoint, nullptr, nullptr);
    pConnection->oDoor = FileDescriptor::Duplicate(oEndpoint.oDoor.Get());
    return pConnection;
}

// The finalizer comes last: by then every handler has been destroyed.
void Connection::ReleaseMemory() {
    if (nMemoryHolders.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    auto const pFinalize = pFinalizer.load();
    auto* const pOfUser = pContext.load();
    delete this;
    if (pFinalize)
        pFinalize(pOfUser);
}

// What comes after the thread's last work. The block is destroyed before the memory goes.
void Connection::RunElsewhere(dispatch_queue_t pQueue, dispatch_block_t oBlock) {
    if (!pQueue)
        pQueue = pTarget.load();
    if (!pQueue)
        pQueue = dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0);
    auto const pBlock = std::make_shared<dispatch_block_t>(std::move(oBlock));
    nMemoryHolders.fetch_add(1, std::memory_order_relaxed);
    dispatch_async(pQueue, [this, pBlock] {
        (*pBlock)();
        *pBlock = nullptr;
        ReleaseMemory();
    });
}

void Connection::LastReferenceGone(Object* pObject) {
    auto* const pConnection = static_cast<Connection*>(pObject);
    {
        Lock oLock(pConnection->mtx);
        pConnection->bAbandoned = true;
        // Whoever waits for an answer or a barrier hears of the end, also when nothing was ever resumed.
        if (!pConnection->mapReplies.empty() || !pConnection->lAnswered.empty() || pConnection->oOutgoing.HasBarriers())
            pConnection->StartIfNeeded();
        pConnection->MarkEnding();
        pConnection->Wake();
    }
    pConnection->ReleaseMemory();
}

void Connection::SetHandler(xpc_handler_t oHandler) {
    auto pNew = oHandler ? std::make_shared<xpc_handler_t>(std::move(oHandler)) : nullptr;
    Lock oLock(mtx);
    if (!bFinished) // nobody would let go of it
        pHandler.swap(pNew);
    oLock.unlock(); // what the old one captured goes now, with no lock held
}

void Connection::SetTargetQueue(dispatch_queue_t pQueue) {
    Lock oLock(mtx);
    if (eOpening != Opening::NotYet || bThread)
        return;
    if (dispatch_queue_t const pOld = pTarget.exchange(Retained(pQueue)))
        dispatch_release(pOld);
}

// With mtx held. At most one system call, and none while the thread is about anyway.
void Connection::Wake() {
    bChanged = true;
    if (!bAsleep)
        return;
    bAsleep = false;
    if (oWake)
        ::eventfd_write(oWake.Get(), 1);
}

void Connection::MarkEnding() {
    if (bThread && !bEnding && (bCancelled || bAbandoned || bFinished)) {
        bEnding = true;
        Ending::Shared().Count(1);
    }
}

// A machine without a thread left is asked again at the next occasion.
void Connection::StartIfNeeded() {
    if (bThread)
        return;
    oWake.Reset(gSystemCalls.eventfd.load()(0, EFD_CLOEXEC | EFD_NONBLOCK));
    nMemoryHolders.fetch_add(1, std::memory_order_relaxed);
    bThread = StartThread("xpc connection", [this] {
        Run();
        ReleaseMemory();
        Ending::Shared().Count(-1); // was counted when it was told to end, or found it
    });
    if (!bThread)
        nMemoryHolders.fetch_sub(1, std::memory_order_relaxed);
    MarkEnding();
}

void Connection::Suspend() {
    Lock oLock(mtx);
    ++nSuspensions;
}

void Connection::Resume() {
    Lock oLock(mtx);
    if (nSuspensions == 0 || --nSuspensions != 0)
        return;
    if (eOpening == Opening::NotYet && !bThread && !bCancelled)
        Open();
    StartIfNeeded();
    if (eKind == Kind::Peer && bThread && !bFinished && !bCancelled)
        HoldItself();
    Wake();
}

// With mtx held. Until the thread finishes, or tells the end.
void Connection::HoldItself() {
    if (!std::exchange(bHoldsItself, true))
        Retain();
}

void Connection::Cancel() {
    Lock oLock(mtx);
    bCancelled = true;
    if (bThread && !bFinished && nSuspensions == 0)
        HoldItself(); // the last event comes also to those who let go at once
    MarkEnding();
    Wake();
}

// With mtx held.
void Connection::FailReply(ReplyTarget oReply, xpc_object_t pError) {
    oReply.pAnswer = Ref<Object>::Retain(ObjectOf(pError));
    if (!bFinished) {
        lAnswered.push_back(std::move(oReply));
        return Wake();
    }
    // Who waits for it may stand in the way on the target queue.
    dispatch_queue_t const pQueue =
        oReply.bAtOnce ? dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0) : oReply.pQueue;
    auto const pReply = std::make_shared<ReplyTarget>(std::move(oReply));
    RunElsewhere(pQueue, [pReply] { pReply->oHandler(pReply->pAnswer.Get()); });
}

// With mtx held. Everybody who waits for an answer, with what there is to tell them; those asked first come first.
std::vector<ReplyTarget> Connection::TakeReplies(xpc_object_t pError) {
    std::vector<ReplyTarget> lReplies = std::move(lAnswered);
    lAnswered.clear();
    for (auto& [nReply, oReply] : mapReplies) {
        oReply.pAnswer = Ref<Object>::Retain(ObjectOf(pError));
        lReplies.push_back(std::move(oReply));
    }
    mapReplies.clear();
    return lReplies;
}

void Connection::Send(Dictionary const* pMessage, ReplyTarget* pReply) {
    FrameWriter oFrame(FrameKind::Message);
    bool const bWritten = pMessage && oFrame.Write(*pMessage);
    Lock oLock(mtx);
    if (!bWritten || !CanSend() || bCancelled) {
        if (pReply)
            FailReply(std::move(*pReply), XPC_ERROR_CONNECTION_INVALID);
        else
            oOutgoing.CountDropped(1);
        return;
    }
    if (pReply) {
        oFrame.SetReplyNumber(++nLastReply);
        mapReplies.emplace(nLastReply, std::move(*pReply));
    }
    switch (oOutgoing.Send(oSocket.Get(), oFrame)) {
    case Outgoing::Verdict::Sent: return;
    case Outgoing::Verdict::Queued: return Wake();
    case Outgoing::Verdict::Broken: // the thread hears of the end by itself, and tells who waits for an answer
        if (!pReply)
            oOutgoing.CountDropped(1);
        return;
    case Outgoing::Verdict::Dropped:
        if (!pReply)
            return oOutgoing.CountDropped(1);
        FailReply(std::move(mapReplies.extract(nLastReply).mapped()), XPC_ERROR_CONNECTION_INTERRUPTED);
    }
}

void Connection::Answer(uint64_t nReply, uint64_t nGenerationOfMessage, Dictionary const* pAnswer) {
    FrameWriter oAnswer(FrameKind::Reply), oNone(FrameKind::NoReply);
    FrameWriter& oFrame = pAnswer && oAnswer.Write(*pAnswer) ? oAnswer : oNone;
    oFrame.SetReplyNumber(nReply);
    Lock oLock(mtx);
    if (nGeneration != nGenerationOfMessage || !CanSend() || bCancelled || !oSocket)
        return;
    auto const eVerdict = oOutgoing.Send(oSocket.Get(), oFrame);
    if (eVerdict == Outgoing::Verdict::Dropped)
        bOverrun = true; // else the peer would wait for an answer for ever
    if (eVerdict == Outgoing::Verdict::Dropped || eVerdict == Outgoing::Verdict::Queued)
        Wake();
}

void Connection::SendBarrier(dispatch_block_t&& oBarrier) {
    Lock oLock(mtx);
    if (bFinished)
        return RunElsewhere(nullptr, std::move(oBarrier));
    bool const bForced = oOutgoing.AddBarrier(std::move(oBarrier));
    // While messages flow the thread comes by on its own now and then; a sender need not pay for waking it.
    // Barriers behind a queue come with the queue.
    bool const bMany = nTicks == 0 || oOutgoing.CountBarriers() >= kBarriersWorthWaking;
    if (bForced || (bMany && oOutgoing.HasDueBarrier()))
        Wake();
}

PeerCredentials Connection::Credentials() {
    Lock oLock(mtx);
    return oPeer;
}

XpcTraffic Connection::Traffic() {
    Lock oLock(mtx);
    return oOutgoing.Traffic();
}

} // namespace platform
