// Settings in an XML file at a path of the caller's.
//
// Each call reads the whole file and each change writes it whole; nothing is kept in between. A file that can't be read
// counts as empty, one with an error in its text as what comes before it, and the next change writes just that. There
// is no lock around reading and writing: of two who change a file at once the later one wins. A change is lost without
// a word when the file can't be written or somebody else has it open in this moment: whoever must know reads it back.
// Any thread; nothing throws. Names and values are UTF-8; names have to be XML names, of at most 259 bytes, and are not
// checked.
#pragma once

// Replaces the value in its place, or appends the item to the section and the section to the file. A null value is
// empty. The file is made, its folder is not.
void LXMLSettingSetString(char const* szPath, char const* szSection, char const* szItem, char const* szValue) noexcept;

// The value, or the default (null is empty) where there is no such section, item or value, into 260 bytes; what is
// longer is cut. `szOut` may be the default.
void LXMLSettingGetString(char const* szPath, char const* szSection, char const* szItem, char const* szDefault,
                          char* szOut) noexcept;
