#include "tools/roles/helper_service.h"

#include "base/mutex.h"
#include "xpc/helperlink/helper_keys.h"
#include "xpc/messaging.h"
#include "xpc/object.h"

#include <chrono>
#include <cstring>
#include <future>
#include <list>
#include <utility>
#include <vector>

#include <unistd.h>

class HelperService::Core : public LXPCClientEventNotify, public std::enable_shared_from_this<Core> {
public:
    Core(std::function<void(EventLine const&)> oReport, std::function<void()> oLost)
        : oReporter(std::move(oReport)), oOnLost(std::move(oLost)), oMessaging(this) {
        LVADFillHelperKeys();
        oMessaging.AddKeys(arVADHelperRxKeys, false); // what plug-ins and recorders receive is what this sends
        oMessaging.AddKeys(arVADHelperTxKeys, true);
    }

    void Listen();
    void Shutdown();

private:
    struct Peer {
        LXPCConnection oConnection;
        LXPCObject oEndPoint; // what it offers, if it is a recorder's
        uint64_t nOffer = 0;  // which offer that is
        bool bPlugIn = false; // it has asked for the endpoint
        uint64_t nGiven = 0;  // the offer that it was last sent
    };
    using News = std::vector<EventLine>; // reported after the lock is let go

    void Accept(xpc_object_t pPeer);
    void EvConnectionError(long nConnection, LXPCErrorType nType) override;
    void EvMessageSent(long) override {}
    void EvMessageReceived(long nConnection, long nMessage, LXPCData const* arItems, unsigned long nCount) override;
    void EvReplyReceived(long, LXPCData const*, unsigned long) override {}

    void OfferEndPoint(long nConnection, long nMessage, xpc_object_t pEndPoint);
    void WithdrawEndPoint(long nConnection, long nMessage);
    void RequestEndPoint(long nConnection, long nMessage);
    void Reply(long nConnection, long nMessage, LXPCData const* pItem);
    bool HandOut(Peer& oPeer, long nMessage) REQUIRES(mtx);
    void HandOutToAll(News& lNews) REQUIRES(mtx);
    void PassOn(News& lNews) REQUIRES(mtx);
    Peer* Find(long nConnection) REQUIRES(mtx);
    Peer* Recorder() REQUIRES(mtx);
    void Report(News const& lNews);

    std::function<void(EventLine const&)> oReporter;
    std::function<void()> oOnLost;
    LMutex mtx; // over sends too: they wait for nobody and call nobody back
    LXPCConnection oListener GUARDED_BY(mtx);
    std::list<Peer> lPeers GUARDED_BY(mtx);
    uint64_t nOffers GUARDED_BY(mtx) = 0; // so far
    LXPCBase oMessaging;                  // last: its calls of this sink end before anything else goes
};

namespace {

uint64_t PidOf(long nConnection) {
    return static_cast<uint64_t>(xpc_connection_get_pid(LXPCPointer<xpc_connection_t>(nConnection)));
}

LList<LXPCDataListable>& AddItem(LList<LXPCDataListable>& lItems, LXPCData const& oItem) {
    lItems.Insert(std::make_unique<LXPCDataListable>(oItem));
    return lItems;
}

} // namespace

void HelperService::Core::Listen() {
    LScopedLock oLock(mtx);
    oListener.Adopt(
        xpc_connection_create_mach_service(kVADHelperService, nullptr, XPC_CONNECTION_MACH_SERVICE_LISTENER));
    auto const pThis = shared_from_this();
    xpc_connection_set_event_handler(oListener.Handle(), [pThis](xpc_object_t pEvent) {
        if (xpc_get_type(pEvent) == XPC_TYPE_CONNECTION)
            pThis->Accept(pEvent);
        else if (xpc_get_type(pEvent) == XPC_TYPE_ERROR)
            pThis->oOnLost();
    });
    oListener.Resume();
}

void HelperService::Core::Shutdown() {
    std::list<Peer> lEnding;
    {
        LScopedLock oLock(mtx);
        oListener.Destroy();
        lEnding.swap(lPeers);
    }
    oMessaging.StopEvents();
}

