// The plug-in's link to the recorder application, by way of the helper service.
#pragma once

#include "base/immortal.h"
#include "base/mutex.h"
#include "xpc/event_notify.h"
#include "xpc/object.h"

#include <atomic>

// One object for the process: what sends and what the XPC layer calls back. The helper service hands out the recorder
// application's endpoint; audio and volume then go straight to the application. Nothing here reports a failure: every
// send is fire-and-forget, and what can't be sent is lost. Nothing throws. Nothing is torn down before the bundle is
// unloaded. Any thread, unless said otherwise.
class LVADPluginXPCClient : public LXPCClientEventNotify {
public:
    // Made on first use; lives until the process ends.
    static LVADPluginXPCClient* GetInstance() noexcept;

    // Makes the client, connects it to the helper service, declares the keys and asks for the endpoint. Without a
    // connection it stops before the keys, and the link sends nothing. Waits for nobody: the answer comes to
    // EvReplyReceived. A second call makes a further client and uses that one from then on.
    void Connect() noexcept;

    // Connects to the application anew, or asks the helper for its endpoint when none is known yet. Calls on several
    // threads at once take turns and leave one connection, to the newest endpoint.
    void ConnectToApp() noexcept;

    // Whether there is a connection to the application. It stays true when the application has gone.
    bool IsAppConnected() noexcept;

    // Hands one IO cycle to the application: `nByteCount` bytes at `pData`, interleaved stereo Float32 frames of 8
    // bytes. Copies the bytes once, into the message; the buffer is the caller's again on return. Never waits for the
    // application. Without a connection, or with null data, nothing is sent. IO thread.
    void SendAudioData(void* pData, int nByteCount) noexcept;

    // Sends the volume control's new scalar, 0.0 to 1.0. Takes the registry's mutex, so it may be called with the
    // driver's state mutex held.
    void SendVolumeChanged(double dVolume) noexcept;

    // The connections' threads. SEND_ENDPOINT, as a message or in a reply, replaces the application's connection; what
    // is not an endpoint under that name, everything else and every error is ignored.
    void EvConnectionError(long nConnection, LXPCErrorType nType) override;
    void EvMessageSent(long nConnection) override;
    using LXPCClientEventNotify::EvMessageReceived;
    void EvMessageReceived(long nConnection, long nMessage, LXPCData const* arItems, unsigned long nCount) override;
    using LXPCClientEventNotify::EvReplyReceived;
    void EvReplyReceived(long nConnection, LXPCData const* arItems, unsigned long nCount) override;

    // Lets the endpoint go. At unload, once the clients are gone.
    void ForgetEndPoint() noexcept;

private:
    friend class LImmortal<LVADPluginXPCClient>;
    LVADPluginXPCClient() noexcept = default;

    void RequestEndPoint(int nId) noexcept;
    void Receive(LXPCData const* arItems, unsigned long nCount) noexcept;
    static void Send(int nId, char const* szName, unsigned long nInstance, LXPCData const& oItem,
                     bool bWantReply) noexcept;
    void SetEndPoint(xpc_object_t pNew) noexcept;
    LXPCObject CopyEndPoint() noexcept;

    std::atomic<int> nClientId = 0; // 0: no client yet
    LMutex mtxConnecting; // held over one reconnect, which waits for nobody; outside of all other locks here and below
    LMutex mtxEndPoint;   // a leaf, held for taking and dropping the reference only
    LXPCObject pEndPoint GUARDED_BY(mtxEndPoint); // the application's, as last received; the link's own reference
};
