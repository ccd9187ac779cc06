// Stands in for <CoreFoundation/CFBundle.h>: a folder X.driver (any extension) with Contents/Info.plist,
// Contents/MacOS/<CFBundleExecutable> and Contents/Resources.
//
// Kept: one object a folder while anyone holds it (creating it again retains it); the identifier look-up finds created
// and still living bundles, for the whole process; loading and finding functions; an executable stays loaded until it
// is unloaded. Any thread.
//
// Differs from the OS:
// - The identifier look-up finds bundles made by CFBundleCreate only: not the main bundle, and code that the linker
//   brought in belongs to none.
// - The main bundle's executable is the program that runs, whatever its Info.plist says.
// - Resources are looked for in Contents/Resources (and its `subDirName`) only; no localized folders.
// - The executable is loaded with RTLD_NOW and RTLD_LOCAL. It is unloaded by CFBundleUnloadExecutable, never by the
//   bundle's death, as code of it may be running.
// - No CFErrorRef is made: `error` receives NULL; the loader's words go to standard error.
// - Factories are not registered: a host reads CFPlugInTypes and CFPlugInFactories from the information dictionary.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFURL.h>

extern "C" {

extern CFStringRef const kCFBundleIdentifierKey; // "CFBundleIdentifier"
extern CFStringRef const kCFBundleExecutableKey; // "CFBundleExecutable"
extern CFStringRef const kCFBundleNameKey;       // "CFBundleName"
extern CFStringRef const kCFBundleVersionKey;    // "CFBundleVersion"

CFTypeID CFBundleGetTypeID();
// NULL when the folder does not exist. A missing or unreadable Info.plist makes an empty information dictionary.
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef bundleUrl);
// The running program's: the folder X of X/Contents/MacOS/program, else the folder that the program is in. Never freed
// and not retained for the caller; NULL when the program's file is gone.
CFBundleRef CFBundleGetMainBundle();
// Not retained for the caller, who has to know that someone else keeps the bundle; NULL when there is none. Of several
// living bundles with one identifier, the first created.
CFBundleRef CFBundleGetBundleWithIdentifier(CFStringRef identifier);

CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle);
CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key);
CFStringRef CFBundleGetIdentifier(CFBundleRef bundle); // NULL when the dictionary has none
CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle); // NULL when the file does not exist
CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle);
// The file `resourceName`, with "." and `resourceType` added when that is not NULL or empty, in `subDirName` (may be
// NULL) of the resources; NULL when it does not exist.
CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef resourceName, CFStringRef resourceType,
                                 CFStringRef subDirName);

// Loading twice succeeds and loads once.
Boolean CFBundleLoadExecutable(CFBundleRef bundle);
Boolean CFBundleLoadExecutableAndReturnError(CFBundleRef bundle, CFErrorRef* error);
Boolean CFBundleIsExecutableLoaded(CFBundleRef bundle);
// No thread may be in its code. What it allocated and exported is gone afterwards.
void CFBundleUnloadExecutable(CFBundleRef bundle);
// Loads the executable when it is not; NULL when that fails or the name is not exported.
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef functionName);
void* CFBundleGetDataPointerForName(CFBundleRef bundle, CFStringRef symbolName);

} // extern "C"
