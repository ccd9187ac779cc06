// LStringListTemplate: the library's list of strings.
#pragma once

#include "base/string_long.h"

#include <cstddef>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

// Growable strings in the order in which they were added. Nothing throws: one that there is no memory for is not added.
// One thread at a time.
template <class T>
class LStringListTemplate {
public:
    LStringListTemplate() noexcept = default;
    LStringListTemplate(LStringListTemplate const&) = delete;
    LStringListTemplate& operator=(LStringListTemplate const&) = delete;
    ~LStringListTemplate() { Empty(); }

    // A copy of the text becomes the last string; false when there is no memory.
    bool Add(std::basic_string_view<T> szText) noexcept {
        std::unique_ptr<Item> pItem(new (std::nothrow) Item);
        if (!pItem || !pItem->szText.Set(szText))
            return false;
        *ppEnd = pItem.release();
        ppEnd = &(*ppEnd)->pNext;
        ++nCount;
        return true;
    }

    void Empty() noexcept {
        while (pFirst)
            delete std::exchange(pFirst, pFirst->pNext);
        ppEnd = &pFirst;
        nCount = 0;
    }

    std::size_t GetCount() const noexcept { return nCount; }
    bool IsEmpty() const noexcept { return nCount == 0; }

    // Calls `oVisit` with each string, first to last.
    template <class Visit>
    void ForEach(Visit const& oVisit) const {
        for (Item const* pItem = pFirst; pItem; pItem = pItem->pNext)
            oVisit(pItem->szText);
    }

private:
    struct Item {
        LStringLongTemplate<T> szText;
        Item* pNext = nullptr;
    };

    Item* pFirst = nullptr;
    Item** ppEnd = &pFirst; // where the next item hooks in
    std::size_t nCount = 0;
};
