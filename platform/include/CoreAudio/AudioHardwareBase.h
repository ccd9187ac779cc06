// Stands in for <CoreAudio/AudioHardwareBase.h>: audio objects, their classes, and the addresses of their properties.
//
// Kept: every four-character code (first character most significant), the address layout, the result codes.
// Differs from the OS: only the classes and properties that a virtual output device with a box and four controls has.
#pragma once

#include <CoreAudio/CoreAudioTypes.h>
#include <CoreFoundation/CFBase.h>

typedef UInt32 AudioObjectID;
typedef UInt32 AudioClassID;
typedef UInt32 AudioObjectPropertySelector;
typedef UInt32 AudioObjectPropertyScope;
typedef UInt32 AudioObjectPropertyElement;

typedef struct AudioObjectPropertyAddress {
    AudioObjectPropertySelector mSelector;
    AudioObjectPropertyScope mScope;
    AudioObjectPropertyElement mElement;
} AudioObjectPropertyAddress;
static_assert(sizeof(AudioObjectPropertyAddress) == 12);

typedef struct AudioStreamRangedDescription {
    AudioStreamBasicDescription mFormat;
    AudioValueRange mSampleRateRange;
} AudioStreamRangedDescription;
static_assert(sizeof(AudioStreamRangedDescription) == 56);

enum : OSStatus {
    kAudioHardwareNoError = 0,
    kAudioHardwareNotRunningError = 'stop',
    kAudioHardwareUnspecifiedError = 'what',
    kAudioHardwareUnknownPropertyError = 'who?',
    kAudioHardwareBadPropertySizeError = '!siz',
    kAudioHardwareIllegalOperationError = 'nope',
    kAudioHardwareBadObjectError = '!obj',
    kAudioHardwareUnsupportedOperationError = 'unop',
    kAudioDeviceUnsupportedFormatError = '!dat',
};
static_assert(kAudioHardwareBadObjectError == 0x216F626A && kAudioHardwareUnknownPropertyError == 0x77686F3F);

enum : AudioObjectID { kAudioObjectUnknown = 0 };

enum : AudioObjectPropertyScope {
    kAudioObjectPropertyScopeGlobal = 'glob',
    kAudioObjectPropertyScopeInput = 'inpt',
    kAudioObjectPropertyScopeOutput = 'outp',
    kAudioObjectPropertyScopePlayThrough = 'ptru',
};
enum : AudioObjectPropertyElement { kAudioObjectPropertyElementMain = 0 };

enum : AudioClassID {
    kAudioObjectClassID = 'aobj',
    kAudioPlugInClassID = 'aplg',
    kAudioBoxClassID = 'abox',
    kAudioDeviceClassID = 'adev',
    kAudioStreamClassID = 'astr',
    kAudioControlClassID = 'actl',
    kAudioLevelControlClassID = 'levl',
    kAudioVolumeControlClassID = 'vlme',
    kAudioBooleanControlClassID = 'togl',
    kAudioMuteControlClassID = 'mute',
    kAudioSelectorControlClassID = 'slct',
    kAudioDataSourceControlClassID = 'dsrc',
    kAudioDataDestinationControlClassID = 'dest',
};

// Any object. The type of each value stands behind its name.
enum : AudioObjectPropertySelector {
    kAudioObjectPropertyBaseClass = 'bcls',              // AudioClassID
    kAudioObjectPropertyClass = 'clas',                  // AudioClassID
    kAudioObjectPropertyOwner = 'stdv',                  // AudioObjectID
    kAudioObjectPropertyName = 'lnam',                   // CFStringRef
    kAudioObjectPropertyModelName = 'lmod',              // CFStringRef
    kAudioObjectPropertyManufacturer = 'lmak',           // CFStringRef
    kAudioObjectPropertyElementName = 'lchn',            // CFStringRef
    kAudioObjectPropertyOwnedObjects = 'ownd',           // AudioObjectID list
    kAudioObjectPropertyIdentify = 'iden',               // UInt32, 0 or 1
    kAudioObjectPropertySerialNumber = 'snum',           // CFStringRef
    kAudioObjectPropertyFirmwareVersion = 'fwvn',        // CFStringRef
    kAudioObjectPropertyCustomPropertyInfoList = 'cust', // AudioServerPlugInCustomPropertyInfo list
    kAudioObjectPropertyControlList = 'ctrl',            // AudioObjectID list
};

// The plug-in.
enum : AudioObjectPropertySelector {
    kAudioPlugInPropertyBundleID = 'piid',             // CFStringRef
    kAudioPlugInPropertyDeviceList = 'dev#',           // AudioObjectID list
    kAudioPlugInPropertyTranslateUIDToDevice = 'uidd', // CFStringRef qualifier, AudioObjectID
    kAudioPlugInPropertyBoxList = 'box#',              // AudioObjectID list
    kAudioPlugInPropertyTranslateUIDToBox = 'uidb',    // CFStringRef qualifier, AudioObjectID
    kAudioPlugInPropertyResourceBundle = 'rsrc',       // CFStringRef, a path relative to the plug-in's bundle
};

