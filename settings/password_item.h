// The item in which a password lies: "__" and the name of the item that it belongs to.
#pragma once

#include "base/fixed_text.h"

class LPasswordItem {
public:
    explicit LPasswordItem(char const* szItem) noexcept {
        LFixedWriter oName(szName);
        oName.Add("__").Add(szItem ? szItem : "");
        bFits = szItem && !oName.WasCut();
    }

    // Null where there can be none: for a null name, and for one of more than 257 bytes, which cut would be another's.
    char const* GetName() const noexcept { return bFits ? szName : nullptr; }

private:
    char szName[kLNameSize];
    bool bFits;
};
