// The icon file's format: "icns", the file's length, then one entry a picture: its four-character kind, its length with
// these eight bytes, and the picture as PNG. Numbers are big-endian.
#pragma once

#include "driver/bundle/icon/draw_icon.h"

#include <string>

class IconFile {
public:
    // Adds the picture under a kind of four characters; false when it can't be compressed.
    bool Add(char const* szKind, Picture const& oPicture);

    // Writes header and entries; false when the file can't be written whole.
    bool Write(char const* szPath) const;

private:
    std::string lEntries;
};