// A box.
enum : AudioObjectPropertySelector {
    kAudioBoxPropertyBoxUID = 'buid',            // CFStringRef
    kAudioBoxPropertyTransportType = 'tran',     // UInt32
    kAudioBoxPropertyHasAudio = 'bhau',          // UInt32, 0 or 1
    kAudioBoxPropertyHasVideo = 'bhvi',          // UInt32, 0 or 1
    kAudioBoxPropertyHasMIDI = 'bhmi',           // UInt32, 0 or 1
    kAudioBoxPropertyIsProtected = 'bpro',       // UInt32, 0 or 1
    kAudioBoxPropertyAcquired = 'bxon',          // UInt32, 0 or 1
    kAudioBoxPropertyAcquisitionFailed = 'bxof', // UInt32, a result code
    kAudioBoxPropertyDeviceList = 'bdv#',        // AudioObjectID list
};

// A device.
enum : AudioObjectPropertySelector {
    kAudioDevicePropertyDeviceUID = 'uid ',                      // CFStringRef
    kAudioDevicePropertyModelUID = 'muid',                       // CFStringRef
    kAudioDevicePropertyTransportType = 'tran',                  // UInt32
    kAudioDevicePropertyRelatedDevices = 'akin',                 // AudioObjectID list
    kAudioDevicePropertyClockDomain = 'clkd',                    // UInt32
    kAudioDevicePropertyDeviceIsAlive = 'livn',                  // UInt32, 0 or 1
    kAudioDevicePropertyDeviceIsRunning = 'goin',                // UInt32, 0 or 1
    kAudioDevicePropertyDeviceCanBeDefaultDevice = 'dflt',       // UInt32, 0 or 1
    kAudioDevicePropertyDeviceCanBeDefaultSystemDevice = 'sflt', // UInt32, 0 or 1
    kAudioDevicePropertyLatency = 'ltnc',                        // UInt32, frames
    kAudioDevicePropertySafetyOffset = 'saft',                   // UInt32, frames
    kAudioDevicePropertyStreams = 'stm#',                        // AudioObjectID list
    kAudioDevicePropertyNominalSampleRate = 'nsrt',              // Float64, Hz
    kAudioDevicePropertyAvailableNominalSampleRates = 'nsr#',    // AudioValueRange list, Hz
    kAudioDevicePropertyIcon = 'icon',                           // CFURLRef
    kAudioDevicePropertyIsHidden = 'hidn',                       // UInt32, 0 or 1
    kAudioDevicePropertyPreferredChannelsForStereo = 'dch2',     // UInt32[2], from 1
    kAudioDevicePropertyPreferredChannelLayout = 'srnd',         // AudioChannelLayout
    kAudioDevicePropertyZeroTimeStampPeriod = 'ring',            // UInt32, frames
};
enum : UInt32 { kAudioDeviceTransportTypeUnknown = 0, kAudioDeviceTransportTypeVirtual = 'virt' };

// A stream.
enum : AudioObjectPropertySelector {
    kAudioStreamPropertyIsActive = 'sact',                 // UInt32, 0 or 1
    kAudioStreamPropertyDirection = 'sdir',                // UInt32, 0 output, 1 input
    kAudioStreamPropertyTerminalType = 'term',             // UInt32
    kAudioStreamPropertyStartingChannel = 'schn',          // UInt32, from 1
    kAudioStreamPropertyLatency = 'ltnc',                  // UInt32, frames
    kAudioStreamPropertyVirtualFormat = 'sfmt',            // AudioStreamBasicDescription
    kAudioStreamPropertyAvailableVirtualFormats = 'sfma',  // AudioStreamRangedDescription list
    kAudioStreamPropertyPhysicalFormat = 'pft ',           // AudioStreamBasicDescription
    kAudioStreamPropertyAvailablePhysicalFormats = 'pfta', // AudioStreamRangedDescription list
};
enum : UInt32 { kAudioStreamTerminalTypeUnknown = 0, kAudioStreamTerminalTypeSpeaker = 'spkr' };

// Controls.
enum : AudioObjectPropertySelector {
    kAudioControlPropertyScope = 'cscp',                        // AudioObjectPropertyScope
    kAudioControlPropertyElement = 'celm',                      // AudioObjectPropertyElement
    kAudioLevelControlPropertyScalarValue = 'lcsv',             // Float32, 0.0 to 1.0
    kAudioLevelControlPropertyDecibelValue = 'lcdv',            // Float32, dB
    kAudioLevelControlPropertyDecibelRange = 'lcdr',            // AudioValueRange, dB
    kAudioLevelControlPropertyConvertScalarToDecibels = 'lcsd', // Float32, in place
    kAudioLevelControlPropertyConvertDecibelsToScalar = 'lcds', // Float32, in place
    kAudioBooleanControlPropertyValue = 'bcvl',                 // UInt32, 0 or 1
    kAudioSelectorControlPropertyCurrentItem = 'scci',          // UInt32 item
    kAudioSelectorControlPropertyAvailableItems = 'scai',       // UInt32 item list
    kAudioSelectorControlPropertyItemName = 'scin',             // UInt32 item qualifier, CFStringRef
};
