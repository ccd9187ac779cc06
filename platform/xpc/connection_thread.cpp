// The connection's thread: sleeps in one poll, reads what comes and runs the handler right there.
#include "platform/xpc/connection.h"
#include "platform/xpc/decoder.h"

#include <poll.h>
#include <sys/eventfd.h>

namespace platform {
namespace {

// After barriers have run the thread comes by by itself for a while, so that the next need not wake it. Fifty
// milliseconds: some twenty wakes a second at most while messages flow, none when they don't.
constexpr timespec kTick{0, 50'000'000};
constexpr int kTicksAfterBarriers = 8; // long enough for the slowest stream of audio blocks
constexpr timespec kTryAgain{0, 10'000'000};

} // namespace

void Connection::Run() {
    PacketBuffer oPackets;
    pPackets = &oPackets;
    Lock oLock(mtx);
    while (!IsOver()) {
        bChanged = false;
        if (!DoWaitingWork(oLock) && !Receive(oLock) && !bChanged)
            Sleep(oLock);
    }
    Finish(oLock);
}

// A peer that has told its end is good for nothing more, and its thread does not wait for the user to let go: whoever
// connects to a listener again and again would leave one behind each time.
bool Connection::IsSpent() const {
    return eKind == Kind::Peer && bInvalidTold && nSuspensions == 0 && lAnswered.empty() && !oOutgoing.HasBarriers();
}

// True when something was done and the world may have changed.
bool Connection::DoWaitingWork(Lock& oLock) {
    if (OpenAgain(oLock) || DeliverHeld(oLock))
        return true;
    if (bOverrun && !bDead) {
        Disconnect(oLock, XPC_ERROR_CONNECTION_INVALID, true);
        return true;
    }
    if (oSocket && !oOutgoing.IsEmpty())
        oOutgoing.Flush(oSocket.Get());
    return nSuspensions == 0 && (RunDue(oLock) || LetGoWhenDead(oLock));
}

bool Connection::DeliverHeld(Lock& oLock) {
    if (lHeld.empty() || nSuspensions != 0)
        return false;
    Arrival oFirst = std::move(lHeld.front());
    lHeld.pop_front();
    Deliver(oLock, std::move(oFirst));
    return true;
}

// A name is looked up again when there is something to send.
bool Connection::OpenAgain(Lock& oLock) {
    if (bDead || nSuspensions != 0)
        return false;
    if (eOpening == Opening::Later || (eOpening == Opening::NotYet && eKind == Kind::Named && !oOutgoing.IsEmpty())) {
        Open();
        if (eOpening == Opening::Open)
            bUnservedTold = false;
    }
    if (eOpening != Opening::Refused)
        return false;
    Disconnect(oLock, XPC_ERROR_CONNECTION_INVALID, eKind != Kind::Named);
    return true;
}

bool Connection::RunDue(Lock& oLock) {
    if (!oOutgoing.HasDueBarrier() && lAnswered.empty())
        return false;
    auto lBarriers = oOutgoing.TakeDueBarriers();
    auto lReplies = std::move(lAnswered);
    lAnswered.clear();
    nTicks = kTicksAfterBarriers;
    oLock.unlock();
    RunReplies(std::move(lReplies));
    RunBarriers(std::move(lBarriers));
    oLock.lock();
    return true;
}

// A connection that has told its end needs its handler no more.
bool Connection::LetGoWhenDead(Lock& oLock) {
    if (!bInvalidTold || !pHandler)
        return false;
    auto pOldHandler = std::move(pHandler);
    oLock.unlock();
    pOldHandler.reset();
    oLock.lock();
    return true;
}

bool Connection::Receive(Lock& oLock) {
    if (nSuspensions != 0 || bDead || ReadSocket() < 0)
        return false;
    return eKind == Kind::ServiceListener ? Accept(oLock) : TakePacket(oLock);
}

bool Connection::TakePacket(Lock& oLock) {
    int const nSocket = oSocket.Get();
    oLock.unlock();
    ReceiveResult const eResult = pPackets->Receive(nSocket);
    FrameHeader oHeader;
    Ref<Dictionary> pBody;
    bool const bSound = eResult == ReceiveResult::Packet &&
                        DecodeFrame({pPackets->Bytes(), pPackets->Length()}, pPackets->Descriptors(), oHeader, pBody);
    oLock.lock();
    if (eResult == ReceiveResult::Nothing)
        return false;
    if (eResult == ReceiveResult::Closed) {
        bool const bNamedOne = eKind == Kind::Named;
        Disconnect(oLock, bNamedOne ? XPC_ERROR_CONNECTION_INTERRUPTED : XPC_ERROR_CONNECTION_INVALID, !bNamedOne);
        return true;
    }
    if (eKind == Kind::AnonymousListener) {
        // Many share the door: what one of them throws at it must not close it for the others.
        if (bSound && oHeader.eKind == FrameKind::Connect)
            Announce(oLock, std::move(pPackets->Descriptors().front()));
        return true;
    }
    if (!bSound || !TakeFrame(oLock, oHeader, std::move(pBody)))
        Disconnect(oLock, XPC_ERROR_CONNECTION_INVALID, true);
    return true;
}

// False when the frame has no place here.
bool Connection::TakeFrame(Lock& oLock, FrameHeader const& oHeader, Ref<Dictionary> pBody) {
    if (oHeader.eKind == FrameKind::Connect)
        return false;
    if (oHeader.eKind != FrameKind::Message)
        return TakeReply(oLock, oHeader, std::move(pBody));
    if (!TryRetain())
        return true; // nobody is left to tell; the loop ends next
    pBody->pRemote = Ref<Connection>::Adopt(this);
    if (oHeader.nReply != 0)
        pBody->pTicket = std::make_unique<ReplyTicket>(pBody->pRemote, oHeader.nReply, nGeneration);
    Deliver(oLock, {std::move(pBody), std::nullopt});
    return true;
}

bool Connection::TakeReply(Lock& oLock, FrameHeader const& oHeader, Ref<Dictionary> pBody) {
    auto oFound = mapReplies.extract(oHeader.nReply);
    if (oFound.empty())
        return false;
    Arrival oArrival{Ref<Object>(), std::move(oFound.mapped())};
    if (pBody && TryRetain())
        pBody->pRemote = Ref<Connection>::Adopt(this);
    oArrival.oReply->pAnswer =
        pBody ? Ref<Object>(std::move(pBody)) : Ref<Object>::Retain(ObjectOf(XPC_ERROR_CONNECTION_INTERRUPTED));
    Deliver(oLock, std::move(oArrival));
    return true;
}

void Connection::Deliver(Lock& oLock, Arrival oArrival) {
    if (nSuspensions != 0) { // since it was read
        lHeld.push_back(std::move(oArrival));
        return;
    }
    oLock.unlock();
    if (oArrival.oReply) {
        std::vector<ReplyTarget> lOne;
        lOne.push_back(std::move(*oArrival.oReply));
        RunReplies(std::move(lOne));
    } else {
        HandleEvent(*oArrival.pObject);
    }
    oArrival = {}; // an unanswered message says so when it goes, and needs the lock for it
    oLock.lock();
}

// Without the lock. A user's reference is held, so that a handler that lets go of its last one is not pulled the
// connection from under.
void Connection::HandleEvent(Object& oEvent) {
    if (!TryRetain())
        return;
    auto const pHeld = Ref<Connection>::Adopt(this);
    OnTarget([this, &oEvent] {
        Lock oLock(mtx);
        if (bCancelled)
            return;
        auto const pCurrent = pHandler;
        if (bDead && &oEvent == XPC_ERROR_CONNECTION_INVALID)
            bInvalidTold = true;
        oLock.unlock();
        if (pCurrent)
            (*pCurrent)(&oEvent);
    });
}

// The peer is gone, or never was there: everybody who waits hears of it, then the handler does.
void Connection::Disconnect(Lock& oLock, xpc_object_t pError, bool bForGood) {
    bool const bUnserved = !bForGood && pError == XPC_ERROR_CONNECTION_INVALID;
    bool const bTell = !bUnserved || !std::exchange(bUnservedTold, true);
    FileDescriptor oOld = std::move(oSocket);
    ++nGeneration;
    eOpening = bForGood ? Opening::Open : Opening::NotYet;
    bDead = bForGood;
    oPeer = {};
    if (bForGood) {
        oServed.Withdraw();
        oDoor.Reset();
    }
    oOutgoing.DropAll();
    auto lReplies = TakeReplies(pError);
    auto lBarriers = oOutgoing.TakeDueBarriers();
    oLock.unlock();
    oOld.Reset();
    RunReplies(std::move(lReplies));
    RunBarriers(std::move(lBarriers));
    oLock.lock();
    if (bTell)
        Deliver(oLock, {Ref<Object>::Retain(ObjectOf(pError)), std::nullopt});
}

void Connection::Sleep(Lock& oLock) {
    if (!oWake)
        oWake.Reset(gSystemCalls.eventfd.load()(0, EFD_CLOEXEC | EFD_NONBLOCK));
    bool const bReads = nSuspensions == 0 && !bDead && !bStarved;
    bool const bWrites = oSocket && !oOutgoing.IsEmpty() && !oOutgoing.IsStarved();
    auto const nEvents = static_cast<short>((bReads ? POLLIN : 0) | (bWrites ? POLLOUT : 0));
    // Without interest there must be no descriptor: a hang-up is always reported.
    pollfd aEntries[] = {{oWake.Get(), POLLIN, 0}, {nEvents ? ReadSocket() : -1, nEvents, 0}};
    bool const bTryAgain = !oWake || bStarved || oOutgoing.IsStarved() || eOpening == Opening::Later;
    timespec const* const pTimeout = bTryAgain ? &kTryAgain : nTicks > 0 ? &kTick : nullptr;
    bAsleep = true;
    oLock.unlock();
    int const nReady = gSystemCalls.ppoll.load(std::memory_order_relaxed)(aEntries, 2, pTimeout, nullptr);
    eventfd_t nWakes;
    if (nReady > 0 && (aEntries[0].revents & POLLIN))
        ::eventfd_read(aEntries[0].fd, &nWakes);
    oLock.lock();
    bAsleep = false;
    bStarved = false;
    if (nReady == 0 && nTicks > 0)
        --nTicks;
}

void Connection::RunReplies(std::vector<ReplyTarget> lReplies) {
    for (ReplyTarget& oReply : lReplies) {
        if (oReply.pQueue) {
            dispatch_queue_t const pQueue = oReply.pQueue;
            auto const pShared = std::make_shared<ReplyTarget>(std::move(oReply)); // a block can be copied, this can't
            RunElsewhere(pQueue, [pShared] { pShared->oHandler(pShared->pAnswer.Get()); });
        } else if (oReply.bAtOnce) {
            oReply.oHandler(oReply.pAnswer.Get());
        } else {
            OnTarget([&oReply] { oReply.oHandler(oReply.pAnswer.Get()); });
        }
        oReply = {}; // what it captured and was told goes before the next one runs
    }
}

void Connection::RunBarriers(std::vector<dispatch_block_t> lBarriers) {
    for (dispatch_block_t& oBarrier : lBarriers) {
        OnTarget(oBarrier);
        oBarrier = nullptr;
    }
}

void Connection::OnTarget(dispatch_block_t const& oBlock) {
    if (dispatch_queue_t const pQueue = pTarget.load(std::memory_order_relaxed))
        dispatch_sync(pQueue, oBlock);
    else
        oBlock();
}

// Cancelled, let go or spent: barriers run and replies are answered, then the handler gets its last event, and goes.
void Connection::Finish(Lock& oLock) {
    if (oSocket && !oOutgoing.IsEmpty())
        oOutgoing.Flush(oSocket.Get()); // what was sent before the cancel, as far as there is room
    bFinished = true;
    MarkEnding();
    oWake.Reset();
    FileDescriptor oOldSocket = std::move(oSocket);
    oServed.Withdraw();
    oDoor.Reset();
    oOutgoing.DropAll();
    auto lBarriers = oOutgoing.TakeDueBarriers();
    auto lReplies = TakeReplies(XPC_ERROR_CONNECTION_INVALID);
    auto lUnread = std::move(lHeld);
    for (Arrival& oArrival : lUnread)
        if (oArrival.oReply)
            lReplies.push_back(std::move(*oArrival.oReply));
    oLock.unlock();
    oOldSocket.Reset();
    RunBarriers(std::move(lBarriers));
    RunReplies(std::move(lReplies));
    lUnread.clear();
    oLock.lock();
    auto pLastHandler = std::move(pHandler);
    bool const bTell = bCancelled && !bInvalidTold && pLastHandler;
    bool const bRelease = std::exchange(bHoldsItself, false);
    oLock.unlock();
    if (bTell && TryRetain()) {
        OnTarget([&] { (*pLastHandler)(XPC_ERROR_CONNECTION_INVALID); });
        Release();
    }
    pLastHandler.reset();
    pSlot.reset();
    if (bRelease)
        Release();
}

} // namespace platform
