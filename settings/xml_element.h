// LXMLElement: one node of an XML tree.
#pragma once

#include "settings/xml_attributes.h"
#include "settings/xml_loader.h"

#include <cstddef>
#include <new>
#include <string_view>

// Element, text and special node in one type. A text node has no name but data. A comment ("!--"), CDATA section
// ("![CDATA[") or document type ("!DOCTYPE") is an element of that name whose only child is a text node with its raw
// content; a processing instruction is an element whose name begins with '?'. An element owns its attributes and its
// children, which are a singly linked list in document order.
//
// A field is a child element, and its value that element's text. Names are compared byte by byte. Texts that go in are
// copied; null counts as empty, also where a name is looked for. Texts that come out stay the element's, until it is
// changed or deleted.
//
// No walk over a tree (load, copy, save, delete) uses more of the thread's stack the deeper the tree is. Nothing
// throws: when memory runs out, a load ends with what it has read so far and the error "Not enough memory", a copy is
// empty, and what else needs memory changes nothing. One thread uses a tree at a time.
class LXMLElement {
public:
    // Parses the rest of an element whose name XMLLoadTag has just read; `cTerminator` is what it returned. Without
    // `bPreserveSpace` the texts inside are trimmed of control characters, unless an attribute "xml:space" turns up.
    LXMLElement(char const* szElementName, char cTerminator, LXMLLoaderTemplate<char>& oLoader,
                bool bPreserveSpace) noexcept;

    // Deep copies. A new element has no next sibling; one that is assigned to keeps its own, and its flag.
    LXMLElement(LXMLElement const& oOther) noexcept;
    LXMLElement& operator=(LXMLElement const& oOther) noexcept;

    // Deletes all that is in it. Whoever deletes a node has taken it out of its list.
    ~LXMLElement();

    // `new` gives null when there is no memory.
    static void* operator new(std::size_t nSize) noexcept;
    static void operator delete(LXMLElement* pNode, std::destroying_delete_t) noexcept;
    static void operator delete(void* pUnmade) noexcept; // that of the language's rules, for `new` alone

    // Replaces the children by what is parsed up to this element's closing tag or, in one without a name, up to the end
    // of the text. The first problem is recorded in the loader; what was read before and after it is kept. Asks the
    // loader's progress interface every 512 characters; a stop ends the innermost element, and with the next question
    // the one around it. False when memory ran out.
    bool LoadData(LXMLLoaderTemplate<char>& oLoader) noexcept;

    char const* GetName() const noexcept { return szName; }                     // null for a text node
    char const* GetData() const noexcept { return bIsText ? szData : nullptr; } // null for an element
    bool IsSpacePreserved() const noexcept { return bSpacePreserved; }
    LXMLElement* GetNext() noexcept { return pNext; }
    LXMLElement const* GetNext() const noexcept { return pNext; }
    LXMLElement* GetFirstChild() noexcept { return pFirstChild; }
    LXMLElement const* GetFirstChild() const noexcept { return pFirstChild; }
    LXMLAttributes& GetAttributes() noexcept { return oAttributes; }
    LXMLAttributes const& GetAttributes() const noexcept { return oAttributes; }

    // Its own data, or else its first child's, or else "".
    char const* GetElementData() const noexcept;

    // The first child of the name, or null. Text nodes count as named "".
    LXMLElement* GetElement(char const* szChildName) noexcept;
    LXMLElement const* GetElement(char const* szChildName) const noexcept;

    // Appends an empty child, whatever others of its name there are. Null when there is no memory. Constant time but
    // for the first one behind a load, a copy or the taking of the last child, which walks the list to its end.
    LXMLElement* AddElement(char const* szChildName) noexcept;
    // Deletes the first child of the name, if there is one.
    void DeleteElement(char const* szChildName) noexcept;

    bool TestFieldExists(char const* szField) const noexcept;

    // Each Get gives the default where there is no such field; GetFloat also where the field is empty. `szOut`, of
    // kLNameSize bytes, takes the first 259, and may be the default. A decimal point is read and written as the
    // process's locale has it.
    void GetString(char const* szField, char const* szDefault, char* szOut) const noexcept;
    int GetInt(char const* szField, int nDefault) const noexcept; // leading decimal digits, as strtol; else 0
    double GetFloat(char const* szField) const noexcept;          // as strtod; 0 where there is no such field
    double GetFloat(char const* szField, double fDefault) const noexcept;

    // Replace all that is in the field by one text. A field that there is not stays absent: AddElement comes first.
    void SetString(char const* szField, char const* szValue) noexcept;
    void SetInt(char const* szField, int nValue) noexcept;      // "%d"
    void SetFloat(char const* szField, double fValue) noexcept; // "%f"

