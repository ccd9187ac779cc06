// Stands in for <Foundation/NSThread.h>: the calls that led the calling thread to where it is.
//
// Kept: one line a frame, the caller's own first: its number, the image's file name, the address, and the symbol with
// the distance from its start, as in "1   platform                            0x00007f2a4c0135e2 Run(int) + 34". Where
// an image has no symbol, its own address takes the symbol's place. Differs from the OS:
// - The array is the caller's own reference, as of <Foundation/NSURL.h>.
// - Names of C++ are written as in its source. Symbols are those of an image's symbol table, or where it was stripped
//   those that it exports.
// - At most 512 frames.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/NSObject.h>

// Any thread.
class NSThread : public NSObject {
public:
    static CFArrayRef callStackSymbols(); // of CFStringRef
};
