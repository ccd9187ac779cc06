// UTF-8, UTF-16 and UTF-32 (wchar_t) into one another, as the Unicode standard has it.
//
// What is ill-formed becomes U+FFFD: a surrogate without its other half, a value past U+10FFFF, and in UTF-8 each
// longest start of a well-formed sequence that does not go on as one. Nothing is read past the input's length, and a
// NUL in it is a character like any other. UTF-16 is in the machine's byte order; a byte-order mark is a character like
// any other. Any thread; nothing throws.
#pragma once

#include "base/string_long.h"

#include <cstddef>
#include <string_view>

// Each converts `szIn` into `pOut`, which has room for `nSize` elements, at least 1, and ends it with a NUL. What does
// not fit is left out, never half of a character. Returns the length without the NUL, in elements.
std::size_t LCopyUTF8FromUnicode(char* pOut, std::size_t nSize, std::u16string_view szIn) noexcept;
std::size_t LCopyUTF8FromUTF32(char* pOut, std::size_t nSize, std::wstring_view szIn) noexcept;
std::size_t LCopyUnicodeFromUTF8(char16_t* pOut, std::size_t nSize, std::string_view szIn) noexcept;
std::size_t LCopyUnicodeFromUTF32(char16_t* pOut, std::size_t nSize, std::wstring_view szIn) noexcept;
std::size_t LCopyUTF32FromUTF8(wchar_t* pOut, std::size_t nSize, std::string_view szIn) noexcept;
std::size_t LCopyUTF32FromUnicode(wchar_t* pOut, std::size_t nSize, std::u16string_view szIn) noexcept;

// The same into a growable string, which holds the whole conversion and no more memory than that may need. False, with
// an empty string, when there is no memory. `szIn` must not be part of the output.
bool LCopyUTF8FromUnicode(LStringLongTemplate<char>& szOut, std::u16string_view szIn) noexcept;
bool LCopyUTF8FromUTF32(LStringLongTemplate<char>& szOut, std::wstring_view szIn) noexcept;
bool LCopyUnicodeFromUTF8(LStringLongTemplate<char16_t>& szOut, std::string_view szIn) noexcept;
bool LCopyUnicodeFromUTF32(LStringLongTemplate<char16_t>& szOut, std::wstring_view szIn) noexcept;
bool LCopyUTF32FromUTF8(LStringLongTemplate<wchar_t>& szOut, std::string_view szIn) noexcept;
bool LCopyUTF32FromUnicode(LStringLongTemplate<wchar_t>& szOut, std::u16string_view szIn) noexcept;

// The length of the longest start of a UTF-8 text that is at most `nMost` bytes and ends between two characters.
std::size_t LCutUTF8(std::string_view szText, std::size_t nMost) noexcept;

// Copies as much of a UTF-8 text as fits into `nSize` bytes with its NUL, without splitting a character. Returns the
// length. `szIn` may be `pOut`.
std::size_t LCopyUTF8(char* pOut, std::size_t nSize, std::string_view szIn) noexcept;
