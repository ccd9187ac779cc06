// The volume control's curve: decibels rise with the square of the scalar, -96 dB at 0.0, +6 dB at 1.0, 0 dB at about
// 0.97. All in single precision, every step rounded. Pure; any thread.
#pragma once

#include <CoreAudio/AudioServerPlugIn.h>

constexpr Float32 kVADMinDecibels = -96.0f;
constexpr Float32 kVADMaxDecibels = 6.0f;

// What is out of range goes to the nearer end of [0.0, 1.0] or [-96.0, 6.0]. A NaN, which is near neither, goes to the
// lower one: of all answers silence is the one that can't hurt.
Float32 LVADClampScalar(Float32 nScalar);

// Clamped first, likewise; the results are always in range.
Float32 LVADScalarToDecibels(Float32 nScalar);
Float32 LVADDecibelsToScalar(Float32 nDecibels);
