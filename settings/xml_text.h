// The classes of characters in XML text, escaping, trimming and copying. Any thread; nothing throws.
#pragma once

#include "base/string_long.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

// Appends the text with '<', '>', '"' and '&' as entities.
void XMLEscapeText(LStringLongTemplate<char>& szTarget, char const* szText) noexcept;

// Takes control characters (1 to 31) off both ends, in place. Spaces stay.
void XMLTrimControlChars(char* szText) noexcept;
std::string_view LXMLTrimmed(std::string_view szText) noexcept; // the part that is left

// Appends as if character by character: the string grows fourfold, and past this capacity drops the rest. False when
// there was no memory for all.
inline constexpr std::size_t kLXMLMostToGrow = 0x20000000;
bool LXMLAppendRun(LStringLongTemplate<char>& szTarget, std::string_view szRun) noexcept;

// Sets of bytes. A reader or writer takes everything up to the next byte of its set in one piece.
enum LXMLByteSet : std::uint8_t {
    kLXMLEndsWord = 1,   // NUL, space, tab, LF, '/', '=', '>': what ends a name or value outside of quotes
    kLXMLInWord = 2,     // those, CR, quotes and '&': where a word is more than its bytes
    kLXMLInQuotes = 4,   // NUL, CR, LF, quotes and '&'
    kLXMLInContent = 8,  // NUL, CR, LF, '<' and '&'
    kLXMLEscaped = 16,   // NUL and what XMLEscapeText replaces
    kLXMLLineBreak = 32, // NUL, CR, LF
    kLXMLBlank = 128,    // space, tab, CR, LF
    kLXMLInSpecial = 64, // NUL, CR, LF, '>', '[' and ']'
    kLXMLEscapedOrBreak = kLXMLEscaped | kLXMLLineBreak,
};

inline constexpr auto kLXMLByteSets = [] {
    std::array<std::uint8_t, 256> lSets{};
    auto const Add = [&lSets](std::string_view szBytes, int nSets) {
        for (char const c : szBytes)
            lSets[static_cast<unsigned char>(c)] =
                static_cast<std::uint8_t>(lSets[static_cast<unsigned char>(c)] | nSets);
    };
    using namespace std::string_view_literals;
    Add("\0"sv, 127);
    Add(" \t\n/=>", kLXMLEndsWord | kLXMLInWord);
    Add("\r\"'&", kLXMLInWord);
    Add("\r\n\"'&", kLXMLInQuotes);
    Add("\r\n<&", kLXMLInContent);
    Add("<>\"&", kLXMLEscaped);
    Add("\r\n", kLXMLLineBreak);
    Add("\r\n>[]", kLXMLInSpecial);
    Add(" \t\r\n", kLXMLBlank);
    return lSets;
}();

constexpr bool LXMLIsIn(LXMLByteSet nSet, char c) noexcept {
    return (kLXMLByteSets[static_cast<unsigned char>(c)] & nSet) != 0;
}

// Whether the two are CR and LF, in either order: one line break.
constexpr bool LXMLIsPair(char cFirst, char cSecond) noexcept {
    return (cFirst == '\r' && cSecond == '\n') || (cFirst == '\n' && cSecond == '\r');
}

// The first byte at or behind `p` that is in the set; there must be one, as the text's NUL is.
inline char const* LXMLFind(LXMLByteSet nSet, char const* p) noexcept {
    for (;; p += 4) { // by four: this loop is most of what reading and writing cost
        if (LXMLIsIn(nSet, p[0]))
            return p;
        if (LXMLIsIn(nSet, p[1]))
            return p + 1;
        if (LXMLIsIn(nSet, p[2]))
            return p + 2;
        if (LXMLIsIn(nSet, p[3]))
            return p + 3;
    }
}

// Whether there is nothing but spaces, tabs, CR and LF.
inline bool LXMLIsBlank(char const* szText) noexcept {
    while (LXMLIsIn(kLXMLBlank, *szText))
        ++szText;
    return *szText == '\0';
}

// Copies a text and puts a NUL behind it. Names and texts are short: for most of them two moves of a word, which may
// overlap, are done before memcpy would have been called.
inline void LXMLPutText(char* pTo, std::string_view szText) noexcept {
    std::size_t const nLength = szText.size();
    auto const PutEnds = [&]<class Word>(Word nFirst) {
        Word nLast;
        std::memcpy(&nFirst, szText.data(), sizeof nFirst);
        std::memcpy(&nLast, szText.data() + nLength - sizeof nLast, sizeof nLast);
        std::memcpy(pTo, &nFirst, sizeof nFirst);
        std::memcpy(pTo + nLength - sizeof nLast, &nLast, sizeof nLast);
    };
    struct TwoWords {
        std::uint64_t nFirst, nSecond;
    };
    if (nLength > 2 * sizeof(TwoWords))
        std::memcpy(pTo, szText.data(), nLength);
    else if (nLength >= sizeof(TwoWords))
        PutEnds(TwoWords{});
    else if (nLength >= sizeof(std::uint64_t))
        PutEnds(std::uint64_t{});
    else if (nLength >= sizeof(std::uint32_t))
        PutEnds(std::uint32_t{});
    else if (nLength >= sizeof(std::uint16_t))
        PutEnds(std::uint16_t{});
    else if (nLength != 0)
        *pTo = szText.front();
    pTo[nLength] = '\0';
}
