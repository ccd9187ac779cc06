// What reads XML character by character and word by word: the state of a load, and the functions on it.
//
// Text is bytes of UTF-8. The caller owns the state and what it points to; one thread at a time. Nothing throws.
#pragma once

#include "base/fixed_text.h"
#include "base/string_long.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

class LProcessInterface;

template <class T>
struct LXMLLoaderTemplate {
    T const* szText = nullptr;              // the whole text, NUL-terminated
    T* szError = nullptr;                   // a buffer of kLNameSize; empty until the first error, which stays
    std::size_t nPosition = 0;              // of the next character
    std::int32_t nLine = 1;                 // of the next character
    std::int32_t nColumn = 1;               // 1 and the characters read on this line
    LProcessInterface* pProgress = nullptr; // asked now and then whether to stop; may be null
};
using LXMLLoader = LXMLLoaderTemplate<char>;

static_assert(std::is_standard_layout_v<LXMLLoader> && sizeof(LXMLLoader) == 40);

// Reads the next character; 0, and no step forward, at the end of the text. CR, LF, CR LF and LF CR are one line break
// each and come as LF. All the functions below read through this one.
char XMLLoadChar(LXMLLoader& oLoader) noexcept;

// Decodes an entity whose '&' has been read: the five names of the XML standard, or the number (its low 16 bits) of a
// UTF-16 unit, in decimal or behind a lower-case x in hexadecimal; every other name is one '&'. `szResult`, of
// kLNameSize bytes, gets the bytes and a NUL; it is empty for unit 0, and when no ';' comes within 23 characters, which
// is an error.
void XMLLoadEntity(LXMLLoader& oLoader, char* szResult) noexcept;

// Reads the name of a tag or attribute into `szName`, of kLNameSize bytes; what does not fit is read and dropped.
// Returns the character that ended it: space, tab, LF, '/', '=' or '>' outside of quotes, or 0. Quotes are left out,
// entities decoded. A name that begins as a comment, a CDATA section or a document type ends right behind that marker,
// and its last character is returned.
char XMLLoadTag(LXMLLoader& oLoader, char* szName) noexcept;

// Reads the value of an attribute whose '=' has been read, after one space if there is one. The same rules, without a
// marker and without a limit but that of `szValue`'s own growth. Returns the character that ended it.
char XMLLoadAttribute(LXMLLoader& oLoader, LStringLongTemplate<char>& szValue) noexcept;

// Writes "Ln %d, Col %d: " and the message, cut to 259 characters, as the error, if there is none yet. The message is
// formatted as printf does and first cut to 779.
[[gnu::format(printf, 2, 3)]] void XMLRecordErrorF(LXMLLoader& oLoader, char const* szFormat, ...) noexcept;
