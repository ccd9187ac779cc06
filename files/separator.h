// What separates the parts of a path: both slashes everywhere, so that paths written in either style are understood.
#pragma once

#include <cstddef>

constexpr bool LIsPathSeparator(char c) noexcept {
    return c == '/' || c == '\\';
}

// Where the last part of a path begins: behind the last separator, 0 without one.
constexpr std::size_t LLastPartOfPath(char const* szPath, std::size_t nLength) noexcept {
    while (nLength != 0 && !LIsPathSeparator(szPath[nLength - 1]))
        --nLength;
    return nLength;
}
