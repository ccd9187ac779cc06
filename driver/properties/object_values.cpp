// Values of the plug-in, the box and the device.
#include "driver/properties/identity.h"
#include "driver/properties/values.h"

#include <array>

namespace {

constexpr UInt32 kItem = sizeof(AudioObjectID);

// AudioChannelLayout ends in an array of one description; this device's has two.
struct StereoLayout {
    AudioChannelLayout oLayout;
    AudioChannelDescription oSecond;
};
static_assert(sizeof(StereoLayout) ==
              offsetof(AudioChannelLayout, mChannelDescriptions) + 2 * sizeof(AudioChannelDescription));

} // namespace

namespace values {

bool QualifierIsDeviceUID(PropertyQualifier const& oQualifier) {
    CFStringRef const szUID = oQualifier.As<CFStringRef>();
    return szUID && CFStringCompare(szUID, identity::DeviceUID(), 0) == kCFCompareEqualTo;
}

OSStatus PlugInOwnedObjects(PropertyQuery const& oQuery) {
    constexpr AudioObjectID lObjects[] = {kVADObject_Box, kVADObject_Device};
    return oQuery.DeliverList(lObjects, gVADBoxAcquired ? 2 : 1);
}

OSStatus PlugInDeviceList(PropertyQuery const& oQuery) {
    return oQuery.DeliverList(&kVADObject_Device, gVADBoxAcquired ? 1 : 0);
}

OSStatus CustomPropertyInfo(PropertyQuery const& oQuery) {
    return oQuery.Deliver(AudioServerPlugInCustomPropertyInfo{
        .mSelector = kVADCustomProperty,
        .mPropertyDataType = kAudioServerPlugInCustomPropertyDataTypeCFString,
        .mQualifierDataType = kAudioServerPlugInCustomPropertyDataTypeCFPropertyList});
}

OSStatus CustomProperty(PropertyQuery const& oQuery) {
    if (!oQuery.oQualifier.Holds<CFPropertyListRef>() || oQuery.nBufferSize < sizeof(CFStringRef))
        return kAudioHardwareBadPropertySizeError;
    CFShow(oQuery.oQualifier.As<CFPropertyListRef>());
    return oQuery.Deliver(identity::CustomPropertyValue());
}

OSStatus BoxName(PropertyQuery const& oQuery) {
    if (oQuery.nBufferSize < sizeof(CFStringRef)) // asked before the name is retained for nobody
        return kAudioHardwareBadPropertySizeError;
    CFStringRef szName;
    {
        LScopedLock oLock(gVADStateMutex);
        szName = gVADBoxName;
        if (szName)
            CFRetain(szName);
    }
    return oQuery.Deliver(szName);
}

// The one list that refuses a buffer too small for its item.
OSStatus BoxDeviceList(PropertyQuery const& oQuery) {
    if (!LVADStored<bool, gVADBoxAcquired>())
        return EmptyList(oQuery);
    return oQuery.Deliver(kVADObject_Device);
}

OSStatus DeviceElementName(PropertyQuery const& oQuery) {
    switch (oQuery.oAddress.mElement) {
    case 0: return oQuery.Deliver(identity::MainElementName());
    case 1: return oQuery.Deliver(identity::LeftElementName());
    case 2: return oQuery.Deliver(identity::RightElementName());
    default: return oQuery.Deliver(identity::OtherElementName());
    }
}

// The play-through destination is the device's only as a whole. Scopes at which the device has no such property get
// an empty list, as its input side does: nothing is there, and no caller mistakes leftovers in its buffer for objects.
OSStatus DeviceOwnedObjects(PropertyQuery const& oQuery) {
    constexpr AudioObjectID lObjects[] = {kVADObject_OutputStream, kVADObject_OutputVolume, kVADObject_OutputMute,
                                          kVADObject_OutputDataSource, kVADObject_OutputDataDestination};
    if (!LVADIsGlobalOrOutput(oQuery.oAddress))
        return EmptyList(oQuery);
    return oQuery.DeliverList(lObjects, oQuery.oAddress.mScope == kAudioObjectPropertyScopeGlobal ? 5 : 4);
}

OSStatus DeviceStreams(PropertyQuery const& oQuery) {
    return oQuery.DeliverList(&kVADObject_OutputStream, LVADIsGlobalOrOutput(oQuery.oAddress) ? 1 : 0);
}

OSStatus DeviceIsRunning(PropertyQuery const& oQuery) {
    return oQuery.Deliver<UInt32>(LVADStored<UInt64, gVADIORunningCount>() != 0);
}

OSStatus DeviceSampleRates(PropertyQuery const& oQuery) {
    constexpr AudioValueRange oRange = {kVADSampleRate, kVADSampleRate};
    return oQuery.DeliverList(&oRange, 1);
}

OSStatus DeviceIcon(PropertyQuery const& oQuery) {
    if (oQuery.nBufferSize < sizeof(CFURLRef)) // asked before a URL is made for nobody
        return kAudioHardwareBadPropertySizeError;
    CFBundleRef const pBundle = CFBundleGetBundleWithIdentifier(identity::BundleIdentifier()); // not ours to release
    CFURLRef const pIcon =
        pBundle ? CFBundleCopyResourceURL(pBundle, identity::IconResource(), nullptr, nullptr) : nullptr;
    return pIcon ? oQuery.Deliver(pIcon) : static_cast<OSStatus>(kAudioHardwareUnspecifiedError);
}

// A single value of two numbers, not a list: it fits whole or not at all.
OSStatus DeviceStereoChannels(PropertyQuery const& oQuery) {
    constexpr std::array<UInt32, 2> lChannels = {1, 2};
    return oQuery.Deliver(lChannels);
}

OSStatus DeviceChannelLayout(PropertyQuery const& oQuery) {
    StereoLayout oStereo{};
    oStereo.oLayout.mChannelLayoutTag = kAudioChannelLayoutTag_UseChannelDescriptions;
    oStereo.oLayout.mNumberChannelDescriptions = 2;
    oStereo.oLayout.mChannelDescriptions[0].mChannelLabel = kAudioChannelLabel_Left;
    oStereo.oSecond.mChannelLabel = kAudioChannelLabel_Right;
    return oQuery.Deliver(oStereo);
}

} // namespace values

