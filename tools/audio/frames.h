// The one shape that audio has inside the tools: interleaved stereo 32-bit float, as the device's stream carries it.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t kChannels = 2;
inline constexpr size_t kBytesPerFrame = kChannels * sizeof(float);
inline constexpr double kDeviceRates[] = {44100.0, 48000.0}; // what the device can be set to, in Hz
