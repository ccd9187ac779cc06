// Property values as people read them.
#pragma once

#include "tools/host/device.h"
#include "tools/inspect/property_table.h"

#include <string>
#include <vector>

// What an object answers for one property at one address.
struct PropertyText {
    OSStatus nResult = 0;             // the driver's, when it refuses
    bool bList = false;               // whether the property holds any number of values
    std::vector<std::string> lValues; // one each; one alone when it is no list
};

// Reads the value and puts it into words. Properties that want a qualifier are asked with the obvious one: the box's or
// the device's own UID, each of the selector's items, a property list with nothing in it.
PropertyText ReadPropertyText(DriverView const& oDriver, AudioObjectID nObject, KnownProperty const& oProperty,
                              AudioObjectPropertyAddress const& oAddress);

// The bytes of a value as text: what ReadPropertyText does once it has them. References in them are released. A value
// that is too short for its kind gives nothing.
std::vector<std::string> ValueTexts(ValueKind nKind, std::vector<UInt8> const& arBytes);

// "'vlme' volume control"
std::string CodeText(UInt32 nCode);
// "stereo, 32-bit float, 44100 Hz"
std::string FormatText(AudioStreamBasicDescription const& oFormat);
