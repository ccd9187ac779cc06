#include "platform/corefoundation/containers.h"

#include "platform/corefoundation/string_object.h"
#include "platform/corefoundation/unicode.h"

#include <algorithm>

namespace {

void const* RetainObject(CFAllocatorRef, void const* value) {
    return CFRetain(value);
}
void ReleaseObject(CFAllocatorRef, void const* value) {
    CFRelease(value);
}

__CFArray& Mutable(CFMutableArrayRef array) noexcept {
    if (!cf::IsOfType(array, cf::kTypeArray) || !array->bMutable)
        cf::Halt("an array that is not mutable was to be changed");
    return *array;
}

// `nIndex`, which must be below `nEnd`.
size_t Within(CFIndex nIndex, size_t nEnd) noexcept {
    if (nIndex < 0 || static_cast<size_t>(nIndex) >= nEnd)
        cf::Halt("an index past the end of an array");
    return static_cast<size_t>(nIndex);
}

std::pair<size_t, size_t> BoundsOf(CFArrayRef array, CFRange range) noexcept {
    size_t const nFirst = Within(range.location, array->lValues.size() + 1);
    return {nFirst, nFirst + Within(range.length, array->lValues.size() - nFirst + 1)};
}

__CFArray* MakeCopy(CFArrayRef array, bool bMutable) noexcept {
    auto* pCopy = new __CFArray(&array->callBacks, bMutable);
    pCopy->lValues.reserve(array->lValues.size());
    for (void const* const value : array->lValues)
        pCopy->Append(value);
    return pCopy;
}

} // namespace

std::string cf::Describe(CFArrayCopyDescriptionCallBack describe, void const* value) {
    Held<CFStringRef> const text(describe ? describe(value) : nullptr);
    if (!text) {
        char szPointer[32];
        std::snprintf(szPointer, sizeof szPointer, "<%p>", value);
        return szPointer;
    }
    // What stands inside another object's lines stands one step further in.
    std::string out;
    for (char const ch : Utf8Lossy(text.Get()->sText))
        out.append(1, ch).append(ch == '\n' ? "\t" : "");
    return out;
}

CFArrayCallBacks const kCFTypeArrayCallBacks = {0, RetainObject, ReleaseObject, CFCopyDescription, CFEqual};

bool __CFArray::Equals(Object const& other) const noexcept {
    return std::ranges::equal(
        lValues, static_cast<__CFArray const&>(other).lValues,
        [this](void const* first, void const* second) { return cf::SameValue(callBacks, first, second); });
}

std::string __CFArray::Description() const {
    std::string out = Head() + "{type = " + (bMutable ? "mutable" : "immutable") +
                      ", count = " + std::to_string(lValues.size()) + ", values = (";
    for (size_t n = 0; n < lValues.size(); ++n)
        out += "\n\t" + std::to_string(n) + " : " + cf::Describe(callBacks.copyDescription, lValues[n]);
    return out + "\n)}";
}

void __CFArray::Clear() noexcept {
    // Taken out first: a release may look at the array.
    for (void const* const value : std::exchange(lValues, {}))
        cf::Drop(callBacks, value);
}

CFTypeID CFArrayGetTypeID() {
    return cf::kTypeArray;
}

CFArrayRef CFArrayCreate(CFAllocatorRef, void const** values, CFIndex nCount, CFArrayCallBacks const* callBacks) {
    auto* pArray = new __CFArray(callBacks, false);
    for (CFIndex n = 0; n < nCount; ++n)
        pArray->Append(values[n]);
    return pArray;
}

CFArrayRef CFArrayCreateCopy(CFAllocatorRef, CFArrayRef array) {
    return array->bMutable ? MakeCopy(array, false) : static_cast<CFArrayRef>(CFRetain(array));
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, CFArrayCallBacks const* callBacks) {
    return new __CFArray(callBacks, true);
}

CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef, CFIndex, CFArrayRef array) {
    return MakeCopy(array, true);
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    return static_cast<CFIndex>(array->lValues.size());
}

void const* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex nIndex) {
    return array->lValues[Within(nIndex, array->lValues.size())];
}

void CFArrayGetValues(CFArrayRef array, CFRange range, void const** values) {
    auto const [nFirst, nEnd] = BoundsOf(array, range);
    for (size_t n = nFirst; n < nEnd; ++n)
        *values++ = array->lValues[n];
}

Boolean CFArrayContainsValue(CFArrayRef array, CFRange range, void const* value) {
    return CFArrayGetFirstIndexOfValue(array, range, value) != kCFNotFound;
}

CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef array, CFRange range, void const* value) {
    auto const [nFirst, nEnd] = BoundsOf(array, range);
    for (size_t n = nFirst; n < nEnd; ++n)
        if (cf::SameValue(array->callBacks, value, array->lValues[n]))
            return static_cast<CFIndex>(n);
    return kCFNotFound;
}

void CFArrayAppendValue(CFMutableArrayRef array, void const* value) {
    Mutable(array).Append(value);
}

void CFArrayAppendArray(CFMutableArrayRef array, CFArrayRef other, CFRange rangeOfOther) {
    auto const [nFirst, nEnd] = BoundsOf(other, rangeOfOther);
    for (size_t n = nFirst; n < nEnd; ++n)
        Mutable(array).Append(other->lValues[n]);
}

void CFArrayInsertValueAtIndex(CFMutableArrayRef array, CFIndex nIndex, void const* value) {
    auto& lValues = Mutable(array).lValues;
    size_t const nAt = Within(nIndex, lValues.size() + 1);
    lValues.insert(lValues.begin() + static_cast<CFIndex>(nAt), cf::Keep(array->callBacks, value));
}

void CFArraySetValueAtIndex(CFMutableArrayRef array, CFIndex nIndex, void const* value) {
    auto& lValues = Mutable(array).lValues;
    if (Within(nIndex, lValues.size() + 1) == lValues.size()) {
        array->Append(value);
        return;
    }
    void const* const old = std::exchange(lValues[static_cast<size_t>(nIndex)], cf::Keep(array->callBacks, value));
    cf::Drop(array->callBacks, old);
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex nIndex) {
    auto& lValues = Mutable(array).lValues;
    void const* const old = lValues[Within(nIndex, lValues.size())];
    lValues.erase(lValues.begin() + nIndex);
    cf::Drop(array->callBacks, old);
}

void CFArrayRemoveAllValues(CFMutableArrayRef array) {
    Mutable(array).Clear();
}

void CFArraySortValues(CFMutableArrayRef array, CFRange range, CFComparatorFunction comparator, void* context) {
    auto const [nFirst, nEnd] = BoundsOf(array, range);
    auto& lValues = Mutable(array).lValues;
    std::stable_sort(lValues.begin() + static_cast<CFIndex>(nFirst), lValues.begin() + static_cast<CFIndex>(nEnd),
                     [=](void const* first, void const* second) {
                         return comparator(first, second, context) == kCFCompareLessThan;
                     });
}
