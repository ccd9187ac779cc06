#include "xpc/data.h"

#include <new>

LXPCData& LXPCData::operator=(LXPCData const& oOther) noexcept {
    if (this == &oOther)
        return *this;
    LCopyFixed(szName, oOther.szName);
    nType = oOther.nType;
    nValue = oOther.nValue;
    nSize = oOther.nSize;
    dValue = oOther.dValue;
    return *this;
}

std::unique_ptr<LXPCDataListable> CreateXPCData(LXPCDictionaryKeyListable const& oKey, long nValue,
                                                unsigned long nSize) noexcept {
    return std::unique_ptr<LXPCDataListable>(new (std::nothrow)
                                                 LXPCDataListable(oKey.szName, oKey.nType, nValue, nSize));
}

std::unique_ptr<LXPCDataListable> CreateXPCDataDouble(LXPCDictionaryKeyListable const& oKey, double dValue) noexcept {
    return std::unique_ptr<LXPCDataListable>(new (std::nothrow)
                                                 LXPCDataListable(oKey.szName, oKey.nType, -1, 0, dValue));
}

LXPCDataArray::LXPCDataArray(LList<LXPCDataListable> const& lItems) noexcept {
    for ([[maybe_unused]] LXPCDataListable const& oItem : lItems)
        ++nCount;
    if (nCount == 0)
        return;
    arItems.reset(new (std::nothrow) LXPCData[nCount]);
    if (!arItems)
        return;
    LXPCData* pNext = arItems.get();
    for (LXPCDataListable const& oItem : lItems)
        *pNext++ = oItem;
}
