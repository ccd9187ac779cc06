// Stands in for <CoreFoundation/CFURL.h> and the file half of <CoreFoundation/CFURLAccess.h>: URLs, mostly of files.
//
// Kept: a file URL is "file://" and the percent-escaped absolute path; the path of a directory ends in "/"; a relative
// path is taken from the working directory at creation (or from the base URL); the host of a file URL is not looked at.
//
// Differs from the OS:
// - Path styles: kCFURLPOSIXPathStyle only; another gives NULL.
// - A URL is resolved when it is made: CFURLCopyAbsoluteURL gives the same URL, CFURLGetBaseURL is always NULL.
// - CFURLCreateWithString takes what the base URL and the text together make absolute, and gives NULL when a character
//   that a URL can't hold (a blank, a control character, a "%" without two hex digits) is in the text.
// - Bytes of a path that are not UTF-8 are escaped as they are; CFURLCopyFileSystemPath gives NULL for those, and
//   CFURLGetFileSystemRepresentation gives the bytes.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>

typedef CFIndex CFURLPathStyle;
enum : CFURLPathStyle { kCFURLPOSIXPathStyle = 0, kCFURLHFSPathStyle = 1, kCFURLWindowsPathStyle = 2 };

extern "C" {

CFTypeID CFURLGetTypeID();
// NULL when `text` makes no absolute URL, alone or with `base` (may be NULL).
CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef text, CFURLRef base);
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path, CFURLPathStyle style,
                                       Boolean bIsDirectory);
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, UInt8 const* path, CFIndex nByteCount,
                                                 Boolean bIsDirectory);
CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url, CFStringRef component,
                                               Boolean bIsDirectory);
CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator, CFURLRef url);
CFURLRef CFURLCopyAbsoluteURL(CFURLRef url);

CFStringRef CFURLGetString(CFURLRef url);    // the whole, escaped; lives as long as the URL
CFURLRef CFURLGetBaseURL(CFURLRef url);      // NULL
CFStringRef CFURLCopyScheme(CFURLRef url);   // "file"
CFStringRef CFURLCopyHostName(CFURLRef url); // NULL when empty
CFStringRef CFURLCopyPath(CFURLRef url);     // escaped, with a directory's trailing "/"; NULL when it has none
CFStringRef CFURLCopyQueryString(CFURLRef url, CFStringRef charactersToLeaveEscaped); // NULL when it has none
// Unescaped, without a directory's trailing "/" ("/" itself stays).
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);
CFStringRef CFURLCopyLastPathComponent(CFURLRef url); // unescaped; "/" for the root, "" for none
CFStringRef CFURLCopyPathExtension(CFURLRef url);     // without the "."; NULL when there is none
Boolean CFURLHasDirectoryPath(CFURLRef url);
// The path's bytes and a NUL into `nBufferSize` bytes; false when it is no file URL or does not fit.
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean bResolveAgainstBase, UInt8* buffer, CFIndex nBufferSize);

// Escapes what a URL can't hold, except the characters of `charactersToLeaveUnescaped`, and besides it those of
// `legalCharactersToEscape` (either may be NULL), as bytes of `encoding`, which must be UTF-8.
CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef allocator, CFStringRef text,
                                                    CFStringRef charactersToLeaveUnescaped,
                                                    CFStringRef legalCharactersToEscape, CFStringEncoding encoding);
// Replaces every escape, except (when not NULL) those of the characters of `charactersToLeaveEscaped`. NULL when an
// escape is malformed or the bytes are not UTF-8.
CFStringRef CFURLCreateStringByReplacingPercentEscapes(CFAllocatorRef allocator, CFStringRef text,
                                                       CFStringRef charactersToLeaveEscaped);

// The whole file of a file URL, for the caller, through `data`. False, and an errno number through `errorCode` (may be
// NULL), when it can't be read: ENOTSUP for what is no file, EFBIG past 256 MiB. `properties` and `desiredProperties`
// must be NULL.
Boolean CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef allocator, CFURLRef url, CFDataRef* data,
                                                 CFDictionaryRef* properties, CFArrayRef desiredProperties,
                                                 SInt32* errorCode);
// Replaces the file of a file URL by `data`, whole or not at all; what is no file stays (ENOTSUP). `properties` must be
// NULL.
Boolean CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef data, CFDictionaryRef properties,
                                              SInt32* errorCode);

} // extern "C"
