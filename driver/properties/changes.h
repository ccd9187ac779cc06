// How the values of the catalogue are changed. Each changer is called with data of its property's size, checks the
// value, changes the state under gVADStateMutex, and tells the host after the mutex is free, and only of what changed.
// What goes elsewhere goes under the mutex, in the order of the changes: the acquired flag to the host's storage with
// the notice for the plug-in being queued, the volume to the recorder. On any status but 0 nothing was changed or told.
// The host's property threads.
#pragma once

#include "driver/properties/property.h"

namespace changes {

OSStatus CustomProperty(PropertyChange const&); // prints qualifier and data, keeps neither

OSStatus BoxName(PropertyChange const&); // null too; told always
OSStatus BoxAcquired(PropertyChange const&);
OSStatus BoxIdentify(PropertyChange const&); // the value is not read

OSStatus SampleRate(PropertyChange const&);   // asks the host; the host performs it later
OSStatus StreamFormat(PropertyChange const&); // likewise, for the rate in it

OSStatus StreamActive(PropertyChange const&);
// Both are clamped. A NaN is refused with kAudioHardwareIllegalOperationError, and the volume stays as it is.
OSStatus VolumeScalar(PropertyChange const&);   // sent to the recorder
OSStatus VolumeDecibels(PropertyChange const&); // sent to the recorder, as the scalar
OSStatus Mute(PropertyChange const&);
OSStatus DataSource(PropertyChange const&);
OSStatus DataDestination(PropertyChange const&);

} // namespace changes
