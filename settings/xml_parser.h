// LXMLParser: builds the tree from the text.
#pragma once

#include "settings/xml_cursor.h"
#include "settings/xml_element.h"
#include "settings/xml_stack.h"

// Parses one element's rest or content, in one pass and without looking more than a character ahead. Elements that have
// begun and not ended are levels of a stack of its own, and linked into the tree from the start. One use; one thread.
class LXMLParser {
public:
    explicit LXMLParser(LXMLLoader& oLoader) noexcept : oCursor(oLoader) {}

    // What LXMLElement's members of the same names do. False when memory ran out, which is recorded too.
    bool LoadData(LXMLElement& oElement) noexcept;
    bool LoadElement(LXMLElement& oElement, char cTerminator) noexcept;

private:
    struct Level {
        LXMLElement* pElement;
        LXMLElement** ppEnd;    // where its next child goes
        std::size_t nPollPoint; // where it last asked, or might have asked, whether to stop
    };

    bool Run() noexcept;
    void Step() noexcept;
    void ReadMarkup(char const* pTextEnd) noexcept;
    void ReadClosingTag() noexcept;
    void ReadRestOfTag(LXMLElement& oElement, char cTerminator) noexcept;
    char ReadAttribute(LXMLElement& oElement) noexcept;
    void ReadSpecial(LXMLElement& oElement) noexcept;
    bool ReadSpecialContent(std::string_view szName) noexcept;

    void Open(LXMLElement& oElement) noexcept;
    void Close(char const* pTextEnd) noexcept;
    LXMLElement* Append(LXMLElement* pChild) noexcept;
    bool IsToStop() noexcept;

    void TakeText(char const* pTextEnd) noexcept;
    void TakeEntity(char const* pTextEnd) noexcept;
    void FlushText(char const* pTextEnd) noexcept;

    void RecordUnterminated(LXMLElement const& oElement) noexcept;
    bool Got(bool bDone) noexcept;
    void EndForWantOfMemory() noexcept;

    LXMLCursor oCursor;
    LXMLMemory oMemory;
    LXMLStack<Level> lOpen;
    bool bNoMemory = false;

    // Text of the innermost level that has not become a node yet: what was put together from pieces, and behind it the
    // piece of the text that begins here and goes on to where the cursor stands.
    LStringLongTemplate<char> szPieces;
    char const* pPiece = nullptr;

    LStringLongTemplate<char> szValue; // of the attribute, or the content of the special element, being read
};
