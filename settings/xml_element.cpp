#include "settings/xml_element.h"

#include "settings/xml_stack.h"

#include <cstdlib>
#include <cstring>
#include <utility>

static_assert(sizeof(LXMLElement) == 48, "a tree of many small nodes");

namespace {

// A copy of a text that may be null; `bGot` becomes false when there is no memory.
char* CopyText(char const* szText, bool& bGot) noexcept {
    char* const szCopy = szText ? strdup(szText) : nullptr;
    bGot = bGot && (szCopy || !szText);
    return szCopy;
}

} // namespace

void* LXMLElement::operator new(std::size_t nSize) noexcept {
    return std::malloc(nSize);
}

void LXMLElement::operator delete(void* pUnmade) noexcept {
    std::free(pUnmade);
}

void LXMLElement::operator delete(LXMLElement* pNode, std::destroying_delete_t) noexcept {
    LXMLMemory::Mark const nMark = pNode->nMemory;
    pNode->~LXMLElement();
    LXMLMemory::Free(pNode, nMark);
}

LXMLElement* LXMLElement::MakeLike(LXMLMemory& oMemory, LXMLElement const& oOther) noexcept {
    bool const bSpace = oOther.bSpacePreserved;
    LXMLElement* const pMade = oOther.szName    ? MakeElement(oMemory, oOther.szName, bSpace)
                               : oOther.bIsText ? MakeText(oMemory, oOther.szData, bSpace)
                                                : new LXMLElement(bSpace);
    if (pMade && !pMade->oAttributes.CopyFrom(oMemory, oOther.oAttributes)) {
        delete pMade;
        return nullptr;
    }
    return pMade;
}

LXMLElement::LXMLElement(LXMLElement const& oOther) noexcept : bSpacePreserved(oOther.bSpacePreserved) {
    CopyFrom(oOther);
}

LXMLElement& LXMLElement::operator=(LXMLElement const& oOther) noexcept {
    if (this != &oOther)
        CopyFrom(oOther);
    return *this;
}

LXMLElement::~LXMLElement() {
    DeleteChildren();
    FreeTexts();
}

void LXMLElement::FreeTexts() noexcept {
    if (!bTextInside) {
        std::free(szName);
        std::free(bIsText ? szData : nullptr);
    }
    szName = nullptr;
    bIsText = false;
    pLateChild = nullptr;
}

bool LXMLElement::SetTexts(char const* szNewName, char const* szNewData) noexcept {
    bool bGot = true;
    char* const szNameCopy = CopyText(szNewName, bGot);
    char* const szDataCopy = CopyText(szNewData, bGot);
    if (!bGot) {
        std::free(szNameCopy);
        std::free(szDataCopy);
        return false;
    }
    FreeTexts();
    szName = szNameCopy;
    bIsText = szDataCopy != nullptr;
    if (bIsText)
        szData = szDataCopy;
    bTextInside = false;
    return true;
}

// The link to the first child of each node that is being emptied leads back to its parent meanwhile: no memory needed.
void LXMLElement::DeleteChildren() noexcept {
    LXMLElement* pParent = nullptr;
    LXMLElement* pAt = std::exchange(pFirstChild, nullptr);
    while (pAt || pParent) {
        if (!pAt) { // the last child is gone
            pAt = std::exchange(pParent, pParent->pFirstChild);
            pAt->pFirstChild = nullptr;
        } else if (pAt->pFirstChild) {
            pAt = std::exchange(pAt->pFirstChild, std::exchange(pParent, pAt));
            continue;
        }
        delete std::exchange(pAt, pAt->pNext);
    }
    if (!bIsText)
        pLateChild = nullptr;
}

void LXMLElement::ChildGone(LXMLElement const* pChild, LXMLElement* pInItsPlace) noexcept {
    if (!bIsText && pLateChild == pChild)
        pLateChild = pInItsPlace;
}

// Complete before anything of this element goes: the other may be part of it, or it of the other.
bool LXMLElement::CopyFrom(LXMLElement const& oOther) noexcept {
    struct Level {
        LXMLElement const* pFrom; // the next child to copy
        LXMLElement** ppTo;       // where its copy goes
    };
    LXMLMemory oMemory;
    LXMLElement oCopy(oOther.bSpacePreserved);
    LXMLStack<Level> lOpen;
    bool bGot = oCopy.SetTexts(oOther.szName, oOther.GetData()) &&
                oCopy.oAttributes.CopyFrom(oMemory, oOther.oAttributes) &&
                lOpen.Push({oOther.pFirstChild, &oCopy.pFirstChild});
    while (bGot && !lOpen.IsEmpty()) {
        Level& oLevel = lOpen.Top();
        LXMLElement const* const pFrom = oLevel.pFrom;
        if (!pFrom) {
            lOpen.Pop();
            continue;
        }
        if (LXMLElement* const pTo = *oLevel.ppTo = MakeLike(oMemory, *pFrom)) {
            oLevel = {pFrom->pNext, &pTo->pNext};
            bGot = !pFrom->pFirstChild || lOpen.Push({pFrom->pFirstChild, &pTo->pFirstChild});
        } else {
            bGot = false;
        }
    }
    if (!bGot)
        return false;
    DeleteChildren();
    FreeTexts();
    oAttributes.Swap(oCopy.oAttributes);
    bTextInside = false;
    std::swap(pFirstChild, oCopy.pFirstChild);
    std::swap(szName, oCopy.szName);
    std::swap(bIsText, oCopy.bIsText);
    if (bIsText)
        szData = std::exchange(oCopy.szData, nullptr);
    return true;
}
