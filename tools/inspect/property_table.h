// What a host knows of the properties that objects may have: their names and how their values read.
#pragma once

#include <CoreAudio/AudioServerPlugIn.h>

#include <span>

enum class ValueKind {
    Number,           // UInt32
    YesNo,            // UInt32
    FourChar,         // UInt32: a class, a type, a scope
    Object,           // AudioObjectID
    ObjectList,       // AudioObjectID...
    NumberList,       // UInt32...
    Text,             // CFStringRef
    Url,              // CFURLRef
    Rate,             // Float64, Hz
    Scalar,           // Float32
    Decibels,         // Float32
    DecibelRange,     // AudioValueRange
    RateRanges,       // AudioValueRange...
    Format,           // AudioStreamBasicDescription
    FormatList,       // AudioStreamRangedDescription...
    ChannelLayout,    // AudioChannelLayout
    CustomProperties, // AudioServerPlugInCustomPropertyInfo...
    Direction,        // UInt32, 0 output
    ObjectByUid,      // AudioObjectID, for a CFStringRef qualifier
    ItemName,         // CFStringRef, for a UInt32 qualifier
    CustomText,       // CFStringRef, for a CFPropertyListRef qualifier
    ScalarToDecibels, // Float32 in place
    DecibelsToScalar, // Float32 in place
};

struct KnownProperty {
    AudioObjectPropertySelector nSelector;
    char const* szName;
    ValueKind nKind;
};

// In the order in which they are shown. A selector that two classes use alike stands once.
std::span<KnownProperty const> KnownProperties();
