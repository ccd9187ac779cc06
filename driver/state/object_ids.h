// The driver's fixed object tree, and the numbers that several of its objects share. No object is ever created or
// destroyed; 0, 4 to 7 and 13 upward name none.
#pragma once

#include <CoreAudio/AudioServerPlugIn.h>

constexpr AudioObjectID kVADObject_PlugIn = 1;
constexpr AudioObjectID kVADObject_Box = 2;
constexpr AudioObjectID kVADObject_Device = 3;
constexpr AudioObjectID kVADObject_OutputStream = 8;
constexpr AudioObjectID kVADObject_OutputVolume = 9;
constexpr AudioObjectID kVADObject_OutputMute = 10;
constexpr AudioObjectID kVADObject_OutputDataSource = 11;
constexpr AudioObjectID kVADObject_OutputDataDestination = 12;
constexpr AudioObjectID kVADObject_Last = kVADObject_OutputDataDestination;

// The nominal sample rates, in Hz. The device starts with the first, and lists no other as available.
constexpr Float64 kVADSampleRate = 44100.0;
constexpr Float64 kVADOtherSampleRate = 48000.0;

// The device clock's period: a zero time stamp every so many frames.
constexpr UInt32 kVADRingBufferFrames = 16384;

// Bytes of one frame of the output stream: two interleaved Float32.
constexpr UInt32 kVADBytesPerFrame = 8;

// The data source and data destination controls offer the items 0 to this one.
constexpr UInt32 kVADLastSelectorItem = 3;

// The plug-in's own property: a string to read, any property list to set, with a property list as qualifier.
constexpr AudioObjectPropertySelector kVADCustomProperty = 'PCst';