void HelperService::Core::Accept(xpc_object_t pPeer) {
    LScopedLock oLock(mtx);
    Peer& oPeer = lPeers.emplace_back();
    oPeer.oConnection.Adopt(static_cast<xpc_connection_t>(xpc_retain(pPeer)));
    oMessaging.SetupConnectionHandlerAndResume(oPeer.oConnection);
}

HelperService::Core::Peer* HelperService::Core::Find(long nConnection) {
    for (Peer& oPeer : lPeers)
        if (oPeer.oConnection.hConnection == nConnection)
            return &oPeer;
    return nullptr;
}

// The newest offer that stands. A recorder that asked twice because it got no answer in time has two connections for a
// while, whose events come in any order: the end of one must not hide the other.
HelperService::Core::Peer* HelperService::Core::Recorder() {
    Peer* pNewest = nullptr;
    for (Peer& oPeer : lPeers)
        if (oPeer.oEndPoint && (!pNewest || oPeer.nOffer > pNewest->nOffer))
            pNewest = &oPeer;
    return pNewest;
}

void HelperService::Core::Report(News const& lNews) {
    for (EventLine const& oEvent : lNews)
        oReporter(oEvent);
}

void HelperService::Core::EvConnectionError(long nConnection, LXPCErrorType) {
    std::list<Peer> lGone; // ended after the lock is let go
    News lNews;
    {
        LScopedLock oLock(mtx);
        Peer const* const pRecorder = Recorder();
        for (auto it = lPeers.begin(); it != lPeers.end();) {
            auto const itNow = it++;
            if (itNow->oConnection.hConnection == nConnection)
                lGone.splice(lGone.end(), lPeers, itNow);
        }
        if (pRecorder && !lGone.empty() && pRecorder == &lGone.front())
            PassOn(lNews);
    }
    Report(lNews);
}

void HelperService::Core::EvMessageReceived(long nConnection, long nMessage, LXPCData const* arItems,
                                            unsigned long nCount) {
    for (LXPCData const* p = arItems; p != arItems + nCount; ++p) {
        if (std::strcmp(p->szName, "NEW_ENDPOINT") == 0)
            OfferEndPoint(nConnection, nMessage, LXPCPointer<xpc_object_t>(p->nValue));
        else if (std::strcmp(p->szName, "CLOSE_ENDPOINT") == 0)
            WithdrawEndPoint(nConnection, nMessage);
        else if (std::strcmp(p->szName, kVADKeyRequestEndPoint) == 0)
            RequestEndPoint(nConnection, nMessage);
    }
}

void HelperService::Core::Reply(long nConnection, long nMessage, LXPCData const* pItem) {
    LList<LXPCDataListable> lItems;
    if (pItem)
        AddItem(lItems, *pItem);
    oMessaging.SendReply(nConnection, nMessage, lItems);
}

void HelperService::Core::OfferEndPoint(long nConnection, long nMessage, xpc_object_t pEndPoint) {
    bool const bGood = pEndPoint && xpc_get_type(pEndPoint) == XPC_TYPE_ENDPOINT;
    LXPCData const oAnswer("NEW_ENDPOINT_REPLY", LXPCDataType_Bool, bGood);
    Reply(nConnection, nMessage, &oAnswer);
    if (!bGood)
        return;
    LXPCObject oBefore; // released after the lock is let go
    News lNews;
    {
        LScopedLock oLock(mtx);
        Peer* const pPeer = Find(nConnection);
        if (!pPeer)
            return;
        oBefore = std::exchange(pPeer->oEndPoint, LXPCObject::Retained(pEndPoint));
        pPeer->nOffer = ++nOffers;
        lNews.push_back(EventLine("recorder").Add("pid", PidOf(nConnection)));
        HandOutToAll(lNews);
    }
    Report(lNews);
}

