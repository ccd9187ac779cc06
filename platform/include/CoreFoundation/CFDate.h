// Stands in for <CoreFoundation/CFDate.h>: an instant, in seconds since 2001-01-01T00:00:00Z.
//
// Differs from the OS: nothing that is declared here.
#pragma once

#include <CoreFoundation/CFBase.h>

extern "C" {

extern CFTimeInterval const kCFAbsoluteTimeIntervalSince1970; // 978307200.0

CFAbsoluteTime CFAbsoluteTimeGetCurrent(); // the wall clock
CFTypeID CFDateGetTypeID();
CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime at);
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date);
// `context` is not used.
CFComparisonResult CFDateCompare(CFDateRef first, CFDateRef second, void* context);

} // extern "C"
