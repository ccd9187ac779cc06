// LXMLCursor: a loader's place in its text while words are being read.
#pragma once

#include "settings/xml_loader.h"
#include "settings/xml_text.h"

#include <string_view>

// Works on the loader's text with the place in registers, and knows the line's start instead of counting columns;
// writes position, line and column back when it is destroyed, or before somebody else looks (Store). The views that it
// gives out lie in the text, or in the buffer that came with the call, and last as long as those. One thread at a time.
class LXMLCursor {
public:
    explicit LXMLCursor(LXMLLoader& oOwner) noexcept
        : oLoader(oOwner), pAt(oOwner.szText + oOwner.nPosition),
          nLineStart(oOwner.nPosition + 1 - static_cast<std::size_t>(oOwner.nColumn)),
          nLine(static_cast<std::uint32_t>(oOwner.nLine)) {}
    ~LXMLCursor() { Store(); }
    LXMLCursor(LXMLCursor const&) = delete;
    LXMLCursor& operator=(LXMLCursor const&) = delete;

    void Store() const noexcept;
    LXMLLoader& Loader() const noexcept { return oLoader; }

    // Where the next character stands; how far that is into the text.
    char const* At() const noexcept { return pAt; }
    std::size_t Position() const noexcept { return static_cast<std::size_t>(pAt - oLoader.szText); }

    // XMLLoadChar.
    char Read() noexcept {
        char const c = *pAt;
        if (static_cast<unsigned char>(c) <= '\r') // may be the end or a line break
            return ReadControl(c);
        ++pAt;
        return c;
    }

    // Reads the bytes up to the next of the set, which must hold NUL, CR and LF; gives those bytes.
    std::string_view ReadRun(LXMLByteSet nSet) noexcept {
        char const* const pBegin = pAt;
        pAt = LXMLFind(nSet, pAt);
        return {pBegin, pAt};
    }
    // The same, but no further than to position `nLimit`.
    void SkipRun(LXMLByteSet nSet, std::size_t nLimit) noexcept {
        while (Position() < nLimit && !LXMLIsIn(nSet, *pAt))
            ++pAt;
    }

    // XMLLoadEntity.
    std::string_view ReadEntity(char* szResult) noexcept;

    // XMLLoadTag and XMLLoadAttribute. The buffer is used only for a word that can't be had from the text in one piece;
    // where there is no memory for it, the value is cut, and that is remembered.
    char ReadName(char* szBuffer, std::string_view& szName) noexcept {
        char const* const pStop = LXMLFind(kLXMLInWord, pAt);
        if (!LXMLIsIn(kLXMLEndsWord, *pStop) || *pAt == '!' || pStop - pAt >= static_cast<std::ptrdiff_t>(kLNameSize))
            return ReadOddName(szBuffer, szName);
        szName = {pAt, pStop};
        pAt = pStop;
        return Read();
    }
    char ReadValue(LStringLongTemplate<char>& szBuffer, std::string_view& szValue) noexcept {
        if (*pAt == ' ')
            ++pAt;
        char const cQuote = *pAt;
        if (cQuote != '"' && cQuote != '\'')
            return ReadOddValue(szBuffer, szValue);
        char const* const pStop = LXMLFind(kLXMLInQuotes, pAt + 1);
        if (*pStop != cQuote || !LXMLIsIn(kLXMLEndsWord, pStop[1]) ||
            pStop - pAt > static_cast<std::ptrdiff_t>(kLXMLMostToGrow))
            return ReadOddValue(szBuffer, szValue);
        szValue = {pAt + 1, pStop};
        pAt = pStop + 1;
        return Read();
    }
    bool HasCut() const noexcept { return bCut; }

private:
    char ReadControl(char c) noexcept {
        if (c == '\0')
            return c;
        ++pAt;
        if (c != '\n' && c != '\r')
            return c;
        if (LXMLIsPair(c, *pAt))
            ++pAt;
        ++nLine;
        nLineStart = Position();
        return '\n';
    }
    char ReadOddName(char* szBuffer, std::string_view& szName) noexcept;
    char ReadOddValue(LStringLongTemplate<char>& szBuffer, std::string_view& szValue) noexcept;
    template <class Word>
    char ReadWord(Word& oWord) noexcept;

    LXMLLoader& oLoader;
    char const* pAt;
    std::size_t nLineStart; // the position of the line's first character; wraps where a caller's column is past that
    std::uint32_t nLine;    // wraps in a text of more breaks than a loader can count
    bool bCut = false;
};
