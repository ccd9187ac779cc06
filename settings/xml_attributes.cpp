#include "settings/xml_attributes.h"

#include <cstring>
#include <utility>

namespace {

std::string_view UpToNul(std::string_view sz) noexcept {
    return sz.substr(0, sz.find('\0'));
}

} // namespace

char const* LXMLAttributes::Get(char const* szName) const noexcept {
    for (LXMLAttribute const* pAt = pRoot; pAt;) {
        int const nOrder = std::strcmp(szName, pAt->GetName());
        if (nOrder == 0)
            return pAt->GetValue();
        pAt = nOrder < 0 ? pAt->pLess : pAt->pMore;
    }
    return nullptr;
}

bool LXMLAttributes::Set(std::string_view szName, std::string_view szValue) noexcept {
    LXMLMemory oMemory;
    return Set(oMemory, UpToNul(szName), UpToNul(szValue));
}

LXMLAttribute* LXMLAttributes::Insert(LXMLAttribute* pAt, LXMLAttribute* pNew) noexcept {
    if (!pAt)
        return pNew;
    int const nOrder = std::strcmp(pNew->GetName(), pAt->GetName());
    if (nOrder == 0) {
        pNew->pLess = pAt->pLess;
        pNew->pMore = pAt->pMore;
        pNew->nLevel = pAt->nLevel;
        FreeOne(pAt);
        return pNew;
    }
    auto& pSide = nOrder < 0 ? pAt->pLess : pAt->pMore;
    pSide = Insert(pSide, pNew);

    if (pAt->pLess && pAt->pLess->nLevel == pAt->nLevel) { // a red link on the wrong side
        LXMLAttribute* const pUp = pAt->pLess;
        pAt->pLess = std::exchange(pUp->pMore, pAt);
        pAt = pUp;
    }
    LXMLAttribute* const pUp = pAt->pMore;
    if (pUp && pUp->pMore && pUp->pMore->nLevel == pAt->nLevel) { // two red links in a row
        pAt->pMore = std::exchange(pUp->pLess, pAt);
        ++pUp->nLevel;
        pAt = pUp;
    }
    return pAt;
}

void LXMLAttributes::Free(LXMLAttribute* pAt) noexcept {
    while (pAt) {
        Free(pAt->pLess);
        FreeOne(std::exchange(pAt, pAt->pMore));
    }
}

void LXMLAttributes::Clear() noexcept {
    Free(std::exchange(pRoot, nullptr));
}

bool LXMLAttributes::Copy(LXMLMemory& oMemory, LXMLAttribute const* pFrom, LXMLAttribute*& pTo) noexcept {
    if (!pFrom)
        return true;
    pTo = Make(oMemory, {pFrom->GetName(), pFrom->nNameLength}, pFrom->GetValue());
    if (!pTo)
        return false;
    pTo->nLevel = pFrom->nLevel;
    return Copy(oMemory, pFrom->pLess, pTo->pLess) && Copy(oMemory, pFrom->pMore, pTo->pMore);
}

bool LXMLAttributes::CopyFrom(LXMLMemory& oMemory, LXMLAttributes const& oOther) noexcept {
    LXMLAttributes oCopy;
    if (!Copy(oMemory, oOther.pRoot, oCopy.pRoot))
        return false;
    Swap(oCopy);
    return true;
}

void LXMLAttributes::Swap(LXMLAttributes& oOther) noexcept {
    std::swap(pRoot, oOther.pRoot);
}
