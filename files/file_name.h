// File and folder names checked, with messages for the user, and cleaned. Any thread; nothing allocates.
#pragma once

#include "base/fixed_text.h"

// Why a name can't be used. kLNameEndsBadly and kLNameReserved do not happen on this system, where a name may end with
// a space or a period and none is reserved; they keep their numbers.
enum LNameFault : int {
    kLNameValid = 0,
    kLNameEmpty = 1,
    kLNameTooLong = 2,   // more than 259 bytes
    kLNameEndsBadly = 3, // with a space or a period
    kLNameStartsWithDot = 4,
    kLNameHasControl = 5,   // a byte below 32
    kLNameHasSeparator = 6, // a colon, slash or backslash
    kLNameReserved = 7,     // by the operating system
};

// The first fault of the name, in the order 1, 2, 4, and then 5 or 6, whichever comes first in it.
int LFileOrFolderNameValidate(char const* szName) noexcept;

// False for every name on this system.
bool LFileNameIsReserved(char const* szName) noexcept;

// An ASCII digit or letter.
bool LFileIsLetterOrNumber(char c) noexcept;

namespace LFile {

// Whether a file can be named so. `szMessage`, unless null, is a buffer of 260 bytes that receives why not, or "".
bool IsFileValid(char const* szName, char* szMessage) noexcept;

// The same for the whole path of a folder: it begins with "/" and each part is a valid name; one separator may end it.
bool IsFolderValid(char const* szFolder, char* szMessage) noexcept;

// Copies a name without what may not be in it: control characters, leading periods, colons, slashes and backslashes.
// At most 259 bytes; in and out may be one buffer. True when anything is left.
bool PreprocessName(char const* szIn, char* szOut) noexcept;

// Copies a path with a backslash before each backquote and each double quote, as between a shell's double quotes. Ends
// before the first character that does not fit in 259 bytes with its escape. In and out may be one buffer. Returns the
// length.
std::size_t EscapeFilePath(char const* szIn, char* szOut) noexcept;

} // namespace LFile
