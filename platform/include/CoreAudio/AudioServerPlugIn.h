// Stands in for <CoreAudio/AudioServerPlugIn.h>: the two interface tables between the audio server and a driver that it
// loads into its own process.
//
// Kept: slots, their order and signatures; the type and interface UUIDs that find the driver; who owns what: objects
// that GetPropertyData and CopyFromStorage hand out belong to the caller, objects handed in stay the caller's.
// Threads: the server calls IO operations on the device's IO thread and everything else on other threads of its own, at
// the same time. The driver may call the host from any thread; RequestDeviceConfigurationChange is answered later by
// PerformDeviceConfigurationChange or AbortDeviceConfigurationChange.
//
// Differs from the OS: these are declarations only; the host is whoever fills the host's table.
#pragma once

#include <CoreAudio/AudioHardwareBase.h>
#include <CoreAudio/CoreAudioTypes.h>
#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFPlugInCOM.h>
#include <CoreFoundation/CFUUID.h>

#include <sys/types.h>

#define kAudioServerPlugInTypeUUID                                                                                     \
    CFUUIDGetConstantUUIDWithBytes(nullptr, 0x44, 0x3A, 0xBA, 0xB8, 0xE7, 0xB3, 0x49, 0x1A, 0xB9, 0x85, 0xBE, 0xB9,    \
                                   0x18, 0x70, 0x30, 0xDB)
#define kAudioServerPlugInDriverInterfaceUUID                                                                          \
    CFUUIDGetConstantUUIDWithBytes(nullptr, 0xEE, 0xA5, 0x77, 0x3D, 0xCC, 0x43, 0x49, 0xF1, 0x8E, 0x00, 0x8F, 0x96,    \
                                   0xE7, 0xD2, 0x3B, 0x17)

typedef UInt32 AudioServerPlugInCustomPropertyDataType;
enum : AudioServerPlugInCustomPropertyDataType {
    kAudioServerPlugInCustomPropertyDataTypeNone = 0,
    kAudioServerPlugInCustomPropertyDataTypeCFString = 'cfst',
    kAudioServerPlugInCustomPropertyDataTypeCFPropertyList = 'plst',
};

typedef struct AudioServerPlugInCustomPropertyInfo {
    AudioObjectPropertySelector mSelector;
    AudioServerPlugInCustomPropertyDataType mPropertyDataType;
    AudioServerPlugInCustomPropertyDataType mQualifierDataType;
} AudioServerPlugInCustomPropertyInfo;
static_assert(sizeof(AudioServerPlugInCustomPropertyInfo) == 12);

// The steps of an IO cycle, in the order of their names below.
enum : UInt32 {
    kAudioServerPlugInIOOperationThread = 'thrd',
    kAudioServerPlugInIOOperationCycle = 'cycl',
    kAudioServerPlugInIOOperationReadInput = 'read',
    kAudioServerPlugInIOOperationConvertInput = 'cinp',
    kAudioServerPlugInIOOperationProcessInput = 'pinp',
    kAudioServerPlugInIOOperationProcessOutput = 'pout',
    kAudioServerPlugInIOOperationMixOutput = 'mixo',
    kAudioServerPlugInIOOperationProcessMix = 'pmix',
    kAudioServerPlugInIOOperationConvertMix = 'cmix',
    kAudioServerPlugInIOOperationWriteMix = 'rite',
};

typedef struct AudioServerPlugInIOCycleInfo {
    UInt64 mIOCycleCounter;
    UInt32 mNominalIOBufferFrameSize;
    AudioTimeStamp mCurrentTime;
    AudioTimeStamp mInputTime;
    AudioTimeStamp mOutputTime;
    Float64 mMainHostTicksPerFrame;
    Float64 mDeviceHostTicksPerFrame;
} AudioServerPlugInIOCycleInfo;
static_assert(sizeof(AudioServerPlugInIOCycleInfo) == 224);

typedef struct AudioServerPlugInClientInfo {
    UInt32 mClientID;
    pid_t mProcessID;
    Boolean mIsNativeEndian;
    CFStringRef mBundleID; // the server's; may be NULL
} AudioServerPlugInClientInfo;
static_assert(sizeof(AudioServerPlugInClientInfo) == 24);

struct AudioServerPlugInHostInterface;
struct AudioServerPlugInDriverInterface;
typedef struct AudioServerPlugInHostInterface AudioServerPlugInHostInterface;
typedef struct AudioServerPlugInDriverInterface AudioServerPlugInDriverInterface;
typedef AudioServerPlugInHostInterface const* AudioServerPlugInHostRef;
typedef AudioServerPlugInDriverInterface** AudioServerPlugInDriverRef;

