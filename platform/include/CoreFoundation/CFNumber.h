// Stands in for <CoreFoundation/CFNumber.h>: numbers and the two Booleans.
//
// Kept: a number is stored as a 64-bit integer or as a float or double and remembers the type it was made with, except
// that, as on the OS, an integer reads back as one of the sized types; numbers of equal value are equal and hash alike
// whatever their types; a lossy conversion still stores its result and answers false.
//
// Differs from the OS: small integers are not shared objects; a NaN equals itself and compares below every other
// number.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef CFIndex CFNumberType;
enum : CFNumberType {
    kCFNumberSInt8Type = 1,
    kCFNumberSInt16Type = 2,
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6,
    kCFNumberCharType = 7,
    kCFNumberShortType = 8,
    kCFNumberIntType = 9,
    kCFNumberLongType = 10,
    kCFNumberLongLongType = 11,
    kCFNumberFloatType = 12,
    kCFNumberDoubleType = 13,
    kCFNumberCFIndexType = 14,
    kCFNumberNSIntegerType = 15,
    kCFNumberCGFloatType = 16,
};

extern "C" {

extern CFBooleanRef const kCFBooleanTrue;
extern CFBooleanRef const kCFBooleanFalse;
extern CFNumberRef const kCFNumberPositiveInfinity;
extern CFNumberRef const kCFNumberNegativeInfinity;
extern CFNumberRef const kCFNumberNaN;

CFTypeID CFBooleanGetTypeID();
Boolean CFBooleanGetValue(CFBooleanRef value);

CFTypeID CFNumberGetTypeID();
// Copies the value at `value`, which is of the C type that `type` names. NULL for a type that does not exist.
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, void const* value);
CFNumberType CFNumberGetType(CFNumberRef number);
CFIndex CFNumberGetByteSize(CFNumberRef number);
Boolean CFNumberIsFloatType(CFNumberRef number);
// Stores the number as the C type that `type` names. False when the stored value is not the number's exactly: an
// integer out of range keeps its low bits, a float out of an integer's range stores the nearest limit (0 for a NaN).
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);
// `context` is not used.
CFComparisonResult CFNumberCompare(CFNumberRef first, CFNumberRef second, void* context);

} // extern "C"
