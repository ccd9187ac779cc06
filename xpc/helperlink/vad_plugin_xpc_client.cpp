#include "xpc/helperlink/vad_plugin_xpc_client.h"

#include "xpc/client_manager.h"
#include "xpc/helperlink/helper_keys.h"
#include "xpc/helperlink/vad_plugin_exports.h"

#include <cstring>
#include <new>

LVADPluginXPCClient* LVADPluginXPCClient::GetInstance() noexcept {
    static LImmortal<LVADPluginXPCClient> oInstance;
    return &*oInstance;
}

// A client without a connection has no keys. What the helper says unasked before they are declared is ignored; the
// request comes after them, and its answer says it again.
void LVADPluginXPCClient::Connect() noexcept {
    int const nId = LXPCClientManager::Create(this);
    nClientId = nId;
    if (!LXPCClientManager::Connect(nId, kVADHelperService, kVADHelperInstance, true))
        return;
    LXPCClientManager::AddKeys(nId, arVADHelperTxKeys, false);
    LXPCClientManager::AddKeys(nId, arVADHelperRxKeys, true);
    RequestEndPoint(nId);
}

void LVADPluginXPCClient::RequestEndPoint(int nId) noexcept {
    Send(nId, kVADHelperService, kVADHelperInstance, LXPCData(kVADKeyRequestEndPoint, LXPCDataType_None, 1), true);
}

// No lock is held over the connecting. A thread that meanwhile was given a newer endpoint may have found this one's
// connection in the way: so whoever has put a connection there that is out of date by then goes round again. Whoever
// found one in the way does not: that is for the thread that put it there.
void LVADPluginXPCClient::ConnectToApp() noexcept {
    LXPCObject oConnecting = CopyEndPoint();
    if (!oConnecting)
        return RequestEndPoint(nClientId);
    while (Reconnect(oConnecting.Get())) {
        LXPCObject oNewest = CopyEndPoint();
        if (!oNewest || oNewest.Get() == oConnecting.Get())
            return;
        oConnecting = std::move(oNewest);
    }
}

bool LVADPluginXPCClient::Reconnect(xpc_object_t pToEndPoint) noexcept {
    int const nId = nClientId;
    LXPCClientManager::Disconnect(nId, kVADAppConnection, kVADAppInstance);
    return LXPCClientManager::ConnectEndPoint(nId, kVADAppConnection, kVADAppInstance, pToEndPoint);
}

bool LVADPluginXPCClient::IsAppConnected() noexcept {
    return LXPCClientManager::IsConnectionValid(nClientId, kVADAppConnection, kVADAppInstance);
}

void LVADPluginXPCClient::SendAudioData(void* pData, int nByteCount) noexcept {
    if (!pData)
        return;
    auto const nSize = static_cast<unsigned long>(long{nByteCount}); // widened with its sign
    Send(nClientId, kVADAppConnection, kVADAppInstance,
         LXPCData(kVADKeyAudioData, LXPCDataType_None, LXPCValue(pData), nSize), false);
}

void LVADPluginXPCClient::SendVolumeChanged(double dVolume) noexcept {
    Send(nClientId, kVADAppConnection, kVADAppInstance,
         LXPCData(kVADKeyVolumeChanged, LXPCDataType_None, -1, 0, dVolume), false);
}

void LVADPluginXPCClient::Send(int nId, char const* szName, unsigned long nInstance, LXPCData const& oItem,
                               bool bWantReply) noexcept {
    std::unique_ptr<LXPCDataListable> pItem(new (std::nothrow) LXPCDataListable(oItem));
    if (!pItem)
        return;
    LList<LXPCDataListable> lItems;
    lItems.Insert(std::move(pItem));
    LXPCClientManager::SendMessage(nId, szName, nInstance, lItems, bWantReply);
}

void LVADPluginXPCClient::EvConnectionError(long, LXPCErrorType) {}
void LVADPluginXPCClient::EvMessageSent(long) {}
void LVADPluginXPCClient::EvMessageReceived(long, long, LXPCData const* arItems, unsigned long nCount) {
    Receive(arItems, nCount);
}
void LVADPluginXPCClient::EvReplyReceived(long, LXPCData const* arItems, unsigned long nCount) {
    Receive(arItems, nCount);
}

void LVADPluginXPCClient::Receive(LXPCData const* arItems, unsigned long nCount) noexcept {
    for (LXPCData const* pItem = arItems; pItem != arItems + nCount; ++pItem) {
        if (std::strcmp(pItem->szName, kVADKeySendEndPoint) != 0)
            continue;
        auto const pNew = LXPCPointer<xpc_object_t>(pItem->nValue);
        if (pNew && xpc_get_type(pNew) != XPC_TYPE_ENDPOINT)
            continue; // another process's mistake: connecting to it is not defined
        SetEndPoint(pNew);
        if (pNew)
            ConnectToApp();
    }
}

void LVADPluginXPCClient::SetEndPoint(xpc_object_t pNew) noexcept {
    LXPCObject oReplacing = LXPCObject::Retained(pNew); // then the earlier one, released after the lock
    LScopedLock const oLock(mtxEndPoint);
    std::swap(pEndPoint, oReplacing);
}

LXPCObject LVADPluginXPCClient::CopyEndPoint() noexcept {
    LScopedLock const oLock(mtxEndPoint);
    return LXPCObject::Retained(pEndPoint.Get());
}

void LVADPluginXPCClient::ForgetEndPoint() noexcept {
    SetEndPoint(nullptr);
}

// Here and not in a file of their own: nothing calls them, so out of an archive that file would not be linked.
void LVADPluginConnectToXPCService(void) {
    LVADPluginXPCClient::GetInstance()->Connect();
}
void LVADPluginConnectToApp(void) {
    LVADPluginXPCClient::GetInstance()->ConnectToApp();
}
bool LVADServerIsConnectionValid(void) {
    return LVADPluginXPCClient::GetInstance()->IsAppConnected();
}
void LVADSendAudioData(void* pData, int nByteCount) {
    LVADPluginXPCClient::GetInstance()->SendAudioData(pData, nByteCount);
}
void LVADSendVolumeChanged(double dVolume) {
    LVADPluginXPCClient::GetInstance()->SendVolumeChanged(dVolume);
}
