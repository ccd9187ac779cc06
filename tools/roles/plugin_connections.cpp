#include "tools/roles/plugin_connections.h"

#include "base/mutex.h"
#include "tools/process/failure.h"
#include "xpc/helperlink/helper_keys.h"
#include "xpc/messaging.h"

#include <cstring>
#include <list>

class PlugInConnections::Core : public LXPCClientEventNotify, public std::enable_shared_from_this<Core> {
public:
    Core(AudioIntake& oReceiving, std::function<void(EventLine const&)> oReport)
        : oIntake(oReceiving), oReporter(std::move(oReport)), oMessaging(this) {
        LVADFillHelperKeys();
        oMessaging.AddKeys(arVADHelperTxKeys, true); // what a plug-in sends is what this receives
    }

    // The endpoint, or none.
    LXPCObject Listen();
    void Shutdown();

private:
    void Accept(xpc_object_t pPeer);
    void EvConnectionError(long nConnection, LXPCErrorType nType) override;
    void EvMessageSent(long) override {}
    void EvMessageReceived(long nConnection, long nMessage, LXPCData const* arItems, unsigned long nCount) override;
    void EvReplyReceived(long, LXPCData const*, unsigned long) override {}

    AudioIntake& oIntake;
    std::function<void(EventLine const&)> oReporter;
    LMutex mtx;
    LXPCConnection oListener GUARDED_BY(mtx);
    std::list<LXPCConnection> lPeers GUARDED_BY(mtx);
    LXPCBase oMessaging; // last: its calls of this sink end before anything else goes
};

LXPCObject PlugInConnections::Core::Listen() {
    LScopedLock oLock(mtx);
    xpc_connection_t const pListener = xpc_connection_create(nullptr, nullptr);
    if (!pListener)
        return {};
    oListener.Adopt(pListener);
    auto const pThis = shared_from_this();
    xpc_connection_set_event_handler(pListener, [pThis](xpc_object_t pEvent) {
        if (xpc_get_type(pEvent) == XPC_TYPE_CONNECTION)
            pThis->Accept(pEvent);
    });
    LXPCObject oMade(xpc_endpoint_create(pListener));
    oListener.Resume();
    return oMade;
}

void PlugInConnections::Core::Shutdown() {
    std::list<LXPCConnection> lEnding;
    {
        LScopedLock oLock(mtx);
        oListener.Destroy();
        lEnding.swap(lPeers);
    }
    oMessaging.StopEvents();
}

void PlugInConnections::Core::Accept(xpc_object_t pPeer) {
    LScopedLock oLock(mtx);
    if (!oListener.IsValid())
        return; // shut down since
    LXPCConnection& oPeer = lPeers.emplace_back();
    oPeer.Adopt(static_cast<xpc_connection_t>(xpc_retain(pPeer)));
    oMessaging.SetupConnectionHandlerAndResume(oPeer);
}

void PlugInConnections::Core::EvConnectionError(long nConnection, LXPCErrorType) {
    oIntake.ConnectionEnded(nConnection); // while the handle is still this connection's alone
    std::list<LXPCConnection> lGone;      // ended after the lock is let go
    LScopedLock oLock(mtx);
    for (auto it = lPeers.begin(); it != lPeers.end();) {
        auto const itNow = it++;
        if (itNow->hConnection == nConnection)
            lGone.splice(lGone.end(), lPeers, itNow);
    }
}

void PlugInConnections::Core::EvMessageReceived(long nConnection, long, LXPCData const* arItems, unsigned long nCount) {
    for (LXPCData const* p = arItems; p != arItems + nCount; ++p) {
        if (std::strcmp(p->szName, kVADKeyAudioData) == 0)
            oIntake.Add(nConnection, LXPCPointer<void const*>(p->nValue), p->nSize);
        else if (std::strcmp(p->szName, kVADKeyVolumeChanged) == 0)
            oReporter(EventLine("volume").Add("value", p->dValue).Add("frame", oIntake.Now().nFrames));
    }
}

PlugInConnections::PlugInConnections(AudioIntake& oReceiving, std::function<void(EventLine const&)> oReport)
    : pCore(std::make_shared<Core>(oReceiving, std::move(oReport))), oEndPoint(pCore->Listen()) {
    if (oEndPoint)
        return;
    pCore->Shutdown();
    throw Failure(ExitCode::Service, "cannot make an endpoint for the plug-in to connect to: this process may have run "
                                     "out of descriptors.");
}

PlugInConnections::~PlugInConnections() {
    pCore->Shutdown();
}
