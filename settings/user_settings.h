// The current user's settings in the preference store; settings/preferences.h has the rules, lengths and buffers.
// Passwords are stored enciphered (settings/setting_cipher.h) under the item's name with "__" in front; an item's name
// is at most 257 bytes there.
#pragma once

#include "base/string_long.h"

#include <CoreFoundation/CFPreferences.h>

bool _LUserSettingGetString(char const* szSection, char const* szName, char const* szDefault, char* szOut) noexcept;
bool _LUserSettingGetString(char const* szSection, char const* szName, char const* szDefault,
                            LStringLongTemplate<char>& szOut) noexcept;
void LUserSettingSetString(char const* szSection, char const* szName, char const* szValue) noexcept;
wchar_t* LSettingGetUnicodeString(char const* szSection, char const* szName, wchar_t const* szDefault,
                                  wchar_t* szOut) noexcept; // returns szOut
void LSettingSetUnicodeString(char const* szSection, char const* szName, wchar_t const* szValue) noexcept;

// An empty password is stored as an empty value.
void LUserSettingSetPassword(char const* szSection, char const* szName, char const* szPlain) noexcept;
void LUserSettingSetPassword(char const* szSection, char const* szName,
                             LStringLongTemplate<char> const& szPlain) noexcept;
// The plain text; the empty text when there is none, whatever the default is: a default password would be a password
// that everybody knows. The buffer of 260 bytes takes the first 259 bytes.
void LUserSettingGetPassword(char const* szSection, char const* szName, char const* szDefault, char* szOut) noexcept;
void LUserSettingGetPassword(char const* szSection, char const* szName, char const* szDefault,
                             LStringLongTemplate<char>& szOut) noexcept;

void LUserSettingDeleteItem(char const* szSection, char const* szName) noexcept; // the password of that name too
void LUserSettingDeleteSection(char const* szSection) noexcept;

// Whether there is a value at exactly that key.
bool LUserSettingTestKeyFullPathExists(CFStringRef pUser, char const* szKey) noexcept;
bool LUserSettingTestExists(CFStringRef pUser, char const* szSection, char const* szName) noexcept;
bool LUserSettingTestExists(char const* szSection, char const* szName) noexcept;
// The same for that key or a record of that name.
bool LUserSettingTestKeyExists(CFStringRef pUser, char const* szKey) noexcept;
bool LUserSettingTestKeyExists(char const* szKey) noexcept;
