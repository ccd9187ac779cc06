// Brings a source to another sample rate with libsamplerate's best converter.
#pragma once

#include "tools/audio/audio_source.h"

// The same audio at `nRate` Hz. A source that has that rate already is returned untouched, so that its samples stay
// what they are. Throws Failure(Input) for rates further apart than 1 : 256.
std::unique_ptr<AudioSource> ConvertRate(std::unique_ptr<AudioSource> pSource, double nRate);

// The rate to set the device to for a first source of `nSourceRate` Hz: its own where the device has it, else the one
// of the same family (22050 and 88200 go to 44100), else 48000.
double DeviceRateFor(double nSourceRate);
