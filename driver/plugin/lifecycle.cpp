#include "driver/plugin/lifecycle.h"

#include "driver/io/clock.h"
#include "driver/properties/identity.h"
#include "driver/properties/stream_format.h"
#include "xpc/helperlink/vad_plugin_xpc_client.h"

#include <limits>

namespace {

// The one item that the driver keeps in the host's storage; null when there is none. The caller releases it.
CFPropertyListRef CopyStoredBox(AudioServerPlugInHostRef pHost) {
    CFPropertyListRef pValue = nullptr;
    pHost->CopyFromStorage(pHost, identity::BoxAcquiredKey(), &pValue);
    return pValue;
}

// A Boolean, as the driver writes it, or a number, as a person may. Anything else keeps the default.
void RestoreBoxAcquired(AudioServerPlugInHostRef pHost) {
    CFPropertyListRef const pValue = CopyStoredBox(pHost);
    if (!pValue)
        return;
    if (CFGetTypeID(pValue) == CFBooleanGetTypeID()) {
        gVADBoxAcquired = CFBooleanGetValue(static_cast<CFBooleanRef>(pValue));
    } else if (CFGetTypeID(pValue) == CFNumberGetTypeID()) {
        SInt32 nValue = 0;
        CFNumberGetValue(static_cast<CFNumberRef>(pValue), kCFNumberSInt32Type, &nValue);
        gVADBoxAcquired = nValue != 0;
    }
    CFRelease(pValue);
}

// The same item, when it is a string, names the box: the caller's reference, or null.
CFStringRef CopyStoredBoxName(AudioServerPlugInHostRef pHost) {
    CFPropertyListRef const pValue = CopyStoredBox(pHost);
    if (!pValue || CFGetTypeID(pValue) == CFStringGetTypeID())
        return static_cast<CFStringRef>(pValue);
    CFRelease(pValue);
    return nullptr;
}

// Takes the reference over; null leaves the name, or the default where there is none.
void RestoreBoxName(CFStringRef szStored) NO_THREAD_SAFETY_ANALYSIS {
    if (szStored) {
        if (gVADBoxName)
            CFRelease(gVADBoxName);
        gVADBoxName = szStored;
    } else if (!gVADBoxName) {
        gVADBoxName = identity::DefaultBoxName();
    }
}

} // namespace

HRESULT LVADQueryInterface(REFIID const& oInterface) {
    CFUUIDRef const pInterface = CFUUIDCreateFromUUIDBytes(nullptr, oInterface);
    if (!pInterface)
        return kAudioHardwareIllegalOperationError;
    bool const bKnown = CFEqual(pInterface, IUnknownUUID) || CFEqual(pInterface, kAudioServerPlugInDriverInterfaceUUID);
    if (bKnown)
        LVADAddRef();
    CFRelease(pInterface);
    return bKnown ? S_OK : E_NOINTERFACE;
}

ULONG LVADAddRef() {
    LScopedLock oLock(gVADStateMutex);
    if (gVADRefCount != std::numeric_limits<UInt32>::max())
        ++gVADRefCount;
    return gVADRefCount;
}

ULONG LVADRelease() {
    LScopedLock oLock(gVADStateMutex);
    if (gVADRefCount != 0)
        --gVADRefCount;
    return gVADRefCount;
}

// Without the mutex throughout: start-up, before the host makes any other call that these values matter to.
void LVADInitialize(AudioServerPlugInHostRef pHost) NO_THREAD_SAFETY_ANALYSIS {
    gVADHost.store(pHost, std::memory_order_release);
    if (pHost)
        RestoreBoxAcquired(pHost);
    RestoreBoxName(pHost ? CopyStoredBoxName(pHost) : nullptr);
    gVADHostTicksPerFrame = LVADTicksPerFrame(gVADSampleRate);

    if (LVADPluginXPCClient* const pLink = LVADPluginXPCClient::GetInstance())
        pLink->Connect();
}

bool LVADApplySampleRate(UInt64 nSampleRate) {
    if (!LVADIsSampleRate(static_cast<Float64>(nSampleRate)))
        return false;
    LScopedLock oLock(gVADStateMutex);
    gVADSampleRate = static_cast<Float64>(nSampleRate);
    gVADHostTicksPerFrame = LVADTicksPerFrame(gVADSampleRate);
    return true;
}
