// The device's picture: a level meter that glows, on a night-blue tile.
#pragma once

#include <cstdint>
#include <vector>

// A square of nSize × nSize pixels, rows from the top, four bytes each: red, green, blue, alpha (not premultiplied).
struct Picture {
    int nSize;
    std::vector<uint8_t> lPixels;
};

// Drawn anew for every size from the same shapes, so that edges are crisp at each.
Picture DrawIcon(int nSize);
