// Finds an object's row by selector in one probe.
#pragma once

#include "driver/properties/property.h"

#include <array>

// A perfect hash over one object's rows, made by the compiler: it tries multipliers until no two selectors share a
// slot, under a thousand tries for the longest table. Rows for which it finds none (two of one selector, or an unlucky
// new one in a table near half the slots) do not compile: the compiler says that the constant evaluation exceeds its
// limit of iterations or operations. More slots cure the unlucky one. Constant; any thread.
class SelectorIndex {
public:
    consteval SelectorIndex() = default; // of no rows
    template <size_t nRows>
    consteval SelectorIndex(Property const (&lTable)[nRows]) : lRows(lTable) {
        static_assert(nRows < kEmpty && 2 * nRows <= kSlots);
        while (!Place(nRows))
            nMultiplier += 2;
    }

    constexpr bool IsEmpty() const { return lRows == nullptr; }

    Property const* Find(PropertySelector nSelector) const {
        UInt8 const nRow = lSlots[SlotOf(nSelector)];
        return nRow != kEmpty && lRows[nRow].nSelector == nSelector ? &lRows[nRow] : nullptr;
    }

private:
    static constexpr size_t kSlots = 64;
    static constexpr UInt8 kEmpty = 0xFF;

    constexpr size_t SlotOf(PropertySelector nSelector) const { return (nSelector * nMultiplier) >> 26; }

    constexpr bool Place(size_t nRows) {
        lSlots.fill(kEmpty);
        for (size_t nRow = 0; nRow < nRows; ++nRow) {
            UInt8& nSlot = lSlots[SlotOf(lRows[nRow].nSelector)];
            if (nSlot != kEmpty)
                return false;
            nSlot = static_cast<UInt8>(nRow);
        }
        return true;
    }

    static constexpr std::array<UInt8, kSlots> AllEmpty() {
        std::array<UInt8, kSlots> lAll{};
        lAll.fill(kEmpty);
        return lAll;
    }

    Property const* lRows = nullptr;
    UInt32 nMultiplier = 0x9E3779B1; // odd, its bits well spread
    std::array<UInt8, kSlots> lSlots = AllEmpty();
};
