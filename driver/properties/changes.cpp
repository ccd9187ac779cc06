#include "driver/properties/changes.h"

#include "driver/properties/host_reports.h"
#include "driver/properties/identity.h"
#include "driver/properties/stream_format.h"
#include "driver/properties/volume_curve.h"
#include "driver/state/object_ids.h"
#include "driver/state/state.h"
#include "xpc/helperlink/vad_plugin_xpc_client.h"

#include <cmath>

namespace {

constexpr UInt64 kIdentifyLasts_ns = 2'000'000'000;

// The new value, unless no data came.
template <class T>
bool TakeValue(PropertyChange const& oChange, T& tValue) {
    if (!oChange.pData)
        return false;
    std::memcpy(&tValue, oChange.pData, sizeof tValue);
    return true;
}

// A flag that only the driver keeps: any non-zero value sets it.
template <auto& gFlag, AudioObjectPropertySelector nSelector>
OSStatus ChangeFlag(PropertyChange const& oChange) {
    UInt32 nValue;
    if (!TakeValue(oChange, nValue))
        return kAudioHardwareIllegalOperationError;
    if (LVADReplaceStored<gFlag, Boolean>(nValue != 0))
        LVADReportChanged<nSelector>(oChange.nObjectId);
    return kAudioHardwareNoError;
}

template <auto& gItem>
OSStatus ChangeItem(PropertyChange const& oChange) {
    UInt32 nItem;
    if (!TakeValue(oChange, nItem) || nItem > kVADLastSelectorItem)
        return kAudioHardwareIllegalOperationError;
    if (LVADReplaceStored<gItem>(nItem))
        LVADReportChanged<kAudioSelectorControlPropertyCurrentItem>(oChange.nObjectId);
    return kAudioHardwareNoError;
}

// Stores and persists under one hold of the mutex, so that storage never ends up with an older state than the driver's.
bool StoreBoxAcquired(Boolean bAcquired) {
    CFStringRef const szKey = identity::BoxAcquiredKey(); // made, like what queueing needs, before the mutex is held
    LVADPrepareToQueue();
    LScopedLock oLock(gVADStateMutex);
    if (gVADBoxAcquired == bAcquired)
        return false;
    gVADBoxAcquired = bAcquired;
    if (AudioServerPlugInHostRef const pHost = gVADHost.load(std::memory_order_acquire))
        pHost->WriteToStorage(pHost, szKey, bAcquired ? kCFBooleanTrue : kCFBooleanFalse);
    LVADReportChangedSoon(kVADObject_PlugIn, kAudioPlugInPropertyDeviceList);
    return true;
}

// Asks for the rate if it is not the current one, which stays until the host performs the change. True when asked.
bool RequestOtherSampleRate(Float64 nSampleRate) {
    if (LVADStored<Float64, gVADSampleRate>() == nSampleRate)
        return false;
    LVADRequestSampleRate(static_cast<UInt64>(nSampleRate));
    return true;
}

// Stores and sends under one hold of the mutex, so that the recorder hears the volumes in the order they were stored.
bool StoreVolume(Float32 nScalar) {
    LScopedLock oLock(gVADStateMutex);
    if (gVADOutputVolume == nScalar)
        return false;
    gVADOutputVolume = nScalar;
    if (LVADPluginXPCClient* const pLink = LVADPluginXPCClient::GetInstance())
        pLink->SendVolumeChanged(nScalar);
    return true;
}

// A NaN is no volume: it is refused, and the volume stays where the user has it. (Clamping would have to pick an end of
// the range for it, and a host's arithmetic slip would then silence the device or turn it fully up.)
OSStatus ChangeVolume(PropertyChange const& oChange, Float32 (*pToScalar)(Float32)) {
    Float32 nValue;
    if (!TakeValue(oChange, nValue) || std::isnan(nValue))
        return kAudioHardwareIllegalOperationError;
    if (StoreVolume(pToScalar(nValue)))
        LVADReportChanged<kAudioLevelControlPropertyScalarValue, kAudioLevelControlPropertyDecibelValue>(
            oChange.nObjectId);
    return kAudioHardwareNoError;
}

} // namespace

