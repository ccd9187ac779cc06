// The device's one stream format: interleaved stereo Float32 in native byte order, at one of two rates.
#pragma once

#include <CoreAudio/AudioServerPlugIn.h>

// The format at nSampleRate (Hz). The reserved field is 0 here, and no part of the format.
AudioStreamBasicDescription LVADStreamFormat(Float64 nSampleRate);

// Every field but rate and reserved one is the device's.
bool LVADIsStreamFormat(AudioStreamBasicDescription const& oFormat);

// Exactly one of the two rates (Hz); a NaN is neither.
bool LVADIsSampleRate(Float64 nSampleRate);
