#include "xpc/client.h"

#include "base/fixed_text.h"

#include <cstring>
#include <exception>
#include <new>

namespace {

char constexpr kListenerName[] = "AnonymousConnection";

char LowerASCII(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualButForCase(char const* szLeft, char const* szRight) {
    while (*szLeft && LowerASCII(*szLeft) == LowerASCII(*szRight)) {
        ++szLeft;
        ++szRight;
    }
    return *szLeft == *szRight; // both at their ends
}

} // namespace

bool LXPCConnectionClient::Matches(char const* szOtherName, unsigned long nOtherInstance) const noexcept {
    return nInstance == nOtherInstance && szOtherName &&
           (std::strcmp(szName, szOtherName) == 0 ||
            EqualButForCase(szName, szOtherName)); // the audio thread's is equal
}

LXPCClient::~LXPCClient() {
    StopEvents(); // first: a sink call may be at work on the connections
    DisconnectAll();
}

LXPCClient::RecordPtr LXPCClient::NewRecord(char const* szName, unsigned long nInstance) noexcept {
    if (!szName || strnlen(szName, kLXPCConnectionNameSize) == kLXPCConnectionNameSize)
        return nullptr;
    RecordPtr pRecord(new (std::nothrow) LXPCConnectionClient);
    if (pRecord) {
        LCopyFixed(pRecord->szName, szName);
        pRecord->nInstance = nInstance;
    }
    return pRecord;
}

// Looked up and inserted under one lock, so that of two threads the loser never opens a connection to the peer.
template <class Create>
bool LXPCClient::ConnectNew(char const* szName, unsigned long nInstance, Create const& oCreate) noexcept try {
    RecordPtr pRecord = NewRecord(szName, nInstance);
    if (!pRecord)
        return false;
    LScopedLock const oLock(mtxConnections);
    xpc_connection_t const pCounted = Find(szName, nInstance) ? nullptr : oCreate();
    if (!pCounted)
        return false;
    pRecord->Adopt(pCounted);
    SetupConnectionHandlerAndResume(lConnections.Insert(std::move(pRecord)));
    return true;
} catch (std::exception const&) { // memory ran out
    return false;
}

bool LXPCClient::Connect(char const* szName, unsigned long nInstance, bool bMachService) noexcept {
    return ConnectNew(szName, nInstance, [&] {
        return bMachService ? xpc_connection_create_mach_service(szName, nullptr, 0)
                            : xpc_connection_create(szName, nullptr);
    });
}

bool LXPCClient::ConnectEndPoint(char const* szName, unsigned long nInstance, xpc_object_t pEndPoint) noexcept {
    return pEndPoint && ConnectNew(szName, nInstance, [&] {
               return xpc_connection_create_from_endpoint(static_cast<xpc_endpoint_t>(pEndPoint));
           });
}

xpc_object_t LXPCClient::CreateEndPoint(char const* szName, unsigned long nInstance) noexcept try {
    PairPtr const pPair(NewRecord(szName, nInstance));
    RecordPtr pListener = NewRecord(kListenerName, 0);
    if (!pPair || !pListener || IsConnectionValid(szName, nInstance))
        return nullptr;
    xpc_connection_t const pCounted = xpc_connection_create(nullptr, nullptr);
    if (!pCounted)
        return nullptr;
    pListener->Adopt(pCounted); // from here on the record cancels and releases it on every way out
    LXPCObject oEndPoint(xpc_endpoint_create(pCounted));
    if (!oEndPoint)
        return nullptr;
    xpc_connection_set_event_handler(pCounted,
                                     [oShared = Gate(), pPair](xpc_object_t pPeer) { OnPeer(oShared, pPair, pPeer); });
    pListener->Resume();
    LScopedLock const oLock(mtxConnections);
    lConnections.Insert(std::move(pListener));
    return oEndPoint.Detach();
} catch (std::exception const&) {
    return nullptr;
}

// Gate and pair come by value: another thread may end the listener, and with it the handler that holds them.
void LXPCClient::OnPeer(LXPCGateRef oGate, PairPtr pPair, xpc_object_t pPeer) noexcept {
    if (xpc_get_type(pPeer) != XPC_TYPE_CONNECTION)
        return;
    LXPCGate::Call const oCall(*oGate);
    if (oCall.Base())
        static_cast<LXPCClient*>(oCall.Base())->Accept(*pPair, static_cast<xpc_connection_t>(pPeer));
    else
        TurnAway(static_cast<xpc_connection_t>(pPeer));
}

void LXPCClient::Accept(LXPCConnectionClient const& oPair, xpc_connection_t pPeer) noexcept {
    RecordPtr pRecord = NewRecord(oPair.szName, oPair.nInstance);
    if (!pRecord)
        return TurnAway(pPeer);
    pRecord->Adopt(static_cast<xpc_connection_t>(xpc_retain(pPeer)));
    LScopedLock const oLock(mtxConnections);
    SetupConnectionHandlerAndResume(lConnections.Insert(std::move(pRecord)));
}

// The platform wants every peer resumed, also one that nobody listens to any more.
void LXPCClient::TurnAway(xpc_connection_t pPeer) noexcept {
    LXPCConnection oEnding;
    oEnding.Adopt(static_cast<xpc_connection_t>(xpc_retain(pPeer)));
}

void LXPCClient::Disconnect(char const* szName, unsigned long nInstance) noexcept {
    RecordPtr pRecord; // ends after the lock
    LScopedLock const oLock(mtxConnections);
    pRecord =
        lConnections.Unlink([&](LXPCConnectionClient const& oRecord) { return oRecord.Matches(szName, nInstance); });
}

void LXPCClient::DisconnectAll() noexcept {
    for (;;) {
        LList<LXPCConnectionClient> lEnding; // newest first, so that without more ado the listeners would come last
        {
            LScopedLock const oLock(mtxConnections);
            lEnding.TakeAll(lConnections);
        }
        if (lEnding.IsEmpty())
            return;
        while (lEnding.Unlink([](LXPCConnectionClient const& oRecord) { return oRecord.Matches(kListenerName, 0); }))
            ;
    }
}

void LXPCClient::Suspend(char const* szName, unsigned long nInstance) noexcept {
    LScopedLock const oLock(mtxConnections);
    if (LXPCConnectionClient* const pRecord = Find(szName, nInstance))
        pRecord->Suspend();
}

void LXPCClient::Resume(char const* szName, unsigned long nInstance) noexcept {
    LScopedLock const oLock(mtxConnections);
    if (LXPCConnectionClient* const pRecord = Find(szName, nInstance))
        pRecord->Resume();
}

bool LXPCClient::IsConnectionValid(char const* szName, unsigned long nInstance) noexcept {
    LScopedLock const oLock(mtxConnections);
    return Find(szName, nInstance) != nullptr;
}

LXPCConnectionClient* LXPCClient::Find(char const* szName, unsigned long nInstance) const noexcept {
    return lConnections.Find([&](LXPCConnectionClient const& oRecord) { return oRecord.Matches(szName, nInstance); });
}

LXPCObject LXPCClient::RetainHandle(char const* szName, unsigned long nInstance) noexcept {
    LScopedLock const oLock(mtxConnections);
    LXPCConnectionClient const* const pRecord = Find(szName, nInstance);
    return pRecord ? LXPCObject::Retained(pRecord->Handle()) : LXPCObject();
}

void LXPCClient::SendMessage(char const* szName, unsigned long nInstance, LList<LXPCDataListable> const& lItems,
                             bool bWantReply) noexcept {
    LXPCObject const oConnection = RetainHandle(szName, nInstance);
    if (oConnection)
        SendMessage(LXPCValue(oConnection.Get()), lItems, bWantReply);
}

void LXPCClient::SendMessage(char const* szName, unsigned long nInstance, LXPCData const* arItems, unsigned long nCount,
                             bool bWantReply) noexcept {
    LXPCObject const oConnection = RetainHandle(szName, nInstance);
    if (oConnection)
        SendMessage(LXPCValue(oConnection.Get()), arItems, nCount, bWantReply);
}
