#include "platform/corefoundation/containers.h"

#include <CoreFoundation/CFString.h>

namespace {

void const* RetainObject(CFAllocatorRef, void const* value) {
    return CFRetain(value);
}
void const* CopyString(CFAllocatorRef allocator, void const* value) {
    return CFStringCreateCopy(allocator, static_cast<CFStringRef>(value));
}
void ReleaseObject(CFAllocatorRef, void const* value) {
    CFRelease(value);
}

__CFDictionary& Mutable(CFMutableDictionaryRef dictionary) noexcept {
    if (!cf::IsOfType(dictionary, cf::kTypeDictionary) || !dictionary->bMutable)
        cf::Halt("a dictionary that is not mutable was to be changed");
    return *dictionary;
}

__CFDictionary* MakeCopy(CFDictionaryRef dictionary, bool bMutable) noexcept {
    auto* pCopy = new __CFDictionary(&dictionary->keyCallBacks, &dictionary->valueCallBacks, bMutable);
    for (auto const& oEntry : dictionary->lEntries)
        pCopy->Add(oEntry.key, oEntry.value);
    return pCopy;
}

} // namespace

CFDictionaryKeyCallBacks const kCFTypeDictionaryKeyCallBacks = {0,       RetainObject, ReleaseObject, CFCopyDescription,
                                                                CFEqual, CFHash};
CFDictionaryKeyCallBacks const kCFCopyStringDictionaryKeyCallBacks = {
    0, CopyString, ReleaseObject, CFCopyDescription, CFEqual, CFHash};
CFDictionaryValueCallBacks const kCFTypeDictionaryValueCallBacks = {0, RetainObject, ReleaseObject, CFCopyDescription,
                                                                    CFEqual};

CFHashCode __CFDictionary::HashOf(void const* key) const noexcept {
    return keyCallBacks.hash ? keyCallBacks.hash(key) : reinterpret_cast<CFHashCode>(key);
}

__CFDictionary::Index::const_iterator __CFDictionary::Locate(void const* key) const noexcept {
    auto const [itFirst, itEnd] = mapIndex.equal_range(HashOf(key));
    for (auto it = itFirst; it != itEnd; ++it)
        if (cf::SameValue(keyCallBacks, it->second->key, key))
            return it;
    return mapIndex.end();
}

__CFDictionary::Entry* __CFDictionary::Find(void const* key) const noexcept {
    auto const it = Locate(key);
    return it == mapIndex.end() ? nullptr : &*it->second;
}

void __CFDictionary::Add(void const* key, void const* value) noexcept {
    void const* const kept = cf::Keep(keyCallBacks, key);
    lEntries.push_back({kept, cf::Keep(valueCallBacks, value)});
    mapIndex.emplace(HashOf(kept), std::prev(lEntries.end()));
}

void __CFDictionary::Replace(Entry& oEntry, void const* value) noexcept {
    void const* const old = std::exchange(oEntry.value, cf::Keep(valueCallBacks, value));
    cf::Drop(valueCallBacks, old);
}

void __CFDictionary::Remove(void const* key) noexcept {
    auto const it = Locate(key);
    if (it == mapIndex.end())
        return;
    Entry const oEntry = *it->second;
    lEntries.erase(it->second);
    mapIndex.erase(it);
    cf::Drop(keyCallBacks, oEntry.key);
    cf::Drop(valueCallBacks, oEntry.value);
}

void __CFDictionary::Clear() noexcept {
    mapIndex.clear();
    for (auto const& oEntry : std::exchange(lEntries, {})) {
        cf::Drop(keyCallBacks, oEntry.key);
        cf::Drop(valueCallBacks, oEntry.value);
    }
}

bool __CFDictionary::Equals(Object const& other) const noexcept {
    auto const& oOther = static_cast<__CFDictionary const&>(other);
    if (lEntries.size() != oOther.lEntries.size())
        return false;
    for (auto const& oEntry : lEntries) {
        Entry const* pSame = oOther.Find(oEntry.key);
        if (!pSame || !cf::SameValue(valueCallBacks, oEntry.value, pSame->value))
            return false;
    }
    return true;
}

std::string __CFDictionary::Description() const {
    std::string out = Head() + "{type = " + (bMutable ? "mutable" : "immutable") +
                      " dict, count = " + std::to_string(lEntries.size()) + ", entries =>";
    for (size_t n = 0; auto const& oEntry : lEntries)
        out += "\n\t" + std::to_string(n++) + " : " + cf::Describe(keyCallBacks.copyDescription, oEntry.key) + " = " +
               cf::Describe(valueCallBacks.copyDescription, oEntry.value);
    return out + "\n}";
}

CFTypeID CFDictionaryGetTypeID() {
    return cf::kTypeDictionary;
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, void const** keys, void const** values, CFIndex nCount,
                                   CFDictionaryKeyCallBacks const* keyCallBacks,
                                   CFDictionaryValueCallBacks const* valueCallBacks) {
    auto* pDictionary = new __CFDictionary(keyCallBacks, valueCallBacks, false);
    for (CFIndex n = 0; n < nCount; ++n)
        if (!pDictionary->Find(keys[n]))
            pDictionary->Add(keys[n], values[n]);
    return pDictionary;
}

CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef, CFDictionaryRef dictionary) {
    return dictionary->bMutable ? MakeCopy(dictionary, false) : static_cast<CFDictionaryRef>(CFRetain(dictionary));
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex, CFDictionaryKeyCallBacks const* keyCallBacks,
                                                 CFDictionaryValueCallBacks const* valueCallBacks) {
    return new __CFDictionary(keyCallBacks, valueCallBacks, true);
}

CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef, CFIndex, CFDictionaryRef dictionary) {
    return MakeCopy(dictionary, true);
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
    return static_cast<CFIndex>(dictionary->lEntries.size());
}

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, void const* key) {
    return dictionary->Find(key) != nullptr;
}

Boolean CFDictionaryContainsValue(CFDictionaryRef dictionary, void const* value) {
    for (auto const& oEntry : dictionary->lEntries)
        if (cf::SameValue(dictionary->valueCallBacks, value, oEntry.value))
            return true;
    return false;
}

void const* CFDictionaryGetValue(CFDictionaryRef dictionary, void const* key) {
    auto const* pEntry = dictionary->Find(key);
    return pEntry ? pEntry->value : nullptr;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, void const* key, void const** value) {
    auto const* pEntry = dictionary->Find(key);
    if (pEntry && value)
        *value = pEntry->value;
    return pEntry != nullptr;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, void const** keys, void const** values) {
    for (auto const& oEntry : dictionary->lEntries) {
        if (keys)
            *keys++ = oEntry.key;
        if (values)
            *values++ = oEntry.value;
    }
}

void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier, void* context) {
    for (auto const& oEntry : dictionary->lEntries)
        applier(oEntry.key, oEntry.value, context);
}

void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, void const* key, void const* value) {
    if (!Mutable(dictionary).Find(key))
        dictionary->Add(key, value);
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, void const* key, void const* value) {
    if (auto* pEntry = Mutable(dictionary).Find(key))
        dictionary->Replace(*pEntry, value);
    else
        dictionary->Add(key, value);
}

void CFDictionaryReplaceValue(CFMutableDictionaryRef dictionary, void const* key, void const* value) {
    if (auto* pEntry = Mutable(dictionary).Find(key))
        dictionary->Replace(*pEntry, value);
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, void const* key) {
    Mutable(dictionary).Remove(key);
}

void CFDictionaryRemoveAllValues(CFMutableDictionaryRef dictionary) {
    Mutable(dictionary).Clear();
}