namespace changes {

OSStatus CustomProperty(PropertyChange const& oChange) {
    CFPropertyListRef pValue;
    if (!oChange.oQualifier.Holds<CFPropertyListRef>())
        return kAudioHardwareBadPropertySizeError;
    if (!TakeValue(oChange, pValue))
        return kAudioHardwareIllegalOperationError;
    CFShow(oChange.oQualifier.As<CFPropertyListRef>());
    CFShow(pValue);
    return kAudioHardwareNoError;
}

OSStatus BoxName(PropertyChange const& oChange) {
    CFStringRef szName;
    if (!TakeValue(oChange, szName))
        return kAudioHardwareIllegalOperationError;
    {
        LScopedLock oLock(gVADStateMutex);
        if (szName)
            CFRetain(szName);
        if (gVADBoxName)
            CFRelease(gVADBoxName);
        gVADBoxName = szName;
    }
    LVADReportChanged<kAudioObjectPropertyName>(oChange.nObjectId);
    return kAudioHardwareNoError;
}

OSStatus BoxAcquired(PropertyChange const& oChange) {
    UInt32 nValue;
    if (!TakeValue(oChange, nValue))
        return kAudioHardwareIllegalOperationError;
    if (StoreBoxAcquired(nValue != 0))
        LVADReportChanged<kAudioBoxPropertyAcquired, kAudioBoxPropertyDeviceList>(oChange.nObjectId);
    return kAudioHardwareNoError;
}

OSStatus BoxIdentify(PropertyChange const& oChange) {
    LVADReportChangedAfter(kIdentifyLasts_ns, oChange.nObjectId, kAudioObjectPropertyIdentify);
    return kAudioHardwareNoError;
}

OSStatus SampleRate(PropertyChange const& oChange) {
    Float64 nSampleRate;
    if (!TakeValue(oChange, nSampleRate) || !LVADIsSampleRate(nSampleRate))
        return kAudioHardwareIllegalOperationError;
    if (RequestOtherSampleRate(nSampleRate))
        LVADReportChanged<kAudioDevicePropertyNominalSampleRate>(oChange.nObjectId);
    return kAudioHardwareNoError;
}

OSStatus StreamFormat(PropertyChange const& oChange) {
    AudioStreamBasicDescription oFormat;
    if (!TakeValue(oChange, oFormat))
        return kAudioHardwareIllegalOperationError;
    if (!LVADIsStreamFormat(oFormat))
        return kAudioDeviceUnsupportedFormatError;
    if (!LVADIsSampleRate(oFormat.mSampleRate))
        return kAudioHardwareIllegalOperationError;
    RequestOtherSampleRate(oFormat.mSampleRate);
    return kAudioHardwareNoError;
}

OSStatus StreamActive(PropertyChange const& oChange) {
    return ChangeFlag<gVADOutputStreamActive, kAudioStreamPropertyIsActive>(oChange);
}

OSStatus VolumeScalar(PropertyChange const& oChange) {
    return ChangeVolume(oChange, LVADClampScalar);
}

OSStatus VolumeDecibels(PropertyChange const& oChange) {
    return ChangeVolume(oChange, LVADDecibelsToScalar);
}

OSStatus Mute(PropertyChange const& oChange) {
    return ChangeFlag<gVADOutputMute, kAudioBooleanControlPropertyValue>(oChange);
}

OSStatus DataSource(PropertyChange const& oChange) {
    return ChangeItem<gVADDataSourceValue>(oChange);
}

OSStatus DataDestination(PropertyChange const& oChange) {
    return ChangeItem<gVADDataDestinationValue>(oChange);
}

} // namespace changes
