// A thread's call stack as text.
#pragma once

#include "base/string_long.h"

#include <cstdint>

// One thread at a time.
class LStackWalker {
public:
    LStackWalker() noexcept = default;                                                     // writes every frame
    explicit LStackWalker(std::uint64_t nMostFrames) noexcept : nMaxFrames(nMostFrames) {} // 0: every frame

    // Replaces the text by the calling thread's frames, innermost first, one a line, without this function's own and
    // those of the logging code right above it (lines with "LDebug" or "Log"). With the banner, the thread's name or
    // number is above them and an end mark below. The other two arguments are not used. False, with an empty text, when
    // the stack can't be had.
    bool GetCallStackString(LStringLongTemplate<char>& szOut, unsigned int nUnused, void* pUnused,
                            bool bWithBanner) noexcept;

private:
    std::uint64_t nMaxFrames = 0;
};
