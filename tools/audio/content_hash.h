// A running hash of stereo frames: equal frames, equal hash, however they were cut into blocks.
#pragma once

#include "tools/audio/frames.h"

#include <bit>
#include <cstring>

// One multiplication a frame, so that the IO thread can afford it. It tells recordings apart that differ by accident;
// it is no defence against one made to collide.
class ContentHash {
public:
    void Add(float const* pFrames, size_t nFrames) noexcept {
        for (size_t n = 0; n < nFrames; ++n) {
            uint64_t nFrame = 0;
            static_assert(sizeof nFrame == kBytesPerFrame);
            std::memcpy(&nFrame, pFrames + n * kChannels, sizeof nFrame);
            nHash = (std::rotl(nHash, 23) ^ nFrame) * 0x9e3779b97f4a7c15u;
        }
    }
    uint64_t Value() const noexcept { return nHash; }

private:
    uint64_t nHash = 0x243f6a8885a308d3u;
};
