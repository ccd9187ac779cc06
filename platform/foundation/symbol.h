// What a code address belongs to. Any thread.
#pragma once

#include <cstdint>
#include <string>

struct Symbol {
    std::string szImage;        // the image's file name, "???" for code of none
    std::string szName;         // as in the source; the image's address where it has no symbol
    std::uintptr_t nOffset = 0; // of the address, from the symbol's or the image's start
};

// `nAddress` is where a call returns to.
Symbol SymbolOf(std::uintptr_t nAddress);
