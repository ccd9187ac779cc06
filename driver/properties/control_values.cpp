// Values of the output stream and of the four controls.
#include "driver/properties/identity.h"
#include "driver/properties/stream_format.h"
#include "driver/properties/values.h"
#include "driver/properties/volume_curve.h"

#include <array>
#include <numeric>

namespace {

// Converts in place: what lies in the caller's buffer is the question.
OSStatus Convert(PropertyQuery const& oQuery, Float32 (*pCurve)(Float32)) {
    Float32 nValue;
    if (oQuery.nBufferSize < sizeof nValue)
        return kAudioHardwareBadPropertySizeError;
    std::memcpy(&nValue, oQuery.pBuffer, sizeof nValue);
    return oQuery.Deliver(pCurve(nValue));
}

// The reserved field is no part of the value: it keeps what the caller has there.
void KeepReserved(PropertyQuery const& oQuery, AudioStreamBasicDescription& oFormat) {
    if (oQuery.nBufferSize >= sizeof oFormat)
        std::memcpy(&oFormat.mReserved,
                    static_cast<char const*>(oQuery.pBuffer) + offsetof(AudioStreamBasicDescription, mReserved),
                    sizeof oFormat.mReserved);
}

} // namespace

namespace values {

OSStatus StreamFormat(PropertyQuery const& oQuery) {
    AudioStreamBasicDescription oFormat = LVADStreamFormat(LVADStored<Float64, gVADSampleRate>());
    KeepReserved(oQuery, oFormat);
    return oQuery.Deliver(oFormat);
}

OSStatus StreamFormats(PropertyQuery const& oQuery) {
    AudioStreamRangedDescription oFormat = {LVADStreamFormat(kVADSampleRate), {kVADSampleRate, kVADSampleRate}};
    KeepReserved(oQuery, oFormat.mFormat);
    return oQuery.DeliverList(&oFormat, 1);
}

OSStatus VolumeDecibels(PropertyQuery const& oQuery) {
    return oQuery.Deliver(LVADScalarToDecibels(LVADStored<Float32, gVADOutputVolume>()));
}

OSStatus VolumeRange(PropertyQuery const& oQuery) {
    return oQuery.Deliver(AudioValueRange{kVADMinDecibels, kVADMaxDecibels});
}

OSStatus ScalarToDecibels(PropertyQuery const& oQuery) {
    return Convert(oQuery, LVADScalarToDecibels);
}

OSStatus DecibelsToScalar(PropertyQuery const& oQuery) {
    return Convert(oQuery, LVADDecibelsToScalar);
}

OSStatus SelectorItems(PropertyQuery const& oQuery) {
    std::array<UInt32, kVADLastSelectorItem + 1> lItems;
    std::iota(lItems.begin(), lItems.end(), 0u);
    return oQuery.DeliverList(lItems.data(), lItems.size());
}

OSStatus SelectorItemName(PropertyQuery const& oQuery) {
    if (!oQuery.oQualifier.Holds<UInt32>() || oQuery.nBufferSize < sizeof(CFStringRef))
        return kAudioHardwareBadPropertySizeError;
    UInt32 const nItem = oQuery.oQualifier.As<UInt32>();
    if (nItem > kVADLastSelectorItem)
        return kAudioHardwareIllegalOperationError;
    CFStringRef const szName =
        CFStringCreateWithFormat(nullptr, nullptr, identity::SelectorItemFormat(), static_cast<int>(nItem));
    return szName ? oQuery.Deliver(szName) : static_cast<OSStatus>(kAudioHardwareUnspecifiedError);
}

} // namespace values
