// Text between UTF-8 and the code pages of Windows, by number (437, 932, 1252 ...). Any thread.
#pragma once

#include "base/string_long.h"

// From the code page to UTF-8, as much as fits into `nSize` bytes with the NUL, never half of a character. "" when the
// code page is not known or the bytes are not valid in it.
void LCopyFromSpecificCodePage(unsigned int nCodePage, char* szOut, char const* szIn, unsigned long nSize) noexcept;
// The same in whole; returns the length in bytes. In and out may be one string.
std::size_t LCopyFromSpecificCodePage(unsigned int nCodePage, LStringLongTemplate<char>& szOut,
                                      LStringLongTemplate<char> const& szIn) noexcept;

// From UTF-8 to the code page. False, with "", when the code page is not known, when `szIn` is no UTF-8, when the code
// page lacks one of its characters, and when the whole does not fit into `nSize` bytes with the NUL.
bool LCopyToSpecificCodePage(unsigned int nCodePage, char* szOut, char const* szIn, unsigned long nSize) noexcept;
