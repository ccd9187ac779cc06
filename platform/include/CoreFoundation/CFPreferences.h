// Stands in for <CoreFoundation/CFPreferences.h>: property-list values by key, kept for an application, a user and a
// host.
//
// Kept: values are copied when set. What this process sets it sees at once; others see it, and it outlives the process,
// once it is synchronised. Changes of several processes to different keys all survive; of two to one key, the later
// synchronised. A call without a value removes the key.
//
// Differs from the OS:
// - Each (application, user, host) is one file, an XML property list; docs/preferences.md has the names and the rules.
//   The file is replaced in one step: whoever reads it finds the old one or the new one, whole.
// - There is no daemon in between. A call looks whether the file is still the one that it knows, and so sees what
//   others have synchronised at once; what this process has set and not synchronised lies over it.
// - Users are kCFPreferencesCurrentUser and kCFPreferencesAnyUser, hosts kCFPreferencesCurrentHost and
//   kCFPreferencesAnyHost. Under any other name, and for an application id that can't be a file's name (empty, over 200
//   bytes, a slash in it), nothing is found, nothing is set and synchronising fails.
// - Only what an XML property list can hold is set: a value or a key with a text that it can't hold (a control
//   character, half a surrogate pair) is left out, and the key stays as it was. A file holds at most 16 MiB: a value
//   past that is left out, and synchronising fails with more than that together.
// - Where several domains are searched on the OS (CFPreferencesCopyAppValue), nothing is declared here.
#pragma once

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>

extern "C" {

extern CFStringRef const kCFPreferencesAnyApplication;
extern CFStringRef const kCFPreferencesCurrentApplication; // the program's name
extern CFStringRef const kCFPreferencesAnyHost;
extern CFStringRef const kCFPreferencesCurrentHost;
extern CFStringRef const kCFPreferencesAnyUser;
extern CFStringRef const kCFPreferencesCurrentUser;

// Any thread, all of them; calls on one domain wait for each other.

// The value, one reference for the caller; NULL when there is none.
CFPropertyListRef CFPreferencesCopyValue(CFStringRef key, CFStringRef applicationID, CFStringRef userName,
                                         CFStringRef hostName);

// All keys, one reference for the caller, in order of their UTF-16 units; NULL when there are none.
CFArrayRef CFPreferencesCopyKeyList(CFStringRef applicationID, CFStringRef userName, CFStringRef hostName);

// A NULL value removes the key. Nothing is written before CFPreferencesSynchronize.
void CFPreferencesSetValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID, CFStringRef userName,
                           CFStringRef hostName);

// Writes what has been set and removed over what the file holds by then; on return it is on the disk. Waits for other
// processes that are writing. False when the file can't be read or written: it is as it was, and the changes are kept
// for the next time.
Boolean CFPreferencesSynchronize(CFStringRef applicationID, CFStringRef userName, CFStringRef hostName);

} // extern "C"
