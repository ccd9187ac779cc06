// LList: the library's intrusive singly linked list.
#pragma once

#include <atomic>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>

// The list that carries keys, items, connections and clients. An item brings its own `Item* pNext`; the list owns its
// items and deletes them, first to last, when it is cleared or destroyed. New items always go to the front, so that of
// two equal items the newer one is found first. Passed by reference, never copied.
//
// Has no lock: whoever shares a list brings one, with one exception. While one thread inserts, others may walk the list
// (range-based for, Find, IsEmpty): an item in front changes none that is there already, and a walk sees the list as it
// was when the walk began. Two threads that insert, and any thread that takes items out, need a lock against everybody.
template <class Item>
class LList {
public:
    constexpr LList() noexcept = default;
    ~LList() { Clear(); }
    LList(LList const&) = delete;
    LList& operator=(LList const&) = delete;

    Item* pHead = nullptr; // the first item, null when the list is empty; the last item's pNext is null

    bool IsEmpty() const noexcept { return First() == nullptr; }

    // The list owns the item from here on.
    Item& Insert(std::unique_ptr<Item> pItem) noexcept {
        pItem->pNext = pHead;
        Item& oInserted = *pItem.release();
        std::atomic_ref(pHead).store(&oInserted, std::memory_order_release);
        return oInserted;
    }

    // The first item for which `oMatches(item)` is true, or null.
    template <class Predicate>
    Item* Find(Predicate const& oMatches) const {
        Item* pItem = First();
        while (pItem && !oMatches(std::as_const(*pItem)))
            pItem = pItem->pNext;
        return pItem;
    }

    // Takes the first item that matches out of the list; the caller owns it. Null when none does.
    template <class Predicate>
    std::unique_ptr<Item> Unlink(Predicate const& oMatches) {
        for (Item** ppLink = &pHead; *ppLink; ppLink = &(*ppLink)->pNext)
            if (oMatches(std::as_const(**ppLink)))
                return std::unique_ptr<Item>(std::exchange(*ppLink, std::exchange((*ppLink)->pNext, nullptr)));
        return nullptr;
    }

    // Takes the first item out; null when the list is empty.
    std::unique_ptr<Item> UnlinkFirst() noexcept {
        return Unlink([](Item const&) { return true; });
    }

    // Takes over the items of a list that is left empty; this list must be empty.
    void TakeAll(LList& lFrom) noexcept { pHead = std::exchange(lFrom.pHead, nullptr); }

    // An item's destructor may look at the list: it is out of it by then.
    void Clear() noexcept {
        while (UnlinkFirst())
            ;
    }

    // For range-based loops.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Item;
        using difference_type = std::ptrdiff_t;
        using pointer = Item*;
        using reference = Item&;

        explicit Iterator(Item* pAt) noexcept : pItem(pAt) {}
        Item& operator*() const noexcept { return *pItem; }
        Iterator& operator++() noexcept {
            pItem = pItem->pNext;
            return *this;
        }
        Iterator operator++(int) noexcept { return Iterator(std::exchange(pItem, pItem->pNext)); }
        bool operator==(Iterator const&) const noexcept = default;

    private:
        Item* pItem;
    };
    Iterator begin() const noexcept { return Iterator(First()); }
    Iterator end() const noexcept { return Iterator(nullptr); }

private:
    Item* First() const noexcept { return std::atomic_ref(const_cast<Item*&>(pHead)).load(std::memory_order_acquire); }
};
