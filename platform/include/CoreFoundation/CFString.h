// Stands in for <CoreFoundation/CFString.h>: text as a sequence of UTF-16 units.
//
// Kept: lengths, indices and ranges count UTF-16 units; constant strings; the comparison results; the rule that a
// conversion fails (null or false) and leaves nothing half done when the bytes or the target encoding can't hold it.
//
// Differs from the OS:
// - Encodings: UTF-8, UTF-16 (both byte orders), UTF-32 (both), ASCII, ISO Latin 1, MacRoman, Windows Latin 1, and what
//   CFStringConvertWindowsCodepageToEncoding names and the C library converts. An unknown encoding fails the call.
// - Comparison is by code unit, with simple one-to-one case folding under kCFCompareCaseInsensitive (no "ß" as "ss");
//   kCFCompareNonliteral, kCFCompareLocalized and kCFCompareNumerically's locale are not looked at, canonically
//   equivalent forms differ. kCFCompareNumerically compares runs of ASCII digits by value.
// - CFStringGetCStringPtr and CFStringGetCharactersPtr may answer NULL at any time, as on the OS; here the first
// answers
//   for ASCII texts, the second always NULL.
// - CFStringCreateWithFormat takes the printf conversions, %@ and positional arguments (%1$@); no locale is applied,
//   and %n is refused (it prints nothing and stores nothing).
#pragma once

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFData.h>

#include <cstdarg>

typedef UInt32 CFStringEncoding;
enum : CFStringEncoding {
    kCFStringEncodingInvalidId = 0xFFFFFFFFU,
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingWindowsLatin1 = 0x0500,
    kCFStringEncodingISOLatin1 = 0x0201,
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingUnicode = 0x0100,
    kCFStringEncodingUTF8 = 0x08000100,
    kCFStringEncodingUTF16 = 0x0100, // host order when writing; a byte-order mark is obeyed when reading
    kCFStringEncodingUTF16BE = 0x10000100,
    kCFStringEncodingUTF16LE = 0x14000100,
    kCFStringEncodingUTF32 = 0x0c000100,
    kCFStringEncodingUTF32BE = 0x18000100,
    kCFStringEncodingUTF32LE = 0x1c000100,
};

typedef CFOptionFlags CFStringCompareFlags;
enum : CFStringCompareFlags {
    kCFCompareCaseInsensitive = 1,
    kCFCompareBackwards = 4,
    kCFCompareAnchored = 8,
    kCFCompareNonliteral = 16,
    kCFCompareLocalized = 32,
    kCFCompareNumerically = 64,
};

extern "C" {

// What CFSTR stands on: the constant string of these bytes (UTF-8), one object for equal texts, never freed. Takes a
// lock; CFSTR calls it once a use site.
CFStringRef __CFStringMakeConstantString(char const* szText);

CFTypeID CFStringGetTypeID();

// Makers; each gives one reference, or NULL when the bytes are not valid in the encoding.
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, char const* szText, CFStringEncoding encoding);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, UInt8 const* bytes, CFIndex nByteCount,
                                    CFStringEncoding encoding, Boolean bIsExternalRepresentation);
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, UniChar const* characters, CFIndex nLength);
CFStringRef CFStringCreateWithSubstring(CFAllocatorRef allocator, CFStringRef text, CFRange range);
CFStringRef CFStringCreateCopy(CFAllocatorRef allocator, CFStringRef text);
CFStringRef CFStringCreateFromExternalRepresentation(CFAllocatorRef allocator, CFDataRef data,
                                                     CFStringEncoding encoding);
// `options` is not looked at. %s is read as UTF-8, as is the format's own text.
CFStringRef CFStringCreateWithFormat(CFAllocatorRef allocator, CFDictionaryRef options, CFStringRef format, ...);
CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef allocator, CFDictionaryRef options, CFStringRef format,
                                                 va_list arguments);
// The elements, which must be strings, with `separator` between them.
CFStringRef CFStringCreateByCombiningStrings(CFAllocatorRef allocator, CFArrayRef strings, CFStringRef separator);
// The texts between occurrences of `separator`, empty ones included; one element when there is none.
CFArrayRef CFStringCreateArrayBySeparatingStrings(CFAllocatorRef allocator, CFStringRef text, CFStringRef separator);

