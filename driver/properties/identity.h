// The texts by which the driver's objects are known. Constant strings: nobody owns them, nobody releases them.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

namespace identity {
// clang-format off

inline CFStringRef DeviceName() { return CFSTR("Lumora Virtual Device"); }
inline CFStringRef DeviceManufacturer() { return CFSTR("Tarnwick Software"); }
inline CFStringRef DeviceUID() { return CFSTR("LumoraVirtualAudioDevice_UID"); } // the box's as well
inline CFStringRef DeviceModelUID() { return CFSTR("LumoraVirtualAudioDevice_ModelUID"); }
inline CFStringRef StreamName() { return CFSTR("OutputStreamName"); }

inline CFStringRef PlugInManufacturer() { return CFSTR("Tarnwick Software."); }
inline CFStringRef ResourceBundle() { return CFSTR(""); } // relative to the plug-in: its own bundle
inline CFStringRef CustomPropertyValue() { return CFSTR("NullAudio PlugIn Custom Property"); }

inline CFStringRef BoxModel() { return CFSTR("Null Model"); }
inline CFStringRef BoxManufacturer() { return CFSTR("Apple Inc."); }
inline CFStringRef BoxSerialNumber() { return CFSTR("00000001"); }
inline CFStringRef BoxFirmwareVersion() { return CFSTR("1.0"); }

inline CFStringRef BundleIdentifier() { return CFSTR("com.tarnwicksoftware.driver.LumoraVirtualAudioDevice"); }
inline CFStringRef IconResource() { return CFSTR("DeviceIcon.icns"); }

// clang-format on

} // namespace identity