namespace sizes {

OSStatus PlugInOwnedObjects(PropertyAddress const&, PropertyQualifier const&, UInt32& nSize) {
    nSize = gVADBoxAcquired ? 2 * kItem : kItem;
    return kAudioHardwareNoError;
}

OSStatus DevicesOfPlugIn(PropertyAddress const&, PropertyQualifier const&, UInt32& nSize) {
    nSize = gVADBoxAcquired ? kItem : 0;
    return kAudioHardwareNoError;
}

OSStatus DevicesOfBox(PropertyAddress const&, PropertyQualifier const&, UInt32& nSize) {
    nSize = LVADStored<bool, gVADBoxAcquired>() ? kItem : 0;
    return kAudioHardwareNoError;
}

OSStatus CustomProperty(PropertyAddress const&, PropertyQualifier const& oQualifier, UInt32& nSize) {
    if (!oQualifier.Holds<CFPropertyListRef>())
        return kAudioHardwareBadPropertySizeError;
    CFShow(oQualifier.As<CFPropertyListRef>());
    nSize = sizeof(CFStringRef);
    return kAudioHardwareNoError;
}

// Four objects in global scope too, though the value lists five there: a host that fetches with this size sees the
// stream and the first three controls, the same in either scope.
OSStatus DeviceOwnedObjects(PropertyAddress const& oAddress, PropertyQualifier const&, UInt32& nSize) {
    nSize = LVADIsGlobalOrOutput(oAddress) ? 4 * kItem : 0;
    return kAudioHardwareNoError;
}

OSStatus DeviceStreams(PropertyAddress const& oAddress, PropertyQualifier const&, UInt32& nSize) {
    nSize = LVADIsGlobalOrOutput(oAddress) ? kItem : 0;
    return kAudioHardwareNoError;
}

} // namespace sizes
