// Stands in for <CoreFoundation/CFBase.h> and the base types of <MacTypes.h>: the OS's number types, the reference
// types and what every object answers.
//
// Kept:
// - Ownership: a function with Create or Copy in its name gives the caller one reference, to be ended by CFRelease; one
//   with Get gives none, and what it returns lives as long as what it came from.
// - Threads: CFRetain and CFRelease are atomic, any thread. An immutable object may be read by any number of threads;
//   a mutable one needs its callers' own lock. An object dies on the thread that releases it last.
// - Constants (CFSTR texts, kCFBooleanTrue, the constant UUIDs) may be retained and released like any other and never
//   die; their retain count reads as the largest CFIndex.
// - A null argument is as dangerous as on the OS: CFRetain(NULL), CFRelease(NULL), CFGetTypeID(NULL), CFEqual and
// CFHash
//   with NULL stop the process. CFShow(NULL) prints "(null)".
//
// Differs from the OS:
// - There is one allocator. Every CFAllocatorRef argument takes NULL or kCFAllocatorDefault; the one exception is
//   kCFAllocatorNull where a bytes deallocator is asked for.
// - Running out of memory stops the process.
// - The type numbers returned by ...GetTypeID are this library's own.
#pragma once

#include <cstddef>
#include <cstdint>

typedef unsigned char Boolean;
typedef std::uint8_t UInt8;
typedef std::int8_t SInt8;
typedef std::uint16_t UInt16;
typedef std::int16_t SInt16;
typedef unsigned int UInt32;
typedef signed int SInt32;
typedef unsigned long long UInt64;
typedef signed long long SInt64;
typedef float Float32;
typedef double Float64;
typedef UInt16 UniChar;
typedef UInt32 UTF32Char;
typedef SInt32 OSStatus;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;

static_assert(sizeof(UInt32) == 4 && sizeof(UInt64) == 8 && sizeof(Float32) == 4 && sizeof(Float64) == 8);
// Four-character codes are written as multi-character literals here and above; their first character must be the most
// significant byte.
static_assert('abcd' == 0x61626364 && '!obj' == 0x216F626A);

typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;
typedef signed long CFIndex;
typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime; // seconds since 2001-01-01T00:00:00Z

typedef struct {
    CFIndex location;
    CFIndex length;
} CFRange;

static inline CFRange CFRangeMake(CFIndex nLocation, CFIndex nLength) {
    return CFRange{nLocation, nLength};
}

typedef void const* CFTypeRef;
typedef CFTypeRef CFPropertyListRef;
typedef struct __CFAllocator const* CFAllocatorRef;
typedef struct __CFString const* CFStringRef;
typedef struct __CFString* CFMutableStringRef;
typedef struct __CFNumber const* CFNumberRef;
typedef struct __CFBoolean const* CFBooleanRef;
typedef struct __CFUUID const* CFUUIDRef;
typedef struct __CFData const* CFDataRef;
typedef struct __CFData* CFMutableDataRef;
typedef struct __CFArray const* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;
typedef struct __CFDictionary const* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;
typedef struct __CFDate const* CFDateRef;
typedef struct __CFURL const* CFURLRef;
typedef struct __CFBundle* CFBundleRef;
typedef struct __CFError* CFErrorRef;

typedef CFIndex CFComparisonResult;
enum : CFComparisonResult { kCFCompareLessThan = -1, kCFCompareEqualTo = 0, kCFCompareGreaterThan = 1 };

enum : CFIndex { kCFNotFound = -1 };

extern "C" {

extern CFAllocatorRef const kCFAllocatorDefault; // NULL
extern CFAllocatorRef const kCFAllocatorNull;    // never frees: "these bytes stay mine"

// Any thread; `object` must not be NULL. CFRetain returns its argument. CFRelease frees the object at the last
// reference and then releases whatever it held.
CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);

// The references outstanding at some moment of the call; a diagnostic, never a decision.
CFIndex CFGetRetainCount(CFTypeRef object);

CFTypeID CFGetTypeID(CFTypeRef object);

// By value: same type and same contents (a mutable object equals an immutable one of the same contents). Never equal
// across types, a Boolean and a number included.
Boolean CFEqual(CFTypeRef first, CFTypeRef second);

// Equal objects have equal hashes. Changes with a mutable object's contents.
CFHashCode CFHash(CFTypeRef object);

// A text for people, made anew for the caller. Its form is no contract.
CFStringRef CFCopyDescription(CFTypeRef object);

// The type's name ("CFString"), made anew for the caller; of an unknown number, "CFType".
CFStringRef CFCopyTypeIDDescription(CFTypeID type);

// Prints to standard error, one write for the whole text: a string as its plain text, everything else as its
// description, with a newline. NULL prints "(null)".
void CFShow(CFTypeRef object);

} // extern "C"
