// The layout that settings files have in common: sections at the top of the document, their items below, each item's
// value in its attribute "value". For the settings functions of this folder. Names are written as they are; one that is
// no XML name makes a file that does not read back.
#pragma once

class LXMLDocument;

// Replaces what is in the document by the file's. A file that can't be read gives an empty document, one with an error
// in its text what comes before it. False when memory ran out in the middle of the text: then the document is not to be
// written.
bool LLoadSettings(LXMLDocument& oDocument, char const* szPath) noexcept;

// The first section of the name and in it the first item: its value, which stays the document's, or null when one of
// the three is not there.
char const* LFindSetting(LXMLDocument const& oDocument, char const* szSection, char const* szItem) noexcept;

// Sets the value, appending section and item where they are missing. Null is empty. False when memory ran out: then the
// document is not to be written.
bool LPutSetting(LXMLDocument& oDocument, char const* szSection, char const* szItem, char const* szValue) noexcept;

// Copies up to 259 bytes into a caller's buffer of 260, which may be the value's own; null is empty.
void LCopySetting(char* szOut, char const* szValue) noexcept;
