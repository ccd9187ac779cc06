// Stands in for <CoreFoundation/CFDictionary.h>: values by key.
//
// Kept: the callbacks are copied at creation; NULL ones hold, compare and hash plain pointers. Add leaves a present
// key's value, Replace touches only a present key, Set does either. When a value is replaced the key object stays.
// Differs from the OS: keys come in the order in which they were added, which is stable; a capacity is a hint.
#pragma once

#include <CoreFoundation/CFBase.h>

typedef void const* (*CFDictionaryRetainCallBack)(CFAllocatorRef allocator, void const* value);
typedef void (*CFDictionaryReleaseCallBack)(CFAllocatorRef allocator, void const* value);
typedef CFStringRef (*CFDictionaryCopyDescriptionCallBack)(void const* value);
typedef Boolean (*CFDictionaryEqualCallBack)(void const* first, void const* second);
typedef CFHashCode (*CFDictionaryHashCallBack)(void const* value);
typedef void (*CFDictionaryApplierFunction)(void const* key, void const* value, void* context);

typedef struct {
    CFIndex version; // 0
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;
    CFDictionaryEqualCallBack equal;
    CFDictionaryHashCallBack hash;
} CFDictionaryKeyCallBacks;

typedef struct {
    CFIndex version; // 0
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;
    CFDictionaryEqualCallBack equal;
} CFDictionaryValueCallBacks;

extern "C" {

extern CFDictionaryKeyCallBacks const kCFTypeDictionaryKeyCallBacks;
extern CFDictionaryKeyCallBacks const kCFCopyStringDictionaryKeyCallBacks; // copies its string keys
extern CFDictionaryValueCallBacks const kCFTypeDictionaryValueCallBacks;

CFTypeID CFDictionaryGetTypeID();
// Of equal keys the first wins.
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, void const** keys, void const** values, CFIndex nCount,
                                   CFDictionaryKeyCallBacks const* keyCallBacks,
                                   CFDictionaryValueCallBacks const* valueCallBacks);
CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef allocator, CFDictionaryRef dictionary);
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex nCapacity,
                                                 CFDictionaryKeyCallBacks const* keyCallBacks,
                                                 CFDictionaryValueCallBacks const* valueCallBacks);
CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef allocator, CFIndex nCapacity,
                                                     CFDictionaryRef dictionary);

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, void const* key);
Boolean CFDictionaryContainsValue(CFDictionaryRef dictionary, void const* value); // looks at every value
// Not retained for the caller; NULL when absent.
void const* CFDictionaryGetValue(CFDictionaryRef dictionary, void const* key);
// Tells an absent key from a NULL value; `value` may be NULL.
Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, void const* key, void const** value);
// Either array may be NULL; each holds at least the count.
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, void const** keys, void const** values);
// `applier` must not change the dictionary.
void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier, void* context);

void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, void const* key, void const* value);
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, void const* key, void const* value);
void CFDictionaryReplaceValue(CFMutableDictionaryRef dictionary, void const* key, void const* value);
void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, void const* key);
void CFDictionaryRemoveAllValues(CFMutableDictionaryRef dictionary);

} // extern "C"
