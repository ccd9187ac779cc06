// Base64 with the standard alphabet (RFC 4648, with the line breaks of RFC 2045). Any thread; nothing throws.
#pragma once

#include "base/string_long.h"

inline constexpr unsigned int kBase64NoPadding = 1;    // leaves out the "=" at the end
inline constexpr unsigned int kBase64NoLineBreaks = 2; // leaves out the CR LF behind every 76 characters

// Room that the text of `nSize` bytes takes, a little more than it needs; 0 when there is nothing to encode. INT_MAX
// where the room is more than an int can say.
int Base64EncodeGetRequiredLength(int nSize, unsigned int nFlags) noexcept;

// Replaces the target by the text of the bytes, which lie elsewhere. 76 characters made of whole groups of 3 bytes are
// followed by CR LF even when nothing comes behind them. The target is empty when there is no memory for it.
void Base64Encode(void const* pBytes, std::size_t nSize, LStringLongTemplate<char>& szOut,
                  unsigned int nFlags) noexcept;
// The same into 260 bytes, of which the text takes 259: the end that does not fit is left out.
void Base64Encode(void const* pBytes, std::size_t nSize, char* szOut, unsigned int nFlags) noexcept;

// The bytes of a text, which ends at a NUL or after `nLength` characters. Characters that are not of the alphabet are
// passed over wherever they stand, line breaks and "=" with them; two or three characters that are left at the end
// give one or two bytes, and one gives none. The target is made 3 bytes long for every 4 characters begun, with zeros
// behind the bytes, and is not where the text lies. Returns how many bytes there are: 0, and an empty target, when
// there is no memory.
std::size_t Base64Decode(char const* szText, std::size_t nLength, LStringLongTemplate<char>& oOut) noexcept;
// The same into `nRoom` bytes, stopping before the group of 3 that does not fit. The target may be the text itself.
// What was in the room behind the bytes counted is lost.
std::size_t Base64Decode(char const* szText, std::size_t nLength, void* pOut, std::size_t nRoom) noexcept;

// The value of a character, 0 to 63; -1 for one that is not of the alphabet.
int DecodeBase64Char(unsigned int nCharacter) noexcept;