// What the server does for its drivers. Any thread.
struct AudioServerPlugInHostInterface {
    OSStatus (*PropertiesChanged)(AudioServerPlugInHostRef inHost, AudioObjectID inObjectID, UInt32 inNumberAddresses,
                                  AudioObjectPropertyAddress const inAddresses[]);
    // Storage is the driver's own and outlives the process. `*outData` is the caller's; NULL when there is none.
    OSStatus (*CopyFromStorage)(AudioServerPlugInHostRef inHost, CFStringRef inKey, CFPropertyListRef* outData);
    OSStatus (*WriteToStorage)(AudioServerPlugInHostRef inHost, CFStringRef inKey, CFPropertyListRef inData);
    OSStatus (*DeleteFromStorage)(AudioServerPlugInHostRef inHost, CFStringRef inKey);
    OSStatus (*RequestDeviceConfigurationChange)(AudioServerPlugInHostRef inHost, AudioObjectID inDeviceObjectID,
                                                 UInt64 inChangeAction, void* inChangeInfo);
};

// What a driver does for the server. The first argument is always the driver's own reference.
struct AudioServerPlugInDriverInterface {
    void* _reserved; // NULL
    HRESULT (*QueryInterface)(void* inDriver, REFIID inUUID, LPVOID* outInterface);
    ULONG (*AddRef)(void* inDriver);
    ULONG (*Release)(void* inDriver);
    OSStatus (*Initialize)(AudioServerPlugInDriverRef inDriver, AudioServerPlugInHostRef inHost);
    OSStatus (*CreateDevice)(AudioServerPlugInDriverRef inDriver, CFDictionaryRef inDescription,
                             AudioServerPlugInClientInfo const* inClientInfo, AudioObjectID* outDeviceObjectID);
    OSStatus (*DestroyDevice)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID);
    OSStatus (*AddDeviceClient)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID,
                                AudioServerPlugInClientInfo const* inClientInfo);
    OSStatus (*RemoveDeviceClient)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID,
                                   AudioServerPlugInClientInfo const* inClientInfo);
    OSStatus (*PerformDeviceConfigurationChange)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID,
                                                 UInt64 inChangeAction, void* inChangeInfo);
    OSStatus (*AbortDeviceConfigurationChange)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID,
                                               UInt64 inChangeAction, void* inChangeInfo);
    Boolean (*HasProperty)(AudioServerPlugInDriverRef inDriver, AudioObjectID inObjectID, pid_t inClientProcessID,
                           AudioObjectPropertyAddress const* inAddress);
    OSStatus (*IsPropertySettable)(AudioServerPlugInDriverRef inDriver, AudioObjectID inObjectID,
                                   pid_t inClientProcessID, AudioObjectPropertyAddress const* inAddress,
                                   Boolean* outIsSettable);
    OSStatus (*GetPropertyDataSize)(AudioServerPlugInDriverRef inDriver, AudioObjectID inObjectID,
                                    pid_t inClientProcessID, AudioObjectPropertyAddress const* inAddress,
                                    UInt32 inQualifierDataSize, void const* inQualifierData, UInt32* outDataSize);
    OSStatus (*GetPropertyData)(AudioServerPlugInDriverRef inDriver, AudioObjectID inObjectID, pid_t inClientProcessID,
                                AudioObjectPropertyAddress const* inAddress, UInt32 inQualifierDataSize,
                                void const* inQualifierData, UInt32 inDataSize, UInt32* outDataSize, void* outData);
    OSStatus (*SetPropertyData)(AudioServerPlugInDriverRef inDriver, AudioObjectID inObjectID, pid_t inClientProcessID,
                                AudioObjectPropertyAddress const* inAddress, UInt32 inQualifierDataSize,
                                void const* inQualifierData, UInt32 inDataSize, void const* inData);
    OSStatus (*StartIO)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID, UInt32 inClientID);
    OSStatus (*StopIO)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID, UInt32 inClientID);
    OSStatus (*GetZeroTimeStamp)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID, UInt32 inClientID,
                                 Float64* outSampleTime, UInt64* outHostTime, UInt64* outSeed);
    OSStatus (*WillDoIOOperation)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID,
                                  UInt32 inClientID, UInt32 inOperationID, Boolean* outWillDo,
                                  Boolean* outWillDoInPlace);
    OSStatus (*BeginIOOperation)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID, UInt32 inClientID,
                                 UInt32 inOperationID, UInt32 inIOBufferFrameSize,
                                 AudioServerPlugInIOCycleInfo const* inIOCycleInfo);
    OSStatus (*DoIOOperation)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID,
                              AudioObjectID inStreamObjectID, UInt32 inClientID, UInt32 inOperationID,
                              UInt32 inIOBufferFrameSize, AudioServerPlugInIOCycleInfo const* inIOCycleInfo,
                              void* ioMainBuffer, void* ioSecondaryBuffer);
    OSStatus (*EndIOOperation)(AudioServerPlugInDriverRef inDriver, AudioObjectID inDeviceObjectID, UInt32 inClientID,
                               UInt32 inOperationID, UInt32 inIOBufferFrameSize,
                               AudioServerPlugInIOCycleInfo const* inIOCycleInfo);
};
static_assert(sizeof(AudioServerPlugInDriverInterface) == 23 * sizeof(void*)); // the reserved slot and 22 operations
static_assert(sizeof(AudioServerPlugInHostInterface) == 5 * sizeof(void*));
