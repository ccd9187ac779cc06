// The array and dictionary objects, and how they hold values through their creators' callbacks.
#pragma once

#include "platform/corefoundation/object.h"

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFDictionary.h>

#include <list>
#include <unordered_map>
#include <vector>

namespace cf {

// One value through callbacks of either kind; a null callback means the plain pointer.
template <class CallBacks>
void const* Keep(CallBacks const& callBacks, void const* value) {
    return callBacks.retain ? callBacks.retain(kCFAllocatorDefault, value) : value;
}

template <class CallBacks>
void Drop(CallBacks const& callBacks, void const* value) {
    if (callBacks.release)
        callBacks.release(kCFAllocatorDefault, value);
}

template <class CallBacks>
bool SameValue(CallBacks const& callBacks, void const* first, void const* second) {
    return first == second || (callBacks.equal && callBacks.equal(first, second));
}

std::string Describe(CFArrayCopyDescriptionCallBack describe, void const* value);

} // namespace cf

struct __CFArray final : cf::Object {
    // Null callbacks hold plain pointers.
    __CFArray(CFArrayCallBacks const* pCallBacks, bool bIsMutable) noexcept
        : callBacks(pCallBacks ? *pCallBacks : CFArrayCallBacks{}), bMutable(bIsMutable) {}
    ~__CFArray() { Clear(); }

    CFTypeID TypeOf() const noexcept override { return cf::kTypeArray; }
    bool Equals(Object const& other) const noexcept override;
    CFHashCode Hash() const noexcept override { return lValues.size(); }
    std::string Description() const override;

    void Append(void const* value) noexcept { lValues.push_back(cf::Keep(callBacks, value)); }
    void Clear() noexcept;

    CFArrayCallBacks const callBacks;
    bool bMutable;
    std::vector<void const*> lValues;

private:
    void Destroy() const noexcept override { delete this; }
};

// Entries in the order in which their keys came, found through an index by hash.
struct __CFDictionary final : cf::Object {
    struct Entry {
        void const* key;
        void const* value;
    };
    using Entries = std::list<Entry>;

    __CFDictionary(CFDictionaryKeyCallBacks const* pKeyCallBacks, CFDictionaryValueCallBacks const* pValueCallBacks,
                   bool bIsMutable) noexcept
        : keyCallBacks(pKeyCallBacks ? *pKeyCallBacks : CFDictionaryKeyCallBacks{}),
          valueCallBacks(pValueCallBacks ? *pValueCallBacks : CFDictionaryValueCallBacks{}), bMutable(bIsMutable) {}
    ~__CFDictionary() { Clear(); }

    CFTypeID TypeOf() const noexcept override { return cf::kTypeDictionary; }
    bool Equals(Object const& other) const noexcept override;
    CFHashCode Hash() const noexcept override { return lEntries.size(); }
    std::string Description() const override;

    Entry* Find(void const* key) const noexcept;
    void Add(void const* key, void const* value) noexcept; // the key must be absent
    void Replace(Entry& oEntry, void const* value) noexcept;
    void Remove(void const* key) noexcept;
    void Clear() noexcept;

    CFDictionaryKeyCallBacks const keyCallBacks;
    CFDictionaryValueCallBacks const valueCallBacks;
    bool bMutable;
    Entries lEntries;

private:
    using Index = std::unordered_multimap<CFHashCode, Entries::iterator>;

    CFHashCode HashOf(void const* key) const noexcept;
    Index::const_iterator Locate(void const* key) const noexcept;
    void Destroy() const noexcept override { delete this; }

    Index mapIndex;
};
