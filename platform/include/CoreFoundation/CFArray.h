// Stands in for <CoreFoundation/CFArray.h>: values in order.
//
// Kept: the callbacks are copied at creation and decide how values are held, compared and described; NULL callbacks
// hold plain pointers. kCFTypeArrayCallBacks retains. An index past the end stops the process. Differs from the OS: a
// capacity is a hint, never a limit.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef void const* (*CFArrayRetainCallBack)(CFAllocatorRef allocator, void const* value);
typedef void (*CFArrayReleaseCallBack)(CFAllocatorRef allocator, void const* value);
typedef CFStringRef (*CFArrayCopyDescriptionCallBack)(void const* value);
typedef Boolean (*CFArrayEqualCallBack)(void const* first, void const* second);
typedef CFComparisonResult (*CFComparatorFunction)(void const* first, void const* second, void* context);

typedef struct {
    CFIndex version; // 0
    CFArrayRetainCallBack retain;
    CFArrayReleaseCallBack release;
    CFArrayCopyDescriptionCallBack copyDescription;
    CFArrayEqualCallBack equal;
} CFArrayCallBacks;

extern "C" {

extern CFArrayCallBacks const kCFTypeArrayCallBacks;

CFTypeID CFArrayGetTypeID();
CFArrayRef CFArrayCreate(CFAllocatorRef allocator, void const** values, CFIndex nCount,
                         CFArrayCallBacks const* callBacks);
CFArrayRef CFArrayCreateCopy(CFAllocatorRef allocator, CFArrayRef array);
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex nCapacity, CFArrayCallBacks const* callBacks);
CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef allocator, CFIndex nCapacity, CFArrayRef array);

CFIndex CFArrayGetCount(CFArrayRef array);
void const* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex nIndex); // not retained for the caller
void CFArrayGetValues(CFArrayRef array, CFRange range, void const** values);
Boolean CFArrayContainsValue(CFArrayRef array, CFRange range, void const* value);
CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef array, CFRange range, void const* value); // kCFNotFound when absent

void CFArrayAppendValue(CFMutableArrayRef array, void const* value);
void CFArrayAppendArray(CFMutableArrayRef array, CFArrayRef other, CFRange rangeOfOther);
void CFArrayInsertValueAtIndex(CFMutableArrayRef array, CFIndex nIndex, void const* value);
void CFArraySetValueAtIndex(CFMutableArrayRef array, CFIndex nIndex, void const* value); // at the count: appends
void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex nIndex);
void CFArrayRemoveAllValues(CFMutableArrayRef array);
void CFArraySortValues(CFMutableArrayRef array, CFRange range, CFComparatorFunction comparator, void* context);

} // extern "C"