    // Append this node as XML. `nIndent` is the count of tabs in front of it; children get one more. Where it is
    // negative no tabs and no line breaks are written but the one behind a closing tag. White space between elements is
    // left out. False when nothing was written: for a text node of nothing but white space, or when memory runs out or
    // the text would pass 3,000,000,000 bytes, more than a load takes (then the string is as it was).
    bool SaveToBuffer(LStringLongTemplate<char>& szOut, int nIndent) const noexcept;
    // The same without any formatting: all text as it is. False for a text node without text, or as above.
    bool SaveToBufferNoFormatting(LStringLongTemplate<char>& szOut) const noexcept;

    // Walks the children of one name: `for (It it(e, "item"); it.GetElement(); it.Next())`. The name is the caller's
    // and must outlive the iterator. Both start at the first such child; where there is none, and after a Next() that
    // returned false, GetElement() is null. The first holds the link that leads to the current child, so that this
    // child may be taken out or replaced; no other may be taken out in front of it meanwhile.
    class NamedElementIterator {
    public:
        NamedElementIterator(LXMLElement& oParent, char const* szChildName) noexcept;

        bool Next() noexcept; // to the next child of the name
        LXMLElement* GetElement() const noexcept { return bUnlinked ? nullptr : *ppLink; }

        // Takes the current child out of its list; the caller owns it, and may put it into another. There is then no
        // current child until Next(), which goes on behind it. Null when there was none.
        LXMLElement* Unlink() noexcept;
        // Puts another, which the list owns from here on, in the current child's place, and returns that one, which is
        // then the caller's. Null, with nothing done, when there was none.
        LXMLElement* Replace(LXMLElement* pReplacement) noexcept;

    private:
        void FindFrom() noexcept;

        LXMLElement* pOwner;
        LXMLElement** ppLink;
        char const* szName;
        bool bUnlinked = false;
    };
    class ConstNamedElementIterator {
    public:
        ConstNamedElementIterator(LXMLElement const& oParent, char const* szChildName) noexcept;

        bool Next() noexcept;
        LXMLElement const* GetElement() const noexcept { return pCurrent; }

    private:
        LXMLElement const* pCurrent;
        char const* szName;
    };

protected:
    // An empty node without name and data.
    explicit LXMLElement(bool bPreserveSpace) noexcept : bSpacePreserved(bPreserveSpace) {}

private:
    friend class LXMLParser;

    // New nodes, with their one text in the same piece of memory. Null when there is none.
    static LXMLElement* MakeElement(LXMLMemory& oMemory, std::string_view szName, bool bPreserveSpace) noexcept;
    static LXMLElement* MakeText(LXMLMemory& oMemory, std::string_view szData, bool bPreserveSpace) noexcept;
    static LXMLElement* Make(LXMLMemory& oMemory, char* LXMLElement::*pField, std::string_view szText,
                             bool bPreserveSpace) noexcept;
    static LXMLElement* MakeLike(LXMLMemory& oMemory,
                                 LXMLElement const& oOther) noexcept; // flag, name or data, attributes

    // False, with nothing changed, when there is no memory.
    bool CopyFrom(LXMLElement const& oOther) noexcept;
    bool SetTexts(char const* szNewName, char const* szNewData) noexcept;
    void FreeTexts() noexcept;
    void DeleteChildren() noexcept;
    void ChildGone(LXMLElement const* pChild, LXMLElement* pInItsPlace) noexcept;

    bool IsNamed(char const* sz) const noexcept;

    LXMLElement* pNext = nullptr;
    bool bSpacePreserved;
    bool bTextInside = false; // name or data stands behind the node itself, and is not freed apart
    bool bIsText = false;     // has data
    LXMLMemory::Mark nMemory = LXMLMemory::kFromMalloc;
    LXMLAttributes oAttributes;
    LXMLElement* pFirstChild = nullptr;
    char* szName = nullptr;
    union {
        char* szData;                      // of a text node
        LXMLElement* pLateChild = nullptr; // of any other: a child from which it isn't far to the last one, or null
    };
};

inline LXMLElement* LXMLElement::Make(LXMLMemory& oMemory, char* LXMLElement::*pField, std::string_view szText,
                                      bool bPreserveSpace) noexcept {
    LXMLMemory::Mark nMark;
    void* const pPlace = oMemory.Take(sizeof(LXMLElement) + szText.size() + 1, nMark);
    if (!pPlace)
        return nullptr;
    auto* const pMade = ::new (pPlace) LXMLElement(bPreserveSpace);
    char* const szInside = reinterpret_cast<char*>(pMade + 1);
    LXMLPutText(szInside, szText);
    pMade->nMemory = nMark;
    pMade->*pField = szInside;
    pMade->bTextInside = true;
    pMade->bIsText = pField == &LXMLElement::szData;
    return pMade;
}

inline LXMLElement* LXMLElement::MakeElement(LXMLMemory& oMemory, std::string_view szName,
                                             bool bPreserveSpace) noexcept {
    return Make(oMemory, &LXMLElement::szName, szName, bPreserveSpace);
}

inline LXMLElement* LXMLElement::MakeText(LXMLMemory& oMemory, std::string_view szData, bool bPreserveSpace) noexcept {
    return Make(oMemory, &LXMLElement::szData, szData, bPreserveSpace);
}
