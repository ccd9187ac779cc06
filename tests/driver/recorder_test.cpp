// What of the driver's work reaches a recorder: over the real link, with helper and recorder in this process.
#include "tests/driver/driver_test.h"

#include "tests/harness/temporary_folder.h"
#include "xpc/client_manager.h"
#include "xpc/helperlink/vad_plugin_exports.h"
#include "xpc/helperlink/vad_plugin_xpc_client.h"

#include <xpc/xpc.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace {

// Serves the helper's name, hands out the endpoint of its own anonymous listener, and keeps what arrives there as
// "audio <bytes>" and "volume <scalar>".
class Recorder {
public:
    using Messages = std::vector<std::string>;

    Recorder() {
        pListener = xpc_connection_create(nullptr, nullptr);
        Accept(pListener, [this](xpc_object_t pMessage) { Keep(pMessage); });
        pEndPoint = xpc_endpoint_create(pListener);
        pService = xpc_connection_create_mach_service("com.tarnwicksoftware.Lumora.VadHelper", nullptr,
                                                      XPC_CONNECTION_MACH_SERVICE_LISTENER);
        Accept(pService, [this](xpc_object_t pMessage) { Answer(pMessage); });
    }
    ~Recorder() {
        for (xpc_connection_t const pConnection : lConnections)
            xpc_connection_cancel(pConnection);
        for (xpc_connection_t const pConnection : lConnections)
            xpc_release(pConnection);
        xpc_release(pEndPoint);
    }

    void HandOut(bool bNow) {
        std::lock_guard oLock(mtx);
        bHandsOut = bNow;
    }
    int RequestCount(int nAtLeast) {
        std::unique_lock oLock(mtx);
        oChanged.wait_for(oLock, std::chrono::seconds(10), [&] { return nRequests >= nAtLeast; });
        return nRequests;
    }
    // Once there are so many.
    Messages Take(size_t nCount) {
        std::unique_lock oLock(mtx);
        oChanged.wait_for(oLock, std::chrono::seconds(10), [&] { return lMessages.size() >= nCount; });
        return std::exchange(lMessages, {});
    }

private:
    template <class Handler>
    void Accept(xpc_connection_t pServer, Handler handle) {
        {
            std::lock_guard oLock(mtx);
            lConnections.push_back(pServer);
        }
        xpc_connection_set_event_handler(pServer, [this, handle](xpc_object_t pPeer) {
            if (xpc_get_type(pPeer) != XPC_TYPE_CONNECTION)
                return;
            xpc_connection_t const pConnection = static_cast<xpc_connection_t>(xpc_retain(pPeer));
            xpc_connection_set_event_handler(pConnection, [handle](xpc_object_t pMessage) {
                if (xpc_get_type(pMessage) == XPC_TYPE_DICTIONARY)
                    handle(pMessage);
            });
            {
                std::lock_guard oLock(mtx);
                lConnections.push_back(pConnection);
            }
            xpc_connection_resume(pConnection);
        });
        xpc_connection_resume(pServer);
    }
    void Keep(xpc_object_t pMessage) {
        size_t nBytes = 0;
        void const* const pBytes = xpc_dictionary_get_data(pMessage, "AUDIO_DATA", &nBytes);
        std::lock_guard oLock(mtx);
        lMessages.push_back(pBytes ? "audio " + Bytes(static_cast<char const*>(pBytes), nBytes)
                                   : "volume " + std::to_string(xpc_dictionary_get_double(pMessage, "VOLUME_CHANGED")));
        oChanged.notify_all();
    }
    void Answer(xpc_object_t pMessage) {
        xpc_object_t const pReply = xpc_dictionary_create_reply(pMessage);
        if (!pReply)
            return;
        {
            std::lock_guard oLock(mtx);
            nRequests += xpc_dictionary_get_bool(pMessage, "REQUEST_ENDPOINT");
            if (bHandsOut)
                xpc_dictionary_set_value(pReply, "SEND_ENDPOINT", pEndPoint);
            oChanged.notify_all();
        }
        xpc_connection_send_message(xpc_dictionary_get_remote_connection(pMessage), pReply);
        xpc_release(pReply);
    }

    xpc_connection_t pListener, pService;
    xpc_endpoint_t pEndPoint;
    std::mutex mtx;
    std::condition_variable oChanged;
    std::vector<xpc_connection_t> lConnections;
    Messages lMessages;
    int nRequests = 0;
    bool bHandsOut = true;
};

bool WaitUntilConnected() {
    auto const oEnd = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!LVADServerIsConnectionValid() && std::chrono::steady_clock::now() < oEnd)
        std::this_thread::yield();
    return LVADServerIsConnectionValid();
}

} // namespace

