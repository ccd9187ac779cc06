// The preference store: settings that belong to one user on this host, strings under keys that look like paths.
//
// A section is a key's front ("Software"), an item a name in it ("IID", stored as "Software/IID"). A record is a key
// that ends in a slash and owns all that begins with it: the key itself holds the record's primary key, its last part;
// the keys right below are its fields, and records one level deeper its sub-records. docs/preferences.md says where the
// keys are kept.
//
// All texts are UTF-8 C strings. Sections, record paths and item names are at most 259 bytes; with a longer one, a null
// one or an empty section, reading finds nothing and writing does nothing. Names and values that come back through a
// char* or a wchar_t* take a buffer of 260. Prefixes and names are compared without regard to the case of ASCII
// letters where it says so, keys are stored and looked up exactly. A value that is no string reads as absent. A key or
// a value that <CoreFoundation/CFPreferences.h> leaves out, with a control character in it for one, is not stored.
//
// `pUser` is kCFPreferencesCurrentUser or kCFPreferencesAnyUser. Every write and deletion is on the disk on return,
// unless that fails, which is not told; it is then tried again with the next. Any thread, any process: each read and
// each write of one key is whole. What touches several keys is not one step to others who write meanwhile.
#pragma once

#include "base/string_long.h"

#include <CoreFoundation/CFPreferences.h>

// The item's value, or the default (null is empty), and whether there was a value. Cut to 259 bytes, not within a
// character; the growable form gives all of it.
bool _LSettingGetString(CFStringRef pUser, char const* szSection, char const* szName, char const* szDefault,
                        char* szOut) noexcept;
bool _LSettingGetString(CFStringRef pUser, char const* szSection, char const* szName, char const* szDefault,
                        LStringLongTemplate<char>& szOut) noexcept;
// In UTF-32: at most 259 characters of a value, but the whole of the default, whatever its length.
bool _LSettingGetUnicodeString(CFStringRef pUser, char const* szSection, char const* szName, wchar_t const* szDefault,
                               wchar_t* szOut) noexcept;
// A null value is an empty one.
void _LSettingSetString(CFStringRef pUser, char const* szSection, char const* szName, char const* szValue) noexcept;
void _LSettingSetUnicodeString(CFStringRef pUser, char const* szSection, char const* szName,
                               wchar_t const* szValue) noexcept;
void _LSettingDeleteItem(CFStringRef pUser, char const* szSection, char const* szName) noexcept;

// Deletes every key that begins with the section and a slash (in any case), that one too; the key that is the section
// without the slash stays.
void _LSettingDeleteSection(CFStringRef pUser, char const* szSection) noexcept;

// Whether there is a value, of any kind, at exactly that key.
bool _LSettingTestKeyExists(CFStringRef pUser, char const* szKey) noexcept;
// Whether a key begins with the section, given without a slash at its end, and a slash (in any case), and goes on.
bool _LSettingTestKeyHasValue(CFStringRef pUser, char const* szSection) noexcept;

// Section, slash unless the section ends in one, name, into 520 bytes; "" for what can't be a key. An empty name thus
// gives a section with a slash itself. There is no empty section: a key without one could not be deleted with any.
void _LSettingGetFullKeyName(char* szOut, char const* szSection, char const* szName) noexcept;
// A path's last part, whether a slash follows it or not: "Item1" for "Records/Item1/". `szPath` may be the output.
void _LSettingMakePrimaryKeyFromPath(char* szOut, char const* szPath) noexcept;

// Creates the records on the way to the path that are missing: for "A/B/C" "A/" holding "A" and "A/B/" holding "B". A
// path that ends in a slash is itself created. Slashes at the front stay part of the keys. Always true.
bool _LSettingMakeParentKeyPath(CFStringRef pUser, char const* szPath) noexcept;

// The child names below a prefix ("A/"; any case) one by one in ascending order: the first one for an empty
// `szCurrent`, else the next one behind it, which need not exist (any more). Names that differ only by case are one.
// False, with an empty name, when there is none. A name of more than 259 bytes is passed over. `szNext` may be
// `szCurrent`.
bool _LSettingPlistGetNextKey(CFStringRef pUser, char const* szPrefix, char const* szCurrent, char* szNext) noexcept;

// Walks through the children, fields and records alike, of a path without a slash at its end (or of path/subKey; any
// case): looks from position `nIndex` of the key list on, leaves `nIndex` at the key found and gives its name without
// a slash; add 1 to go on. Keys that others add or delete between two calls move those behind them: one may then be
// missed or come twice. False at the end, with the name as it was. A name of more than 259 bytes is passed over.
bool _LSettingFindRecord(CFStringRef pUser, char* szName, unsigned long& nIndex, char const* szPath,
                         char const* szSubKey) noexcept;

// Moves a record, by its whole path ("Records/Item1/"), and all that begins with it (in any case) to another primary
// key. Strings are cut to 259 bytes on the way; what is no string moves as it is. Keys already at the new place are
// replaced one by one, others stay there. `szNewKeyPath` gets the new path, without a slash at its end. False, with
// nothing changed and an empty path: an empty new key, a path without a slash, no keys at all, or a new key that can't
// be stored or makes a path of over 259 bytes, be it that of a section far below the record.
bool _LSettingChangePrimaryKey(CFStringRef pUser, char const* szKeyPath, char const* szNewKey,
                               char* szNewKeyPath) noexcept;