// The recorder has gone, and the one before it, if it is still there, takes its place.
void HelperService::Core::PassOn(News& lNews) {
    lNews.push_back(EventLine("recorder-gone"));
    if (Peer const* const pNext = Recorder()) {
        lNews.push_back(EventLine("recorder").Add("pid", PidOf(pNext->oConnection.hConnection)));
        HandOutToAll(lNews);
    }
}

void HelperService::Core::WithdrawEndPoint(long nConnection, long nMessage) {
    LXPCObject oWithdrawn;
    News lNews;
    {
        LScopedLock oLock(mtx);
        Peer const* const pRecorder = Recorder();
        if (Peer* const pPeer = Find(nConnection)) {
            oWithdrawn = std::exchange(pPeer->oEndPoint, LXPCObject());
            if (pPeer == pRecorder)
                PassOn(lNews);
        }
    }
    LXPCData const oAnswer("CLOSE_ENDPOINT_REPLY", LXPCDataType_Bool, oWithdrawn ? 1 : 0);
    Reply(nConnection, nMessage, &oAnswer);
    Report(lNews);
}

void HelperService::Core::RequestEndPoint(long nConnection, long nMessage) {
    bool bGiven = false;
    {
        LScopedLock oLock(mtx);
        Peer* const pPeer = Find(nConnection);
        if (pPeer) {
            pPeer->bPlugIn = true;
            bGiven = HandOut(*pPeer, nMessage);
        }
    }
    if (bGiven)
        oReporter(EventLine("handed-out").Add("pid", PidOf(nConnection)));
    else
        Reply(nConnection, nMessage, nullptr);
}

// In the reply to nMessage, or as a message of its own with 0. False when there is none to give, and when the plug-in
// has it: it would leave its connection to the recorder for a new one, in the middle of playing.
bool HelperService::Core::HandOut(Peer& oPeer, long nMessage) {
    Peer const* const pRecorder = Recorder();
    if (!pRecorder || oPeer.nGiven == pRecorder->nOffer)
        return false;
    oPeer.nGiven = pRecorder->nOffer;
    LList<LXPCDataListable> lItems;
    AddItem(lItems, LXPCData(kVADKeySendEndPoint, LXPCDataType_Object, LXPCValue(pRecorder->oEndPoint.Get())));
    long const nConnection = oPeer.oConnection.hConnection;
    if (nMessage != 0)
        oMessaging.SendReply(nConnection, nMessage, lItems);
    else
        oMessaging.SendMessage(nConnection, lItems, false);
    return true;
}

void HelperService::Core::HandOutToAll(News& lNews) {
    for (Peer& oPeer : lPeers)
        if (oPeer.bPlugIn && HandOut(oPeer, 0))
            lNews.push_back(EventLine("handed-out").Add("pid", PidOf(oPeer.oConnection.hConnection)));
}

HelperService::HelperService(std::function<void(EventLine const&)> oReport, std::function<void()> oLost)
    : pCore(std::make_shared<Core>(std::move(oReport), std::move(oLost))) {
    pCore->Listen();
}

HelperService::~HelperService() {
    pCore->Shutdown();
}

pid_t HelperService::ServingProcess() {
    constexpr auto kPatience = std::chrono::seconds(2); // a service out of descriptors keeps its callers in line
    LXPCConnection oAsking;
    oAsking.Adopt(xpc_connection_create_mach_service(kVADHelperService, nullptr, 0));
    xpc_connection_set_event_handler(oAsking.Handle(), [](xpc_object_t) {});
    oAsking.Resume();
    // A message without a word of the vocabulary gets no answer, but it takes a listener to find that out.
    LXPCObject const oNothing(xpc_dictionary_create(nullptr, nullptr, 0));
    auto const pHeard = std::make_shared<std::promise<void>>();
    auto oHeard = pHeard->get_future();
    xpc_connection_send_message_with_reply(oAsking.Handle(), oNothing.Get(), nullptr,
                                           [pHeard](xpc_object_t) { pHeard->set_value(); });
    return oHeard.wait_for(kPatience) == std::future_status::ready ? xpc_connection_get_pid(oAsking.Handle()) : 0;
}
