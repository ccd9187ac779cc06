// Stands in for <CoreFoundation/CFPropertyList.h>: strings, numbers, Booleans, dates, data, arrays and dictionaries
// with string keys, as a text to keep.
//
// Kept: XML version 1.0 lists are read and written; what is written is read by any reader of that format. Written bytes
// depend on the contents alone: tab-indented, dictionary keys in order of their UTF-16 units.
//
// Differs from the OS:
// - XML only, in UTF-8 (with or without a byte-order mark). Binary and old-style lists and every other encoding are
//   refused with NULL; writing another format than XML gives NULL.
// - No CFErrorRef is ever made: when a call fails, `error` (when not NULL) receives NULL.
// - Limits: 512 levels of nesting, and the integers of 64 bits, signed; a list past them is refused. The document type
//   is skipped and never fetched; entities are the five of XML and character numbers.
// - Dates are whole seconds, years 1 to 9999.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFDate.h>

typedef CFIndex CFPropertyListFormat;
enum : CFPropertyListFormat {
    kCFPropertyListOpenStepFormat = 1,
    kCFPropertyListXMLFormat_v1_0 = 100,
    kCFPropertyListBinaryFormat_v1_0 = 200,
};

typedef CFOptionFlags CFPropertyListMutabilityOptions;
enum : CFPropertyListMutabilityOptions {
    kCFPropertyListImmutable = 0,
    kCFPropertyListMutableContainers = 1,
    kCFPropertyListMutableContainersAndLeaves = 2,
};

extern "C" {

// The list in `data`, one reference for the caller; NULL when it is not one. Hostile bytes cost memory in
// proportion to their number and do no harm. `format` and `error` may be NULL.
CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef allocator, CFDataRef data,
                                               CFPropertyListMutabilityOptions options, CFPropertyListFormat* format,
                                               CFErrorRef* error);
// The bytes of `list`; NULL when it holds something that a list can't (see CFPropertyListIsValid) or for another format
// than XML. `options` must be 0.
CFDataRef CFPropertyListCreateData(CFAllocatorRef allocator, CFPropertyListRef list, CFPropertyListFormat format,
                                   CFOptionFlags options, CFErrorRef* error);
// A copy all the way down, containers and leaves mutable as `options` says; NULL for what a list can't hold.
CFPropertyListRef CFPropertyListCreateDeepCopy(CFAllocatorRef allocator, CFPropertyListRef list, CFOptionFlags options);
// Whether it could be written: the types above only, keys all strings, no cycle, nesting within the limit.
Boolean CFPropertyListIsValid(CFPropertyListRef list, CFPropertyListFormat format);

} // extern "C"
