#include "xpc/messaging.h"

#include "xpc/codec.h"
#include "xpc/object.h"

#include <exception>
#include <new>

LXPCBase::LXPCBase(LXPCEventNotify* pSink) : pNotify(pSink), oGate(*new LXPCGate(*this)) {}

LXPCBase::~LXPCBase() {
    StopEvents();
    if (pNotify)
        pNotify->bEnabled = false;
    pNotify = nullptr;
    lReceiveKeys.Clear();
    lSendKeys.Clear();
}

void LXPCBase::AddKey(LXPCDictionaryKey const& oKey, bool bReceive) noexcept {
    std::unique_ptr<LXPCDictionaryKeyListable> pKey(new (std::nothrow) LXPCDictionaryKeyListable(oKey));
    if (pKey)
        (bReceive ? lReceiveKeys : lSendKeys).Insert(std::move(pKey));
}

void LXPCBase::AddKey(char const* szName, LXPCDataType nType, bool bReceive) noexcept {
    if (szName)
        AddKey(LXPCDictionaryKey(szName, nType), bReceive);
}

void LXPCBase::AddKeys(LXPCDictionaryKey const* arTable, bool bReceive) noexcept {
    for (; arTable && arTable->szName[0]; ++arTable)
        AddKey(*arTable, bReceive);
}

void LXPCBase::SendMessage(long nConnection, LList<LXPCDataListable> const& lItems, bool bWantReply) noexcept try {
    LXPCObject const oMessage(xpc_dictionary_create(nullptr, nullptr, 0));
    SetXPCDictionary(oMessage.Get(), lSendKeys, lItems);
    Send(nConnection, oMessage.Get(), bWantReply);
} catch (std::exception const&) { // memory ran out: the message is lost
}

void LXPCBase::SendMessage(long nConnection, LXPCData const* arItems, unsigned long nCount, bool bWantReply) noexcept
    try {
    LXPCObject const oMessage(xpc_dictionary_create(nullptr, nullptr, 0));
    SetXPCDictionary(oMessage.Get(), lSendKeys, arItems, nCount);
    Send(nConnection, oMessage.Get(), bWantReply);
} catch (std::exception const&) { // memory ran out: the message is lost
}

void LXPCBase::SendReply(long nConnection, long nMessage, LList<LXPCDataListable> const& lItems) noexcept try {
    LXPCObject const oReply(xpc_dictionary_create_reply(LXPCPointer<xpc_object_t>(nMessage)));
    if (!oReply)
        return;
    SetXPCDictionary(oReply.Get(), lSendKeys, lItems);
    Send(nConnection, oReply.Get(), false);
} catch (std::exception const&) { // memory ran out: the reply is lost
}

void LXPCBase::Send(long nConnection, xpc_object_t pMessage, bool bWantReply) {
    auto const pConnection = LXPCPointer<xpc_connection_t>(nConnection);
    if (bWantReply)
        return xpc_connection_send_message_with_reply(pConnection, pMessage, nullptr,
                                                      [oShared = oGate, nConnection](xpc_object_t pReply) {
                                                          OnEvent(oShared, nConnection, pReply, Origin::Reply);
                                                      });
    xpc_connection_send_message(pConnection, pMessage);
    // A block of two plain words, which needs no memory of its own: this is the audio thread. It runs once, and so it
    // can carry the reference as one of them.
    LXPCGateRef oOfBarrier(oGate);
    xpc_connection_send_barrier(pConnection, [pCounted = oOfBarrier.Get(), nConnection] {
        OnSent(*LXPCGateRef::Adopt(pCounted), nConnection);
    });
    oOfBarrier.Detach();
}

void LXPCBase::SetupConnectionHandlerAndResume(LXPCConnection& oConnection) noexcept try {
    if (!oConnection.IsValid())
        return;
    xpc_connection_set_event_handler(oConnection.Handle(),
                                     [oShared = oGate, nConnection = oConnection.hConnection](xpc_object_t pEvent) {
                                         OnEvent(oShared, nConnection, pEvent, Origin::Message);
                                     });
    oConnection.Resume();
} catch (std::exception const&) { // memory ran out: the connection stays suspended, nothing comes over it
}

LXPCEventNotify* LXPCBase::EnabledSink() const noexcept {
    return pNotify && pNotify->bEnabled ? pNotify : nullptr;
}

// The gate comes by value: the handler that holds it may be replaced, and destroyed, by what the sink does.
void LXPCBase::OnEvent(LXPCGateRef oGate, long nConnection, xpc_object_t pEvent, Origin nOrigin) noexcept try {
    LXPCGate::Call const oCall(*oGate);
    LXPCBase* const pBase = oCall.Base();
    LXPCEventNotify* const pSink = pBase ? pBase->EnabledSink() : nullptr;
    if (!pSink)
        return;
    xpc_type_t const nType = xpc_get_type(pEvent);
    if (nType == XPC_TYPE_DICTIONARY)
        pBase->DecodeAndNotify(nConnection, pEvent, nOrigin);
    else if (nType == XPC_TYPE_ERROR) // an error has no remote connection: the handler's own is the better answer
        ErrorHandler(pEvent, nConnection, pSink);
} catch (...) { // the sink's, and never the platform's to catch
}

void LXPCBase::OnSent(LXPCGate& oGate, long nConnection) noexcept try {
    LXPCGate::Call const oCall(oGate);
    LXPCEventNotify* const pSink = oCall.Base() ? oCall.Base()->EnabledSink() : nullptr;
    if (pSink)
        pSink->EvMessageSent(nConnection);
} catch (...) {
}

// From the sink call on this object may be gone.
void LXPCBase::DecodeAndNotify(long nConnection, xpc_object_t pEvent, Origin nOrigin) {
    LXPCEventNotify& oSink = *pNotify;
    LList<LXPCDataListable> lItems;
    GetXPCDictionary(pEvent, lReceiveKeys, lItems);
    if (lItems.IsEmpty())
        return;
    if (xpc_connection_t const pRemote = xpc_dictionary_get_remote_connection(pEvent))
        nConnection = LXPCValue(pRemote);
    long const nMessage = LXPCValue(pEvent);
    if (!oSink.bUseDataArray)
        return nOrigin == Origin::Reply ? oSink.EvReplyReceived(nConnection, lItems)
                                        : oSink.EvMessageReceived(nConnection, nMessage, lItems);
    LXPCDataArray const oArray(lItems);
    if (!oArray.IsComplete())
        return;
    if (nOrigin == Origin::Reply)
        oSink.EvReplyReceived(nConnection, oArray.arItems.get(), oArray.nCount);
    else
        oSink.EvMessageReceived(nConnection, nMessage, oArray.arItems.get(), oArray.nCount);
}

void ErrorHandler(xpc_object_t pError, long nConnection, LXPCEventNotify* pSink) {
    struct Row {
        xpc_object_t pError;
        LXPCErrorType nType;
    };
    Row const arErrors[] = {
        {XPC_ERROR_CONNECTION_INVALID, LXPCError_ConnectionInvalid},
        {XPC_ERROR_CONNECTION_INTERRUPTED, LXPCError_ConnectionInterrupted},
        {XPC_ERROR_TERMINATION_IMMINENT, LXPCError_TerminationImminent},
    };
    LXPCErrorType nType = LXPCError_Other;
    for (Row const& oRow : arErrors)
        if (oRow.pError == pError)
            nType = oRow.nType;
    pSink->EvConnectionError(nConnection, nType);
}
