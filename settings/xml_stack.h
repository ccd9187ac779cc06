// LXMLStack: the open levels of a walk over a tree.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <type_traits>

// What a walk over a tree of elements keeps of each level that it is in. Trees come from files and may be millions of
// levels deep, which is more than a thread's own stack holds; this one is on the heap, and says so when that is full.
// Nothing throws; one thread at a time.
template <class Level>
class LXMLStack {
    static_assert(std::is_trivially_copyable_v<Level>); // realloc moves them

public:
    LXMLStack() noexcept = default;
    ~LXMLStack() { std::free(lLevels); }
    LXMLStack(LXMLStack const&) = delete;
    LXMLStack& operator=(LXMLStack const&) = delete;

    bool IsEmpty() const noexcept { return nLevels == 0; }

    // The level opened last, until the next Push. There must be one.
    Level& Top() noexcept { return lLevels[nLevels - 1]; }

    // False, with nothing changed, when there is no memory.
    bool Push(Level const& oLevel) noexcept {
        Level const oPushed = oLevel; // may be one of ours
        if (nLevels == nRoom && !Grow())
            return false;
        lLevels[nLevels++] = oPushed;
        return true;
    }
    void Pop() noexcept { --nLevels; }

private:
    bool Grow() noexcept {
        std::size_t const nMore = nRoom != 0 ? nRoom * 2 : 16;
        void* const pGrown = std::realloc(static_cast<void*>(lLevels), nMore * sizeof(Level));
        if (!pGrown)
            return false;
        lLevels = static_cast<Level*>(pGrown);
        nRoom = nMore;
        return true;
    }

    Level* lLevels = nullptr;
    std::size_t nLevels = 0;
    std::size_t nRoom = 0;
};
