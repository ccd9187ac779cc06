// The children and fields of an element by name.
#include "settings/xml_element.h"

#include <array>
#include <cfloat>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

bool LXMLElement::IsNamed(char const* sz) const noexcept {
    return std::strcmp(szName ? szName : "", sz) == 0;
}

char const* LXMLElement::GetElementData() const noexcept {
    if (bIsText)
        return szData;
    return pFirstChild && pFirstChild->bIsText ? pFirstChild->szData : "";
}

LXMLElement const* LXMLElement::GetElement(char const* szChildName) const noexcept {
    return ConstNamedElementIterator(*this, szChildName).GetElement();
}

LXMLElement* LXMLElement::GetElement(char const* szChildName) noexcept {
    return NamedElementIterator(*this, szChildName).GetElement();
}

LXMLElement* LXMLElement::AddElement(char const* szChildName) noexcept {
    LXMLElement** ppLink = bIsText || !pLateChild ? &pFirstChild : &pLateChild->pNext;
    while (*ppLink)
        ppLink = &(*ppLink)->pNext;
    LXMLMemory oMemory;
    *ppLink = MakeElement(oMemory, szChildName ? szChildName : "", bSpacePreserved);
    if (*ppLink && !bIsText)
        pLateChild = *ppLink;
    return *ppLink;
}

void LXMLElement::DeleteElement(char const* szChildName) noexcept {
    delete NamedElementIterator(*this, szChildName).Unlink();
}

bool LXMLElement::TestFieldExists(char const* szField) const noexcept {
    return GetElement(szField) != nullptr;
}

void LXMLElement::GetString(char const* szField, char const* szDefault, char* szOut) const noexcept {
    LXMLElement const* const pField = GetElement(szField);
    char const* const szValue = pField ? pField->GetElementData() : szDefault;
    if (szValue != szOut)
        LFixedWriter(szOut, kLNameSize).Add(szValue ? szValue : "");
}

int LXMLElement::GetInt(char const* szField, int nDefault) const noexcept {
    LXMLElement const* const pField = GetElement(szField);
    return pField ? static_cast<int>(std::strtol(pField->GetElementData(), nullptr, 10)) : nDefault;
}

double LXMLElement::GetFloat(char const* szField) const noexcept {
    return GetFloat(szField, 0);
}

double LXMLElement::GetFloat(char const* szField, double fDefault) const noexcept {
    char szValue[kLNameSize];
    GetString(szField, "", szValue);
    return *szValue ? std::strtod(szValue, nullptr) : fDefault;
}

void LXMLElement::SetString(char const* szField, char const* szValue) noexcept {
    LXMLElement* const pField = GetElement(szField);
    if (!pField)
        return;
    LXMLMemory oMemory;
    LXMLElement* const pText = MakeText(oMemory, szValue ? szValue : "", pField->bSpacePreserved);
    if (!pText)
        return;
    pField->DeleteChildren();
    pField->pFirstChild = pText;
}

void LXMLElement::SetInt(char const* szField, int nValue) noexcept {
    char szValue[16];
    std::snprintf(szValue, sizeof szValue, "%d", nValue);
    SetString(szField, szValue);
}

void LXMLElement::SetFloat(char const* szField, double fValue) noexcept {
    char szValue[DBL_MAX_10_EXP + 16];
    std::snprintf(szValue, sizeof szValue, "%f", fValue);
    SetString(szField, szValue);
}

LXMLElement::NamedElementIterator::NamedElementIterator(LXMLElement& oParent, char const* szChildName) noexcept
    : pOwner(&oParent), ppLink(&oParent.pFirstChild), szName(szChildName ? szChildName : "") {
    FindFrom();
}

void LXMLElement::NamedElementIterator::FindFrom() noexcept {
    while (*ppLink && !(*ppLink)->IsNamed(szName))
        ppLink = &(*ppLink)->pNext;
}

bool LXMLElement::NamedElementIterator::Next() noexcept {
    if (!std::exchange(bUnlinked, false) && *ppLink)
        ppLink = &(*ppLink)->pNext;
    FindFrom();
    return *ppLink != nullptr;
}

LXMLElement* LXMLElement::NamedElementIterator::Unlink() noexcept {
    LXMLElement* const pTaken = GetElement();
    if (pTaken) {
        *ppLink = std::exchange(pTaken->pNext, nullptr);
        pOwner->ChildGone(pTaken, nullptr);
        bUnlinked = true;
    }
    return pTaken;
}

LXMLElement* LXMLElement::NamedElementIterator::Replace(LXMLElement* pReplacement) noexcept {
    LXMLElement* const pTaken = GetElement();
    if (pTaken) {
        pReplacement->pNext = std::exchange(pTaken->pNext, nullptr);
        *ppLink = pReplacement;
        pOwner->ChildGone(pTaken, pReplacement);
    }
    return pTaken;
}

LXMLElement::ConstNamedElementIterator::ConstNamedElementIterator(LXMLElement const& oParent,
                                                                  char const* szChildName) noexcept
    : pCurrent(oParent.pFirstChild), szName(szChildName ? szChildName : "") {
    while (pCurrent && !pCurrent->IsNamed(szName))
        pCurrent = pCurrent->pNext;
}

bool LXMLElement::ConstNamedElementIterator::Next() noexcept {
    do
        pCurrent = pCurrent ? pCurrent->pNext : nullptr;
    while (pCurrent && !pCurrent->IsNamed(szName));
    return pCurrent != nullptr;
}