// `nMaxLength` is a hint; 0 for no limit.
CFMutableStringRef CFStringCreateMutable(CFAllocatorRef allocator, CFIndex nMaxLength);
CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef allocator, CFIndex nMaxLength, CFStringRef text);
void CFStringAppend(CFMutableStringRef text, CFStringRef more);
void CFStringAppendCString(CFMutableStringRef text, char const* szMore, CFStringEncoding encoding);
void CFStringAppendCharacters(CFMutableStringRef text, UniChar const* characters, CFIndex nLength);
void CFStringAppendFormat(CFMutableStringRef text, CFDictionaryRef options, CFStringRef format, ...);
void CFStringReplace(CFMutableStringRef text, CFRange range, CFStringRef replacement);
void CFStringReplaceAll(CFMutableStringRef text, CFStringRef replacement);
void CFStringDelete(CFMutableStringRef text, CFRange range);
void CFStringLowercase(CFMutableStringRef text, void const* locale); // the locale must be NULL
void CFStringUppercase(CFMutableStringRef text, void const* locale);

// In UTF-16 units. An index or range past the end stops the process.
CFIndex CFStringGetLength(CFStringRef text);
UniChar CFStringGetCharacterAtIndex(CFStringRef text, CFIndex nIndex);
void CFStringGetCharacters(CFStringRef text, CFRange range, UniChar* buffer);
UniChar const* CFStringGetCharactersPtr(CFStringRef text);

// The text and a NUL into `nBufferSize` bytes. False, with an empty text in the buffer (when it has a byte), when it
// does not fit or can't be had in that encoding.
Boolean CFStringGetCString(CFStringRef text, char* buffer, CFIndex nBufferSize, CFStringEncoding encoding);
char const* CFStringGetCStringPtr(CFStringRef text, CFStringEncoding encoding);

// Converts as much of `range` as fits in `nMaxBytes`, never part of a character; `buffer` may be NULL to count.
// Returns the UTF-16 units converted, and through `usedBytes` (may be NULL) the bytes. A character that the encoding
// lacks becomes `lossByte`, or ends the conversion when that is 0.
CFIndex CFStringGetBytes(CFStringRef text, CFRange range, CFStringEncoding encoding, UInt8 lossByte,
                         Boolean bIsExternalRepresentation, UInt8* buffer, CFIndex nMaxBytes, CFIndex* usedBytes);
CFDataRef CFStringCreateExternalRepresentation(CFAllocatorRef allocator, CFStringRef text, CFStringEncoding encoding,
                                               UInt8 lossByte);
// The most bytes that so many UTF-16 units can take, without a NUL; kCFNotFound when that is past the largest CFIndex.
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex nLength, CFStringEncoding encoding);

CFComparisonResult CFStringCompare(CFStringRef first, CFStringRef second, CFStringCompareFlags options);
CFComparisonResult CFStringCompareWithOptions(CFStringRef first, CFStringRef second, CFRange rangeOfFirst,
                                              CFStringCompareFlags options);
// Where `wanted` is in `text`: the first place, or with kCFCompareBackwards the last; {kCFNotFound, 0} when nowhere.
CFRange CFStringFind(CFStringRef text, CFStringRef wanted, CFStringCompareFlags options);
Boolean CFStringHasPrefix(CFStringRef text, CFStringRef prefix);
Boolean CFStringHasSuffix(CFStringRef text, CFStringRef suffix);
SInt32 CFStringGetIntValue(CFStringRef text); // leading whitespace skipped, limits kept, 0 when there is no number
double CFStringGetDoubleValue(CFStringRef text);

// Code pages of Windows by number (1252, 932, 65001 ...); kCFStringEncodingInvalidId when unknown.
CFStringEncoding CFStringConvertWindowsCodepageToEncoding(UInt32 nCodepage);
Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding);

} // extern "C"

// The constant string of a literal. One look-up the first time a use site runs, a load from then on.
#define CFSTR(text)                                                                                                    \
    ([]() -> CFStringRef {                                                                                             \
        static CFStringRef const textOfThisSite = __CFStringMakeConstantString("" text);                               \
        return textOfThisSite;                                                                                         \
    }())
