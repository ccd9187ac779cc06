// The other side of the link, in the test's process: a helper service and recorder applications.
#pragma once

#include "tests/harness/temporary_folder.h"
#include "tests/xpc/recording_sink.h"
#include "xpc/client.h"
#include "xpc/helperlink/helper_keys.h"

#include "platform/testing/quiesce.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

// Polls for what no event tells; false after 20 seconds.
template <class Condition>
bool WaitUntil(Condition const& oCondition) {
    auto const oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!oCondition()) {
        if (std::chrono::steady_clock::now() > oEnd)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// A folder of this test's own for the services' names.
struct ServiceFolder {
    ServiceFolder() { setenv("XDG_RUNTIME_DIR", oFolder.Path().c_str(), 1); }
    TemporaryFolder const oFolder;
};

// Answers REQUEST_ENDPOINT with the endpoint that it was given last, or with nothing of use.
class FakeHelper {
public:
    FakeHelper()
        : pListener(
              xpc_connection_create_mach_service(kVADHelperService, nullptr, XPC_CONNECTION_MACH_SERVICE_LISTENER)) {
        xpc_connection_set_event_handler(pListener, [this](xpc_object_t pEvent) { OnPeer(pEvent); });
        xpc_connection_resume(pListener);
    }
    ~FakeHelper() {
        xpc_connection_set_event_handler(pListener, [](xpc_object_t) {});
        xpc_connection_cancel(pListener);
        xpc_release(pListener);
        PlatformQuiesce(); // no peer comes any more
        for (LXPCObject const& oPeer : lPeers)
            xpc_connection_cancel(static_cast<xpc_connection_t>(oPeer.Get()));
        lPeers.clear();
        PlatformQuiesce();
    }

    void SetOffer(xpc_object_t pObject) {
        std::lock_guard const oLock(mtx);
        oOffer = LXPCObject::Retained(pObject);
    }
    // Tells everybody unasked, and answers with it from now on.
    void Offer(xpc_object_t pObject) {
        SetOffer(pObject);
        std::lock_guard const oLock(mtx);
        LXPCObject const oMessage(xpc_dictionary_create(nullptr, nullptr, 0));
        xpc_dictionary_set_value(oMessage.Get(), kVADKeySendEndPoint, pObject);
        for (LXPCObject const& oPeer : lPeers)
            xpc_connection_send_message(static_cast<xpc_connection_t>(oPeer.Get()), oMessage.Get());
    }

    std::atomic<int> nRequests = 0;

private:
    void OnPeer(xpc_object_t pPeer) {
        if (xpc_get_type(pPeer) != XPC_TYPE_CONNECTION)
            return;
        auto const pConnection = static_cast<xpc_connection_t>(pPeer);
        xpc_connection_set_event_handler(pConnection, [this](xpc_object_t pEvent) { OnMessage(pEvent); });
        {
            std::lock_guard const oLock(mtx);
            lPeers.push_back(LXPCObject::Retained(pPeer));
        }
        xpc_connection_resume(pConnection);
    }
    void OnMessage(xpc_object_t pMessage) {
        if (xpc_get_type(pMessage) != XPC_TYPE_DICTIONARY)
            return;
        if (!xpc_dictionary_get_bool(pMessage, kVADKeyRequestEndPoint) || xpc_dictionary_get_count(pMessage) != 1)
            return;
        LXPCObject const oReply(xpc_dictionary_create_reply(pMessage));
        if (!oReply)
            return;
        std::lock_guard const oLock(mtx);
        ++nRequests; // before the answer: whoever has seen that may look at once
        if (oOffer)
            xpc_dictionary_set_value(oReply.Get(), kVADKeySendEndPoint, oOffer.Get());
        xpc_connection_send_message(xpc_dictionary_get_remote_connection(pMessage), oReply.Get());
    }

    std::mutex mtx;
    std::vector<LXPCObject> lPeers;
    LXPCObject oOffer;
    xpc_connection_t const pListener;
};

// Keeps what comes; can send what its own keys declare: the link's tables, turned round.
struct FakeRecorder {
    FakeRecorder() {
        for (char const* szName : {kVADKeyAudioData, kVADKeyVolumeChanged})
            oClient.AddKey(szName, szName == kVADKeyAudioData ? LXPCDataType_Data : LXPCDataType_Double, true);
        oClient.AddKey(kVADKeySendEndPoint, LXPCDataType_Object, false);
        oSink.SetInside([this](SinkEvent const& oEvent) {
            if (oEvent.nKind != SinkEvent::Message || oEvent.lItems[0].nType != LXPCDataType_Data)
                return;
            std::lock_guard const oLock(mtx);
            szAudio.assign(LXPCPointer<char const*>(oEvent.Value()), oEvent.lItems[0].nSize);
        });
        oEndPoint = LXPCObject(oClient.CreateEndPoint("Device", 1));
    }

    std::string LastAudio() {
        std::lock_guard const oLock(mtx);
        return szAudio;
    }

    std::mutex mtx;
    std::string szAudio;
    RecordingSink oSink;
    LXPCClient oClient{&oSink};
    LXPCObject oEndPoint;
};
