#include "platform/corefoundation/property_list.h"

#include "platform/corefoundation/containers.h"
#include "platform/corefoundation/data_object.h"
#include "platform/corefoundation/string_object.h"

#include <CoreFoundation/CFPropertyList.h>

#include <algorithm>

namespace {

// Checks a list all the way down. The containers on the way to the one being looked at tell a cycle at once.
class Validator {
public:
    bool IsValid(CFPropertyListRef list) noexcept {
        if (!list)
            return false;
        switch (cf::Of(list).TypeOf()) {
        case cf::kTypeString:
        case cf::kTypeBoolean:
        case cf::kTypeNumber:
        case cf::kTypeDate:
        case cf::kTypeData: return true;
        case cf::kTypeArray: return Inside(list, [&] { return HasValidValues(static_cast<CFArrayRef>(list)); });
        case cf::kTypeDictionary:
            return Inside(list, [&] { return HasValidEntries(static_cast<CFDictionaryRef>(list)); });
        default: return false;
        }
    }

private:
    template <class Check>
    bool Inside(CFPropertyListRef container, Check const& check) noexcept {
        if (lAbove.size() >= cf::kDeepestList || std::ranges::find(lAbove, container) != lAbove.end())
            return false;
        lAbove.push_back(container);
        bool const bValid = check();
        lAbove.pop_back();
        return bValid;
    }
    // Values that are not held as objects can't be looked at.
    bool HasValidValues(CFArrayRef array) noexcept {
        return (array->lValues.empty() || array->callBacks.retain == kCFTypeArrayCallBacks.retain) &&
               std::ranges::all_of(array->lValues, [this](auto const& value) { return IsValid(value); });
    }
    bool HasValidEntries(CFDictionaryRef dictionary) noexcept {
        bool const bObjects = dictionary->keyCallBacks.equal == CFEqual && dictionary->valueCallBacks.equal == CFEqual;
        return (dictionary->lEntries.empty() || bObjects) &&
               std::ranges::all_of(dictionary->lEntries, [this](auto const& oEntry) {
                   return cf::IsOfType(oEntry.key, cf::kTypeString) && IsValid(oEntry.value);
               });
    }

    std::vector<CFPropertyListRef> lAbove;
};

CFPropertyListRef DeepCopy(CFPropertyListRef list, CFOptionFlags mutability) noexcept;

CFArrayRef CopyArray(CFArrayRef array, CFOptionFlags mutability) noexcept {
    auto* pCopy = new __CFArray(&kCFTypeArrayCallBacks, mutability != kCFPropertyListImmutable);
    for (void const* const value : array->lValues) {
        cf::Held<CFPropertyListRef> const copy(DeepCopy(value, mutability));
        pCopy->Append(copy.Get());
    }
    return pCopy;
}

CFDictionaryRef CopyDictionary(CFDictionaryRef dictionary, CFOptionFlags mutability) noexcept {
    auto* pCopy = new __CFDictionary(&kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks,
                                     mutability != kCFPropertyListImmutable);
    for (auto const& oEntry : dictionary->lEntries) {
        cf::Held<CFStringRef> const key(CFStringCreateCopy(nullptr, static_cast<CFStringRef>(oEntry.key)));
        cf::Held<CFPropertyListRef> const value(DeepCopy(oEntry.value, mutability));
        pCopy->Add(key.Get(), value.Get());
    }
    return pCopy;
}

CFPropertyListRef DeepCopy(CFPropertyListRef list, CFOptionFlags mutability) noexcept {
    bool const bLeaves = mutability == kCFPropertyListMutableContainersAndLeaves;
    switch (cf::Of(list).TypeOf()) {
    case cf::kTypeArray: return CopyArray(static_cast<CFArrayRef>(list), mutability);
    case cf::kTypeDictionary: return CopyDictionary(static_cast<CFDictionaryRef>(list), mutability);
    case cf::kTypeString: {
        auto const text = static_cast<CFStringRef>(list);
        return bLeaves ? CFStringCreateMutableCopy(nullptr, 0, text) : CFStringCreateCopy(nullptr, text);
    }
    case cf::kTypeData: {
        auto const data = static_cast<CFDataRef>(list);
        return bLeaves ? CFDataCreateMutableCopy(nullptr, 0, data) : CFDataCreateCopy(nullptr, data);
    }
    default: return CFRetain(list);
    }
}

} // namespace

CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef, CFDataRef data, CFPropertyListMutabilityOptions options,
                                               CFPropertyListFormat* format, CFErrorRef* error) {
    if (error)
        *error = nullptr;
    auto const bytes = data ? data->Bytes() : std::span<UInt8 const>();
    CFPropertyListRef const list =
        cf::ReadXmlList({reinterpret_cast<char const*>(bytes.data()), bytes.size()}, options);
    if (list && format)
        *format = kCFPropertyListXMLFormat_v1_0;
    return list;
}

CFDataRef CFPropertyListCreateData(CFAllocatorRef, CFPropertyListRef list, CFPropertyListFormat format, CFOptionFlags,
                                   CFErrorRef* error) {
    if (error)
        *error = nullptr;
    auto const text = CFPropertyListIsValid(list, format) ? cf::WriteXmlList(list) : std::nullopt;
    return text
               ? CFDataCreate(nullptr, reinterpret_cast<UInt8 const*>(text->data()), static_cast<CFIndex>(text->size()))
               : nullptr;
}

CFPropertyListRef CFPropertyListCreateDeepCopy(CFAllocatorRef, CFPropertyListRef list, CFOptionFlags options) {
    return Validator().IsValid(list) ? DeepCopy(list, options) : nullptr;
}

Boolean CFPropertyListIsValid(CFPropertyListRef list, CFPropertyListFormat format) {
    return format == kCFPropertyListXMLFormat_v1_0 && Validator().IsValid(list);
}
