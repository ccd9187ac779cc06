// Stands in for <CoreFoundation/CFData.h>: bytes.
//
// Kept: the byte pointer lives until the object dies or, of a mutable one, is changed.
// Differs from the OS: CFDataCreateWithBytesNoCopy takes kCFAllocatorNull only (the bytes stay the caller's and must
// outlive the object); any other deallocator gives NULL.
#pragma once

#include <CoreFoundation/CFBase.h>

extern "C" {

CFTypeID CFDataGetTypeID();
CFDataRef CFDataCreate(CFAllocatorRef allocator, UInt8 const* bytes, CFIndex nLength);
CFDataRef CFDataCreateWithBytesNoCopy(CFAllocatorRef allocator, UInt8 const* bytes, CFIndex nLength,
                                      CFAllocatorRef bytesDeallocator);
CFDataRef CFDataCreateCopy(CFAllocatorRef allocator, CFDataRef data);
CFMutableDataRef CFDataCreateMutable(CFAllocatorRef allocator, CFIndex nCapacity);
CFMutableDataRef CFDataCreateMutableCopy(CFAllocatorRef allocator, CFIndex nCapacity, CFDataRef data);
CFIndex CFDataGetLength(CFDataRef data);
UInt8 const* CFDataGetBytePtr(CFDataRef data);
UInt8* CFDataGetMutableBytePtr(CFMutableDataRef data);
// A range past the end stops the process.
void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer);
void CFDataSetLength(CFMutableDataRef data, CFIndex nLength); // new bytes are 0
void CFDataAppendBytes(CFMutableDataRef data, UInt8 const* bytes, CFIndex nLength);

} // extern "C"
