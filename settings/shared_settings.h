// Settings that the programs of this product share: SharedSettings.xml in the folder "Shared" of the product's folder
// of application data. The folders are made where they are missing; where they can't be, nothing is written and the
// file counts as empty. All else as in settings/xml_settings.h.
#pragma once

#include "base/string_long.h"

class LXMLDocument;

// Replaces what is in the document by the file's; true whatever there was to read.
bool LSharedSettingsLoad(LXMLDocument& oDocument) noexcept;
// Replaces the file by the document, as far as nobody else has it open.
void LSharedSettingsSave(LXMLDocument const& oDocument) noexcept;

void LSharedSettingSetString(char const* szSection, char const* szItem, char const* szValue) noexcept;
// The first gives up to 259 bytes in 260, the second the whole value. The output may be the default.
void _LSharedSettingGetString(char const* szSection, char const* szItem, char const* szDefault, char* szOut) noexcept;
void _LSharedSettingGetString(char const* szSection, char const* szItem, char const* szDefault,
                              LStringLongTemplate<char>& szOut) noexcept;

// A password lies protected (settings/setting_cipher.h) in an item of its own, "__" and the name. Where there is none
// it reads as empty, whatever the default. The form with a buffer of 260 bytes sees 259 characters of what is stored,
// which are the whole of a password of up to 191 bytes; a longer one is cut.
void LSharedSettingSetPassword(char const* szSection, char const* szItem, char const* szPlain) noexcept;
void LSharedSettingSetPassword(char const* szSection, char const* szItem,
                               LStringLongTemplate<char> const& szPlain) noexcept;
void LSharedSettingGetPassword(char const* szSection, char const* szItem, char const* szDefault, char* szOut) noexcept;
void LSharedSettingGetPassword(char const* szSection, char const* szItem, char const* szDefault,
                               LStringLongTemplate<char>& szOut) noexcept;

// Deletes the item and the password of its name. Where there is no such section the file is left alone.
void LSharedSettingDeleteItem(char const* szSection, char const* szItem) noexcept;
// The file is written in any case.
void LSharedSettingDeleteSection(char const* szSection) noexcept;

bool LSharedSettingTestKeyExists(char const* szSection) noexcept;
// An item without a value counts. A password does under its name with the "__" only.
bool LSharedSettingTestExists(char const* szSection, char const* szItem) noexcept;

// The file's path, in 260 bytes. False, with "", when its folder can't be had or the path does not fit.
bool LGetSharedSettingsPath(char* szOut) noexcept;
