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

bool LXPCClient::Connect(char const* szName, unsigned long nInstance, bool bMachService) noexcept {
    RecordPtr pRecord = NewRecord(szName, nInstance);
    if (!pRecord || IsConnectionValid(szName, nInstance))
        return false;
    return ConnectNew(std::move(pRecord), bMachService ? xpc_connection_create_mach_service(szName, nullptr, 0)
                                                       : xpc_connection_create(szName, nullptr));
}

bool LXPCClient::ConnectEndPoint(char const* szName, unsigned long nInstance, xpc_object_t pEndPoint) noexcept {
    RecordPtr pRecord = NewRecord(szName, nInstance);
    if (!pRecord || !pEndPoint || IsConnectionValid(szName, nInstance))
        return false;
    return ConnectNew(std::move(pRecord), xpc_connection_create_from_endpoint(static_cast<xpc_endpoint_t>(pEndPoint)));
}

bool LXPCClient::ConnectNew(RecordPtr pRecord, xpc_connection_t pCounted) noexcept {
    if (!pCounted)
        return false;
    pRecord->Adopt(pCounted);
    LScopedLock const oLock(mtxConnections);
    if (Find(pRecord->szName, pRecord->nInstance)) // somebody was faster; the record ends after the lock
        return false;
    SetupConnectionHandlerAndResume(lConnections.Insert(std::move(pRecord)));
    return true;
}

xpc_object_t LXPCClient::CreateEndPoint(char const* szName, unsigned long nInstance) noexcept try {
    auto const pPair = std::shared_ptr<LXPCConnectionClient const>(NewRecord(szName, nInstance));
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
    auto const pShared = Gate();
    xpc_connection_set_event_handler(pCounted,
                                     [pShared, pPair](xpc_object_t pPeer) { OnPeer(pShared, *pPair, pPeer); });
    pListener->Resume();
    LScopedLock const oLock(mtxConnections);
    lConnections.Insert(std::move(pListener));
    return oEndPoint.Detach();
} catch (std::exception const&) {
    return nullptr;
}

// `oPair` has no connection: it is the name and instance that every peer gets.
void LXPCClient::OnPeer(std::shared_ptr<LXPCGate> pGate, LXPCConnectionClient const& oPair,
                        xpc_object_t pPeer) noexcept {
    if (xpc_get_type(pPeer) != XPC_TYPE_CONNECTION)
        return;
    LXPCGate::Call const oCall(*pGate);
    if (oCall.Base())
        static_cast<LXPCClient*>(oCall.Base())->Accept(oPair, static_cast<xpc_connection_t>(pPeer));
}

void LXPCClient::Accept(LXPCConnectionClient const& oPair, xpc_connection_t pPeer) noexcept {
    RecordPtr pRecord = NewRecord(oPair.szName, oPair.nInstance);
    if (!pRecord)
        return;
    xpc_retain(pPeer);
    pRecord->Adopt(pPeer);
    LScopedLock const oLock(mtxConnections);
    SetupConnectionHandlerAndResume(lConnections.Insert(std::move(pRecord)));
}

void LXPCClient::Disconnect(char const* szName, unsigned long nInstance) noexcept {
    RecordPtr pRecord; // ends after the lock
    LScopedLock const oLock(mtxConnections);
    pRecord =
        lConnections.Unlink([&](LXPCConnectionClient const& oRecord) { return oRecord.Matches(szName, nInstance); });
}

void LXPCClient::DisconnectAll() noexcept {
    LList<LXPCConnectionClient> lEnding;
    LScopedLock const oLock(mtxConnections);
    lEnding.TakeAll(lConnections);
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
    LList<LXPCDataListable> lItems;
    if (LXPCArrayToList(arItems, nCount, lItems))
        SendMessage(szName, nInstance, lItems, bWantReply);
}
