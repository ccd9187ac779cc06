// Stands in for <CoreAudioTypes/CoreAudioTypes.h>: the layouts in which audio is described, by value in buffers that
// two parties share.
//
// Kept: field order, sizes and constants. Rates are in Hz, a stream's sizes in bytes, coordinates in no unit.
// Differs from the OS: only the formats, tags and labels of a stereo linear PCM device are named.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <cstddef>

typedef struct AudioValueRange {
    Float64 mMinimum;
    Float64 mMaximum;
} AudioValueRange;
static_assert(sizeof(AudioValueRange) == 16);

typedef UInt32 AudioFormatID;
typedef UInt32 AudioFormatFlags;

enum : AudioFormatID { kAudioFormatLinearPCM = 'lpcm' };

enum : AudioFormatFlags {
    kAudioFormatFlagIsFloat = 1U << 0,
    kAudioFormatFlagIsBigEndian = 1U << 1,
    kAudioFormatFlagIsSignedInteger = 1U << 2,
    kAudioFormatFlagIsPacked = 1U << 3,
    kAudioFormatFlagIsNonInterleaved = 1U << 5,
    kAudioFormatFlagsNativeEndian = 0,
    kAudioFormatFlagsNativeFloatPacked =
        kAudioFormatFlagIsFloat | kAudioFormatFlagsNativeEndian | kAudioFormatFlagIsPacked,
};

// A packet of linear PCM is one frame; a frame is one sample of every channel.
typedef struct AudioStreamBasicDescription {
    Float64 mSampleRate;
    AudioFormatID mFormatID;
    AudioFormatFlags mFormatFlags;
    UInt32 mBytesPerPacket;
    UInt32 mFramesPerPacket;
    UInt32 mBytesPerFrame;
    UInt32 mChannelsPerFrame;
    UInt32 mBitsPerChannel;
    UInt32 mReserved;
} AudioStreamBasicDescription;
static_assert(sizeof(AudioStreamBasicDescription) == 40 && offsetof(AudioStreamBasicDescription, mReserved) == 36);

typedef UInt32 AudioChannelLabel;
typedef UInt32 AudioChannelLayoutTag;
typedef UInt32 AudioChannelBitmap;
typedef UInt32 AudioChannelFlags;

enum : AudioChannelLabel {
    kAudioChannelLabel_Unknown = 0xFFFFFFFF,
    kAudioChannelLabel_Left = 1,
    kAudioChannelLabel_Right = 2,
};
enum : AudioChannelLayoutTag { kAudioChannelLayoutTag_UseChannelDescriptions = 0 };
enum : AudioChannelFlags { kAudioChannelFlags_AllOff = 0 };

typedef struct AudioChannelDescription {
    AudioChannelLabel mChannelLabel;
    AudioChannelFlags mChannelFlags;
    Float32 mCoordinates[3];
} AudioChannelDescription;
static_assert(sizeof(AudioChannelDescription) == 20);

// As many descriptions as mNumberChannelDescriptions says follow, so a layout of n of them takes 12 + 20 n bytes.
typedef struct AudioChannelLayout {
    AudioChannelLayoutTag mChannelLayoutTag;
    AudioChannelBitmap mChannelBitmap;
    UInt32 mNumberChannelDescriptions;
    AudioChannelDescription mChannelDescriptions[1];
} AudioChannelLayout;
static_assert(offsetof(AudioChannelLayout, mChannelDescriptions) == 12);
static_assert(offsetof(AudioChannelLayout, mChannelDescriptions) + 2 * sizeof(AudioChannelDescription) == 52);

typedef struct SMPTETime {
    SInt16 mSubframes;
    SInt16 mSubframeDivisor;
    UInt32 mCounter;
    UInt32 mType;
    UInt32 mFlags;
    SInt16 mHours;
    SInt16 mMinutes;
    SInt16 mSeconds;
    SInt16 mFrames;
} SMPTETime;
static_assert(sizeof(SMPTETime) == 24);

typedef UInt32 AudioTimeStampFlags;
enum : AudioTimeStampFlags {
    kAudioTimeStampNothingValid = 0,
    kAudioTimeStampSampleTimeValid = 1U << 0,
    kAudioTimeStampHostTimeValid = 1U << 1,
    kAudioTimeStampRateScalarValid = 1U << 2,
    kAudioTimeStampSampleHostTimeValid = kAudioTimeStampSampleTimeValid | kAudioTimeStampHostTimeValid,
};

// One instant on two clocks: the device's, in frames, and the host's, in mach_absolute_time ticks.
typedef struct AudioTimeStamp {
    Float64 mSampleTime;
    UInt64 mHostTime;
    Float64 mRateScalar; // host ticks a frame, actual over nominal
    UInt64 mWordClockTime;
    SMPTETime mSMPTETime;
    AudioTimeStampFlags mFlags; // which of the fields mean something
    UInt32 mReserved;
} AudioTimeStamp;
static_assert(sizeof(AudioTimeStamp) == 64 && offsetof(AudioTimeStamp, mFlags) == 56);
