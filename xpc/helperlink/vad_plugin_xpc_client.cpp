#include "xpc/helperlink/vad_plugin_xpc_client.h"

#include "xpc/client_manager.h"
#include "xpc/helperlink/helper_keys.h"
#include "xpc/helperlink/vad_plugin_exports.h"

#include <cstring>

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

// One reconnect a call, whatever the others do: a helper that offers endpoint after endpoint keeps nobody here. Each
// takes the newest endpoint when its turn has come, and so the last one does.
void LVADPluginXPCClient::ConnectToApp() noexcept {
    LScopedLock const oLock(mtxConnecting);
    int const nId = nClientId;
    LXPCObject const oNewest = CopyEndPoint();
    if (!oNewest)
        return RequestEndPoint(nId);
    LXPCClientManager::Disconnect(nId, kVADAppConnection, kVADAppInstance);
    LXPCClientManager::ConnectEndPoint(nId, kVADAppConnection, kVADAppInstance, oNewest.Get());
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
    LXPCClientManager::SendMessage(nId, szName, nInstance, &oItem, 1, bWantReply); // an array: nothing to allocate
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
