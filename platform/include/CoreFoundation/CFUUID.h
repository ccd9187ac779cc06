// Stands in for <CoreFoundation/CFUUID.h>.
//
// Kept: sixteen bytes in the order they are written; a constant UUID is one object a value, never freed.
// Differs from the OS: equal UUIDs made by the Create functions are separate objects (compare with CFEqual).
#pragma once

#include <CoreFoundation/CFBase.h>

typedef struct {
    UInt8 byte0, byte1, byte2, byte3, byte4, byte5, byte6, byte7;
    UInt8 byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15;
} CFUUIDBytes;
static_assert(sizeof(CFUUIDBytes) == 16);

extern "C" {

CFTypeID CFUUIDGetTypeID();
// A new random UUID (version 4).
CFUUIDRef CFUUIDCreate(CFAllocatorRef allocator);
CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef allocator, CFUUIDBytes bytes);
// "443ABAB8-E7B3-491A-B985-BEB9187030DB", either case, in braces or not; NULL when it is anything else.
CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef allocator, CFStringRef text);
// In upper case, 36 characters.
CFStringRef CFUUIDCreateString(CFAllocatorRef allocator, CFUUIDRef uuid);
CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid);
// The one constant of this value; takes a lock. Not to be released (harmless if it is).
CFUUIDRef CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef allocator, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3,
                                         UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8, UInt8 byte9,
                                         UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13, UInt8 byte14,
                                         UInt8 byte15);

} // extern "C"
