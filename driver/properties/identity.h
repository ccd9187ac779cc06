// The driver's texts: what its objects are called, and the key under which it stores. Constant strings: nobody owns
// them, nobody releases them. Made when first asked for, so not to be asked for under a lock.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

namespace identity {
// clang-format off

inline CFStringRef DeviceName() { return CFSTR("Lumora Virtual Device"); }
inline CFStringRef DeviceManufacturer() { return CFSTR("Tarnwick Software"); }
inline CFStringRef DeviceUID() { return CFSTR("LumoraVirtualAudioDevice_UID"); } // the box's as well
inline CFStringRef DeviceModelUID() { return CFSTR("LumoraVirtualAudioDevice_ModelUID"); }
inline CFStringRef MainElementName() { return CFSTR("MasterElementName"); }
inline CFStringRef LeftElementName() { return CFSTR("LeftElementName"); }
inline CFStringRef RightElementName() { return CFSTR("RightElementName"); }
inline CFStringRef OtherElementName() { return CFSTR("unknown"); }
inline CFStringRef StreamName() { return CFSTR("OutputStreamName"); }
inline CFStringRef SelectorItemFormat() { return CFSTR("Data Source Item %d"); } // the item; both controls'

inline CFStringRef PlugInManufacturer() { return CFSTR("Tarnwick Software."); }
inline CFStringRef ResourceBundle() { return CFSTR(""); } // relative to the plug-in: its own bundle
inline CFStringRef CustomPropertyValue() { return CFSTR("NullAudio PlugIn Custom Property"); }

inline CFStringRef DefaultBoxName() { return CFSTR("Null Box"); }
inline CFStringRef BoxAcquiredKey() { return CFSTR("box acquired"); } // in the host's storage
inline CFStringRef BoxModel() { return CFSTR("Null Model"); }
inline CFStringRef BoxManufacturer() { return CFSTR("Apple Inc."); }
inline CFStringRef BoxSerialNumber() { return CFSTR("00000001"); }
inline CFStringRef BoxFirmwareVersion() { return CFSTR("1.0"); }

inline CFStringRef BundleIdentifier() { return CFSTR("com.tarnwicksoftware.driver.LumoraVirtualAudioDevice"); }
inline CFStringRef IconResource() { return CFSTR("DeviceIcon.icns"); }

// clang-format on

} // namespace identity
