// How the values of the catalogue are read. Each reader delivers one property's value into the caller's buffer, any
// thread. Values that can change are read under gVADStateMutex, except for the plug-in's two lists that follow the
// acquired flag, which read that alone; the mutex is released before anything is created, looked up or delivered.
// Strings and URLs become the caller's to release, except constant strings, which nobody releases.
#pragma once

#include "driver/properties/property.h"
#include "driver/state/object_ids.h"
#include "driver/state/state.h"

#include <CoreFoundation/CoreFoundation.h>

namespace values {

// A UInt32, class, object or code that never changes.
template <UInt32 nValue>
OSStatus Number(PropertyQuery const& oQuery) {
    return oQuery.Deliver(nValue);
}

// A constant string.
template <CFStringRef (*pText)()>
OSStatus Text(PropertyQuery const& oQuery) {
    return oQuery.Deliver(pText());
}

// A list of constant numbers or objects.
template <UInt32... nItems>
OSStatus List(PropertyQuery const& oQuery) {
    constexpr UInt32 lItems[] = {nItems...};
    return oQuery.DeliverList(lItems, sizeof...(nItems));
}

inline OSStatus EmptyList(PropertyQuery const& oQuery) {
    *oQuery.pWritten = 0;
    return kAudioHardwareNoError;
}

// A global of the driver, delivered as a T.
template <class T, auto& gValue>
OSStatus Stored(PropertyQuery const& oQuery) {
    return oQuery.Deliver(LVADStored<T, gValue>());
}

// Which object a UID in the qualifier names: nObject for the one UID there is, else kAudioObjectUnknown, as for a null
// reference. Without a whole qualifier and room for the answer the string is not looked at.
bool QualifierIsDeviceUID(PropertyQualifier const& oQualifier);
template <AudioObjectID nObject>
OSStatus ObjectOfUID(PropertyQuery const& oQuery) {
    if (!oQuery.oQualifier.Holds<CFStringRef>() || oQuery.nBufferSize < sizeof(AudioObjectID))
        return kAudioHardwareBadPropertySizeError;
    return oQuery.Deliver<AudioObjectID>(QualifierIsDeviceUID(oQuery.oQualifier) ? nObject : kAudioObjectUnknown);
}

OSStatus PlugInOwnedObjects(PropertyQuery const&);
OSStatus PlugInDeviceList(PropertyQuery const&);
OSStatus CustomPropertyInfo(PropertyQuery const&);
OSStatus CustomProperty(PropertyQuery const&);

OSStatus BoxName(PropertyQuery const&); // retained for the caller; may be null
OSStatus BoxDeviceList(PropertyQuery const&);

OSStatus DeviceElementName(PropertyQuery const&);
OSStatus DeviceOwnedObjects(PropertyQuery const&); // empty wherever the device has no such property
OSStatus DeviceStreams(PropertyQuery const&);      // likewise
OSStatus DeviceIsRunning(PropertyQuery const&);
OSStatus DeviceSampleRates(PropertyQuery const&);
OSStatus DeviceIcon(PropertyQuery const&); // a new URL; kAudioHardwareUnspecifiedError without bundle or icon
OSStatus DeviceStereoChannels(PropertyQuery const&);
OSStatus DeviceChannelLayout(PropertyQuery const&);

OSStatus StreamFormat(PropertyQuery const&);  // the reserved field stays what the caller's buffer has there
OSStatus StreamFormats(PropertyQuery const&); // likewise

OSStatus VolumeDecibels(PropertyQuery const&);
OSStatus VolumeRange(PropertyQuery const&);
OSStatus ScalarToDecibels(PropertyQuery const&); // converts the Float32 in the caller's buffer
OSStatus DecibelsToScalar(PropertyQuery const&); // converts the Float32 in the caller's buffer

OSStatus SelectorItems(PropertyQuery const&);
OSStatus SelectorItemName(PropertyQuery const&); // a new string; kAudioHardwareUnspecifiedError when none can be made

} // namespace values

// The sizes that depend on more than the type.
namespace sizes {

OSStatus PlugInOwnedObjects(PropertyAddress const&, PropertyQualifier const&, UInt32& nSize);
OSStatus DevicesOfPlugIn(PropertyAddress const&, PropertyQualifier const&, UInt32& nSize);
OSStatus DevicesOfBox(PropertyAddress const&, PropertyQualifier const&, UInt32& nSize);
OSStatus CustomProperty(PropertyAddress const&, PropertyQualifier const&, UInt32& nSize);
OSStatus DeviceOwnedObjects(PropertyAddress const&, PropertyQualifier const&, UInt32& nSize);
OSStatus DeviceStreams(PropertyAddress const&, PropertyQualifier const&, UInt32& nSize);

} // namespace sizes
