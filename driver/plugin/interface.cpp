#include "driver/plugin/interface.h"

#include "driver/io/clock.h"
#include "driver/io/io_cycle.h"
#include "driver/plugin/lifecycle.h"
#include "driver/properties/operations.h"
#include "driver/state/object_ids.h"

namespace {

constexpr OSStatus kForeign = kAudioHardwareBadObjectError;

bool IsOurs(void const* pDriver) {
    return pDriver == &gVADDriverRef;
}

bool IsOurDevice(void const* pDriver, AudioObjectID nDevice) {
    return IsOurs(pDriver) && nDevice == kVADObject_Device;
}

template <class T>
void StoreIfWanted(T* pOut, T tValue) {
    if (pOut)
        *pOut = tValue;
}

// For the operations that need do nothing.
OSStatus AcceptDevice(void const* pDriver, AudioObjectID nDevice) {
    return IsOurDevice(pDriver, nDevice) ? kAudioHardwareNoError : kForeign;
}

HRESULT QueryInterface(void* pDriver, REFIID oInterface, LPVOID* ppInterface) {
    if (!IsOurs(pDriver))
        return kForeign;
    if (!ppInterface)
        return kAudioHardwareIllegalOperationError;
    HRESULT const nResult = LVADQueryInterface(oInterface);
    if (nResult == S_OK)
        *ppInterface = &gVADDriverRef;
    return nResult;
}

ULONG AddRef(void* pDriver) {
    return IsOurs(pDriver) ? LVADAddRef() : 0;
}

ULONG Release(void* pDriver) {
    return IsOurs(pDriver) ? LVADRelease() : 0;
}

OSStatus Initialize(AudioServerPlugInDriverRef pDriver, AudioServerPlugInHostRef pHost) {
    if (!IsOurs(pDriver))
        return kForeign;
    LVADInitialize(pHost);
    return kAudioHardwareNoError;
}

// The set of devices is fixed.
OSStatus CreateDevice(AudioServerPlugInDriverRef pDriver, CFDictionaryRef, AudioServerPlugInClientInfo const*,
                      AudioObjectID*) {
    return IsOurs(pDriver) ? kAudioHardwareUnsupportedOperationError : kForeign;
}

OSStatus DestroyDevice(AudioServerPlugInDriverRef pDriver, AudioObjectID) {
    return IsOurs(pDriver) ? kAudioHardwareUnsupportedOperationError : kForeign;
}

// The device serves all clients alike and keeps none of them.
OSStatus AddDeviceClient(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice,
                         AudioServerPlugInClientInfo const*) {
    return AcceptDevice(pDriver, nDevice);
}

OSStatus RemoveDeviceClient(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice,
                            AudioServerPlugInClientInfo const*) {
    return AcceptDevice(pDriver, nDevice);
}

OSStatus PerformDeviceConfigurationChange(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice,
                                          UInt64 nChangeAction, void*) {
    if (!IsOurDevice(pDriver, nDevice) || !LVADApplySampleRate(nChangeAction))
        return kForeign;
    return kAudioHardwareNoError;
}

// Nothing was prepared, so nothing is undone.
OSStatus AbortDeviceConfigurationChange(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice, UInt64, void*) {
    return AcceptDevice(pDriver, nDevice);
}

Boolean HasProperty(AudioServerPlugInDriverRef pDriver, AudioObjectID nObject, pid_t,
                    AudioObjectPropertyAddress const* pAddress) {
    return IsOurs(pDriver) && LVADHasProperty(nObject, pAddress);
}

OSStatus IsPropertySettable(AudioServerPlugInDriverRef pDriver, AudioObjectID nObject, pid_t,
                            AudioObjectPropertyAddress const* pAddress, Boolean* pIsSettable) {
    return IsOurs(pDriver) ? LVADIsPropertySettable(nObject, pAddress, pIsSettable) : kForeign;
}

OSStatus GetPropertyDataSize(AudioServerPlugInDriverRef pDriver, AudioObjectID nObject, pid_t,
                             AudioObjectPropertyAddress const* pAddress, UInt32 nQualifierSize, void const* pQualifier,
                             UInt32* pSize) {
    return IsOurs(pDriver) ? LVADGetPropertyDataSize(nObject, pAddress, {nQualifierSize, pQualifier}, pSize) : kForeign;
}

OSStatus GetPropertyData(AudioServerPlugInDriverRef pDriver, AudioObjectID nObject, pid_t,
                         AudioObjectPropertyAddress const* pAddress, UInt32 nQualifierSize, void const* pQualifier,
                         UInt32 nBufferSize, UInt32* pWritten, void* pBuffer) {
    if (!IsOurs(pDriver))
        return kForeign;
    return LVADGetPropertyData(nObject, pAddress, {nQualifierSize, pQualifier}, nBufferSize, pWritten, pBuffer);
}

OSStatus SetPropertyData(AudioServerPlugInDriverRef pDriver, AudioObjectID nObject, pid_t,
                         AudioObjectPropertyAddress const* pAddress, UInt32 nQualifierSize, void const* pQualifier,
                         UInt32 nSize, void const* pData) {
    return IsOurs(pDriver) ? LVADSetPropertyData(nObject, pAddress, {nQualifierSize, pQualifier}, nSize, pData)
                           : kForeign;
}

OSStatus StartIO(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice, UInt32) {
    return IsOurDevice(pDriver, nDevice) ? LVADStartIO() : kForeign;
}

OSStatus StopIO(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice, UInt32) {
    return IsOurDevice(pDriver, nDevice) ? LVADStopIO() : kForeign;
}

OSStatus GetZeroTimeStamp(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice, UInt32, Float64* pSampleTime,
                          UInt64* pHostTime, UInt64* pSeed) {
    if (!IsOurDevice(pDriver, nDevice))
        return kForeign;
    Float64 nSampleTime = 0.0;
    UInt64 nHostTime = 0, nSeed = 0;
    LVADGetZeroTimeStamp(nSampleTime, nHostTime, nSeed);
    StoreIfWanted(pSampleTime, nSampleTime);
    StoreIfWanted(pHostTime, nHostTime);
    StoreIfWanted(pSeed, nSeed);
    return kAudioHardwareNoError;
}

OSStatus WillDoIOOperation(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice, UInt32, UInt32 nOperation,
                           Boolean* pWillDo, Boolean* pWillDoInPlace) {
    if (!IsOurDevice(pDriver, nDevice))
        return kForeign;
    LVADWillDoIOOperation(nOperation, pWillDo, pWillDoInPlace);
    return kAudioHardwareNoError;
}

OSStatus BeginIOOperation(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice, UInt32, UInt32, UInt32,
                          AudioServerPlugInIOCycleInfo const*) {
    return AcceptDevice(pDriver, nDevice);
}

OSStatus DoIOOperation(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice, AudioObjectID nStream, UInt32,
                       UInt32 nOperation, UInt32 nFrames, AudioServerPlugInIOCycleInfo const*, void* pMainBuffer,
                       void*) {
    if (!IsOurDevice(pDriver, nDevice) || nStream != kVADObject_OutputStream)
        return kForeign;
    LVADDoIOOperation(nOperation, nFrames, pMainBuffer);
    return kAudioHardwareNoError;
}

OSStatus EndIOOperation(AudioServerPlugInDriverRef pDriver, AudioObjectID nDevice, UInt32, UInt32, UInt32,
                        AudioServerPlugInIOCycleInfo const*) {
    return AcceptDevice(pDriver, nDevice);
}

} // namespace

constinit AudioServerPlugInDriverInterface gVADDriverInterface = {
    nullptr,
    QueryInterface,
    AddRef,
    Release,
    Initialize,
    CreateDevice,
    DestroyDevice,
    AddDeviceClient,
    RemoveDeviceClient,
    PerformDeviceConfigurationChange,
    AbortDeviceConfigurationChange,
    HasProperty,
    IsPropertySettable,
    GetPropertyDataSize,
    GetPropertyData,
    SetPropertyData,
    StartIO,
    StopIO,
    GetZeroTimeStamp,
    WillDoIOOperation,
    BeginIOOperation,
    DoIOOperation,
    EndIOOperation,
};

constinit AudioServerPlugInDriverInterface* gVADDriverRef = &gVADDriverInterface;
