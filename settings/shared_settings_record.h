// LSharedSettingsRecord: one record of the preference store.
#pragma once

#include "base/fixed_text.h"
#include "base/string_long.h"

#include <CoreFoundation/CFPreferences.h>

// A name for a record, there or not yet; settings/preferences.h says what a record is, and has the rules, lengths and
// buffers. Holds nothing of the record's contents: every call goes to the store. Fields and sub-records are named
// relative to the key path in all of them, so that a field that was set is the one that is tested for and deleted. A
// path over 259 bytes is refused: such a record is never there and takes nothing. One thread at a time.
class LSharedSettingsRecord {
public:
    // The path as "Records/Item1/"; its last part is the primary key. The user's domain must outlive this object.
    LSharedSettingsRecord(CFStringRef pTheUser, char const* szTheKeyPath) noexcept;

    // Creates the record and those above it first, where they are missing.
    void SetString(char const* szField, char const* szValue) noexcept;
    bool GetString(char const* szField, char const* szDefault, char* szOut) const noexcept;
    bool GetString(char const* szField, char* szOut) const noexcept; // "" by default
    bool GetString(char const* szField, char const* szDefault, LStringLongTemplate<char>& szOut) const noexcept;

    // Nothing is enciphered here, and nothing created: the caller brings what LSettingEncrypt made.
    void SetPassword(char const* szField, char const* szValue) noexcept;
    bool GetPassword(char const* szField, char const* szDefault, char* szOut) const noexcept;

    // Where the record's own key exists, moves the record and all below it, and gives this object the new path, which
    // has no slash at its end; false, with nothing changed, when that can't be done. Where there is none, changes the
    // primary key of this object alone (cut to 259 bytes).
    bool SetPrimaryKey(char const* szNewPrimaryKey) noexcept;

    bool TestFieldExists(char const* szField) const noexcept;
    void DeleteField(char const* szField) noexcept;

    // Whether the sub-record has a field or a sub-record of its own.
    bool TestSubRecordExists(char const* szName) const noexcept;

    void DeleteRecord() noexcept; // with all below it
    void DeleteSubRecord(char const* szName) noexcept;

    CFStringRef GetUser() const noexcept { return pUser; }
    char const* GetPrimaryKey() const noexcept { return szPrimaryKey; }
    char const* GetKeyPath() const noexcept { return szKeyPath; }

private:
    CFStringRef pUser;
    char szPrimaryKey[kLNameSize];
    char szKeyPath[kLNameSize];
};