class Recording : public Driver {
protected:
    void SetUp() override {
        setenv("XDG_RUNTIME_DIR", oRuntime.Path().c_str(), 1);
        pRecorder = std::make_unique<Recorder>();
        Driver::SetUp();
    }
    void TearDown() override {
        LXPCClientManager::DestroyAll();
        LVADPluginXPCClient::GetInstance()->ForgetEndPoint();
        pRecorder.reset();
        Driver::TearDown();
    }
    OSStatus Do(UInt32 nOperation, Bytes& lBuffer, UInt32 nFrames) {
        return (*pDriver)->DoIOOperation(pDriver, 3, 8, 1, nOperation, nFrames, nullptr, lBuffer.data(), nullptr);
    }
    TemporaryFolder oRuntime;
    std::unique_ptr<Recorder> pRecorder;
};

TEST_F(Recording, EachWriteMixIsOneMessageOfItsBytesAndNothingElseIs) {
    ASSERT_EQ((*pDriver)->Initialize(pDriver, oHost.Ref()), 0);
    ASSERT_TRUE(WaitUntilConnected());
    Recorder::Messages lExpected;
    for (UInt32 const nFrames : {512u, 1u, 4096u}) {
        Bytes lMix;
        for (UInt32 n = 0; n < nFrames * 8; ++n)
            lMix += static_cast<char>(n * 7 + nFrames);
        Bytes lBuffer = lMix;
        for (UInt32 const nOperation : {'read', 'mixo', 'rite', 'pmix'})
            EXPECT_EQ(Do(nOperation, lBuffer, nFrames), 0);
        EXPECT_EQ(lBuffer, lMix) << "the host's buffer was touched";
        lExpected.push_back("audio " + lMix);
    }
    // More frames than an int of bytes can say, and then one cycle to see that nothing came of them.
    Bytes lLast(8, 'z');
    for (UInt32 const nFrames : {0x10000000u, 0x20000000u, 0xFFFFFFFFu})
        EXPECT_EQ(Do('rite', lLast, nFrames), 0);
    EXPECT_EQ(Do('rite', lLast, 1), 0);
    lExpected.push_back("audio " + lLast);
    EXPECT_EQ(pRecorder->Take(lExpected.size()), lExpected);
}

TEST_F(Recording, VolumesAreSentAsScalarsWhenTheyMove) {
    ASSERT_EQ((*pDriver)->Initialize(pDriver, oHost.Ref()), 0);
    ASSERT_TRUE(WaitUntilConnected());
    for (auto const& [nSelector, nValue] : std::initializer_list<std::pair<UInt32, Float32>>{
             {'lcsv', 0.0f}, {'lcsv', 0.5f}, {'lcsv', 0.5f}, {'lcdv', 0.0f}, {'lcdv', 20.0f}, {'lcsv', -3.0f}})
        EXPECT_EQ(Set(9, nSelector, F(nValue)), 0);
    EXPECT_EQ(Set(10, 'bcvl', U({1})), 0); // nothing but the volume is sent
    EXPECT_EQ(Set(9, 'lcsv', F(0.25f)), 0);
    EXPECT_EQ(pRecorder->Take(5), (Recorder::Messages{"volume 0.500000", "volume 0.970142", "volume 1.000000",
                                                      "volume 0.000000", "volume 0.250000"}));
}

// Without an endpoint each start asks once more and the audio is dropped; IO goes on all the same.
TEST_F(Recording, StartsAskForTheRecorderUntilItIsThere) {
    pRecorder->HandOut(false);
    ASSERT_EQ((*pDriver)->Initialize(pDriver, oHost.Ref()), 0);
    EXPECT_EQ(pRecorder->RequestCount(1), 1);
    Bytes lBuffer(64, 'x');
    for (int nStart = 2; nStart <= 3; ++nStart) {
        EXPECT_EQ((*pDriver)->StartIO(pDriver, 3, 1), 0);
        EXPECT_EQ(pRecorder->RequestCount(nStart), nStart);
        EXPECT_EQ(Do('rite', lBuffer, 8), 0);
        EXPECT_EQ((*pDriver)->StopIO(pDriver, 3, 1), 0);
    }
    pRecorder->HandOut(true);
    EXPECT_EQ((*pDriver)->StartIO(pDriver, 3, 1), 0);
    ASSERT_TRUE(WaitUntilConnected());
    EXPECT_EQ((*pDriver)->StartIO(pDriver, 3, 1), 0); // connected: asks no more
    EXPECT_EQ(Do('rite', lBuffer, 8), 0);
    EXPECT_EQ(pRecorder->Take(1), Recorder::Messages{"audio " + lBuffer});
    EXPECT_EQ(pRecorder->RequestCount(4), 4);
}
