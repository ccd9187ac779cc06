// A recorder: offers its endpoint to the helper service, says its process number on standard output, and then an "a"
// for each message that comes.
#include "xpc/client.h"
#include "xpc/helperlink/helper_keys.h"

#include <cstdio>
#include <unistd.h>

namespace {

class Recorder : public LXPCClientEventNotify {
    void EvConnectionError(long, LXPCErrorType) override {}
    void EvMessageSent(long) override {}
    void EvReplyReceived(long, LXPCData const*, unsigned long) override {}
    void EvMessageReceived(long, long, LXPCData const*, unsigned long) override {
        if (write(STDOUT_FILENO, "a", 1) != 1)
            _exit(1);
    }
};

} // namespace

int main() {
    Recorder oSink;
    LXPCClient oClient(&oSink);
    oClient.AddKey(kVADKeyAudioData, LXPCDataType_Data, true);
    oClient.AddKey("NEW_ENDPOINT", LXPCDataType_Object, false);
    LXPCObject const oEndPoint(oClient.CreateEndPoint("Device", 1));
    LXPCData const oOffer("NEW_ENDPOINT", LXPCDataType_None, LXPCValue(oEndPoint.Get()));
    if (!oEndPoint || !oClient.Connect(kVADHelperService, 0, true))
        return 1;
    oClient.SendMessage(kVADHelperService, 0, &oOffer, 1, false);
    std::printf("%d:", getpid());
    std::fflush(stdout);
    for (;;)
        pause(); // until it is killed
}
