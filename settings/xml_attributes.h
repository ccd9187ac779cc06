// The attributes of one element: a map from name to value, ordered by name.
#pragma once

#include "settings/xml_memory.h"
#include "settings/xml_text.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <string_view>

// One attribute, as LXMLAttributes hands it out. Both texts are NUL-terminated, never null, and stay until the
// attribute is given another value or goes with its map.
class LXMLAttribute {
public:
    char const* GetName() const noexcept { return reinterpret_cast<char const*>(this + 1); }
    char const* GetValue() const noexcept { return GetName() + nNameLength + 1; }

private:
    friend class LXMLAttributes;
    LXMLAttribute() noexcept = default;

    // A node of the tree, which its two texts follow in the same piece of memory.
    LXMLAttribute* pLess = nullptr;
    LXMLAttribute* pMore = nullptr;
    std::uint32_t nNameLength = 0;
    LXMLMemory::Mark nMemory = LXMLMemory::kFromMalloc;
    std::uint16_t nLevel = 1;
};

// One value per name. Names are compared byte by byte, as strcmp does, and walked in that order. An AA tree (Arne
// Andersson, "Balanced search trees made simple", 1993): red-black trees with the red links on one side only, so that
// two rotations are all there is to keep an element of 100,000 attributes as quick as one of two. Nothing throws. One
// thread at a time.
class LXMLAttributes {
public:
    constexpr LXMLAttributes() noexcept = default;
    ~LXMLAttributes() { Clear(); }
    LXMLAttributes(LXMLAttributes const&) = delete;
    LXMLAttributes& operator=(LXMLAttributes const&) = delete;

    bool IsEmpty() const noexcept { return pRoot == nullptr; }

    // The value of the attribute, or null when there is none.
    char const* Get(char const* szName) const noexcept;

    // Adds the attribute, or replaces its value. Both texts are copied, up to a NUL if they have one; they may be parts
    // of this map. False, with nothing changed, when there is no memory or the name has 4 GB.
    bool Set(std::string_view szName, std::string_view szValue) noexcept;
    // The same with memory of the caller's, for one who sets many, and texts that have no NUL.
    bool Set(LXMLMemory& oMemory, std::string_view szName, std::string_view szValue) noexcept;

    // Calls `Do(LXMLAttribute const&)` for each, in order of name. `Do` must not change the map.
    template <class Function>
    void ForEach(Function const& Do) const {
        Walk(pRoot, Do);
    }

    void Clear() noexcept;

    // Replaces all by copies of another element's. False, with nothing changed, when there is no memory.
    bool CopyFrom(LXMLMemory& oMemory, LXMLAttributes const& oOther) noexcept;

    void Swap(LXMLAttributes& oOther) noexcept;

private:
    // Each goes down at most twice as many levels as the count of attributes has binary digits.
    template <class Function>
    static void Walk(LXMLAttribute const* pAt, Function const& Do) {
        for (; pAt; pAt = pAt->pMore) {
            Walk(pAt->pLess, Do);
            Do(*pAt);
        }
    }
    static LXMLAttribute* Make(LXMLMemory& oMemory, std::string_view szName, std::string_view szValue) noexcept;
    static LXMLAttribute* Insert(LXMLAttribute* pAt, LXMLAttribute* pNew) noexcept;
    static bool Copy(LXMLMemory& oMemory, LXMLAttribute const* pFrom, LXMLAttribute*& pTo) noexcept;
    static void Free(LXMLAttribute* pAt) noexcept;
    static void FreeOne(LXMLAttribute* pAt) noexcept { LXMLMemory::Free(pAt, pAt->nMemory); }

    LXMLAttribute* pRoot = nullptr;
};

inline LXMLAttribute* LXMLAttributes::Make(LXMLMemory& oMemory, std::string_view szName,
                                           std::string_view szValue) noexcept {
    if (szName.size() >= std::numeric_limits<std::uint32_t>::max())
        return nullptr;
    LXMLMemory::Mark nMark;
    void* const pPlace = oMemory.Take(sizeof(LXMLAttribute) + szName.size() + szValue.size() + 2, nMark);
    if (!pPlace)
        return nullptr;
    auto* const pNew = new (pPlace) LXMLAttribute;
    pNew->nMemory = nMark;
    pNew->nNameLength = static_cast<std::uint32_t>(szName.size());
    char* const szTexts = reinterpret_cast<char*>(pNew + 1);
    LXMLPutText(szTexts, szName);
    LXMLPutText(szTexts + szName.size() + 1, szValue);
    return pNew;
}

inline bool LXMLAttributes::Set(LXMLMemory& oMemory, std::string_view szName, std::string_view szValue) noexcept {
    LXMLAttribute* const pNew = Make(oMemory, szName, szValue);
    if (!pNew)
        return false;
    pRoot = pRoot ? Insert(pRoot, pNew) : pNew;
    return true;
}
