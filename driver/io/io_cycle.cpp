#include "driver/io/io_cycle.h"

#include "driver/io/clock.h"
#include "driver/state/object_ids.h"
#include "xpc/helperlink/vad_plugin_xpc_client.h"

#include <limits>

OSStatus LVADStartIO() {
    LVADPluginXPCClient* const pLink = LVADPluginXPCClient::GetInstance();
    if (pLink && !pLink->IsAppConnected())
        pLink->ConnectToApp();

    LScopedLock oLock(gVADStateMutex);
    if (gVADIORunningCount == std::numeric_limits<UInt64>::max())
        return kAudioHardwareIllegalOperationError;
    if (gVADIORunningCount++ == 0)
        LVADAnchorClock();
    return kAudioHardwareNoError;
}

OSStatus LVADStopIO() {
    LScopedLock oLock(gVADStateMutex);
    if (gVADIORunningCount == 0)
        return kAudioHardwareIllegalOperationError;
    --gVADIORunningCount;
    return kAudioHardwareNoError;
}

void LVADWillDoIOOperation(UInt32 nOperationId, Boolean* pWillDo, Boolean* pWillDoInPlace) {
    if (pWillDo)
        *pWillDo = nOperationId == kAudioServerPlugInIOOperationWriteMix ||
                   nOperationId == kAudioServerPlugInIOOperationReadInput;
    if (pWillDoInPlace)
        *pWillDoInPlace = true;
}

void LVADDoIOOperation(UInt32 nOperationId, UInt32 nFrames, void* pMainBuffer) {
    if (nOperationId != kAudioServerPlugInIOOperationWriteMix)
        return;
    // The link counts bytes as int. No host has a cycle near that (it would last 100 minutes); one that claims so is
    // not believed, because the count would wrap to a length that the buffer does not have.
    constexpr UInt32 kMaxFrames = std::numeric_limits<int>::max() / kVADBytesPerFrame;
    LVADPluginXPCClient* const pLink = LVADPluginXPCClient::GetInstance();
    if (nFrames <= kMaxFrames && pLink && pLink->IsAppConnected())
        pLink->SendAudioData(pMainBuffer, static_cast<int>(nFrames * kVADBytesPerFrame));
}
