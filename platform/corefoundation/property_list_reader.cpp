// Reads XML property lists with a stack of its own instead of recursion, so that nesting costs memory only.
#include "platform/corefoundation/property_list.h"

#include "platform/corefoundation/containers.h"
#include "platform/corefoundation/data_object.h"
#include "platform/corefoundation/string_object.h"
#include "platform/corefoundation/unicode.h"
#include "platform/corefoundation/xml_scanner.h"

#include <CoreFoundation/CFNumber.h>

#include <charconv>
#include <cmath>

namespace {

using cf::Held;
using cf::XmlTag;
using Value = Held<CFPropertyListRef>;

std::string_view Trimmed(std::string_view text) noexcept {
    static constexpr std::string_view kBlanks = " \t\n\r";
    size_t const nFirst = std::min(text.find_first_not_of(kBlanks), text.size());
    size_t const nLast = text.find_last_not_of(kBlanks);
    return nLast == text.npos ? std::string_view() : text.substr(nFirst, nLast - nFirst + 1);
}

template <class Number, class... Base>
bool Parse(std::string_view text, Number& number, Base... base) noexcept {
    auto const [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), number, base...);
    return error == std::errc() && pEnd == text.data() + text.size();
}

// Decimal or 0x, with a sign or without.
Value IntegerOf(std::string_view text) noexcept {
    bool const bNegative = text.starts_with('-');
    if (bNegative || text.starts_with('+'))
        text.remove_prefix(1);
    bool const bHex = text.starts_with("0x") || text.starts_with("0X");
    if (bHex)
        text.remove_prefix(2);
    UInt64 nMagnitude = 0;
    UInt64 const nMost = static_cast<UInt64>(INT64_MAX) + (bNegative ? 1 : 0);
    if (!Parse(text, nMagnitude, bHex ? 16 : 10) || nMagnitude > nMost)
        return {};
    SInt64 const nValue = static_cast<SInt64>(bNegative ? ~nMagnitude + 1 : nMagnitude);
    return Value(CFNumberCreate(nullptr, kCFNumberSInt64Type, &nValue));
}

// As from_chars reads it, infinities and "nan" in any case among it.
Value RealOf(std::string_view text) noexcept {
    if (text.starts_with('+') && !text.substr(1).starts_with('-'))
        text.remove_prefix(1);
    double value = 0;
    if (!Parse(text, value))
        return {};
    return Value(CFNumberCreate(nullptr, kCFNumberFloat64Type, &value));
}

Value DateOf(std::string_view text) noexcept {
    auto const at = cf::DateFromText(text);
    return Value(at ? CFDateCreate(nullptr, *at) : nullptr);
}

class Reader {
public:
    Reader(std::string_view bytes, CFOptionFlags mutability) noexcept
        : oScanner(bytes), bMutableContainers(mutability != kCFPropertyListImmutable),
          bMutableLeaves(mutability == kCFPropertyListMutableContainersAndLeaves) {}

    Value Read() noexcept {
        if (!oScanner.TakeDeclaration())
            return {};
        auto oTag = oScanner.NextTag();
        bool const bWrapped = oTag && oTag->name == "plist" && oTag->form == XmlTag::Form::Open;
        if (bWrapped)
            oTag = oScanner.NextTag();
        while (oTag && Take(*oTag) && !root)
            oTag = oScanner.NextTag();
        if (!root || (bWrapped && !IsClose(oScanner.NextTag(), "plist")) || !oScanner.IsAtEnd())
            return {};
        return std::move(root);
    }

private:
    // A container that is being filled; in a dictionary a key waits for its value.
    struct Open {
        Value container;
        bool bDictionary;
        Held<CFStringRef> key;
    };

    static bool IsClose(std::optional<XmlTag> const& oTag, std::string_view name) noexcept {
        return oTag && oTag->form == XmlTag::Form::Close && oTag->name == name;
    }

    // False at the first tag that does not belong.
    bool Take(XmlTag const& oTag) noexcept {
        bool const bContainer = oTag.name == "dict" || oTag.name == "array";
        if (oTag.form == XmlTag::Form::Close)
            return bContainer && Close(oTag.name == "dict");
        bool const bEmpty = oTag.form == XmlTag::Form::Empty;
        if (bContainer)
            return OpenContainer(oTag.name == "dict") && (!bEmpty || Close(oTag.name == "dict"));
        if (oTag.name == "key")
            return TakeKey(bEmpty);
        return Add(LeafOf(oTag.name, bEmpty));
    }

    bool OpenContainer(bool bDictionary) noexcept {
        if (lOpen.size() >= cf::kDeepestList)
            return false;
        Value container(bDictionary
                            ? static_cast<CFPropertyListRef>(new __CFDictionary(
                                  &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks, bMutableContainers))
                            : new __CFArray(&kCFTypeArrayCallBacks, bMutableContainers));
        lOpen.push_back({std::move(container), bDictionary, {}});
        return true;
    }

    bool Close(bool bDictionary) noexcept {
        if (lOpen.empty() || lOpen.back().bDictionary != bDictionary || lOpen.back().key)
            return false;
        Value container = std::move(lOpen.back().container);
        lOpen.pop_back();
        return Add(std::move(container));
    }

    bool TakeKey(bool bEmpty) noexcept {
        if (lOpen.empty() || !lOpen.back().bDictionary || lOpen.back().key)
            return false;
        auto text = TextOf("key", bEmpty);
        if (text)
            lOpen.back().key = Held<CFStringRef>(cf::MakeString(std::move(*text)));
        return text.has_value();
    }

    bool Add(Value value) noexcept {
        if (!value)
            return false;
        if (lOpen.empty()) {
            root = std::move(value);
            return true;
        }
        // The reader fills containers that are immutable to everyone else.
        auto* const pContainer = const_cast<void*>(lOpen.back().container.Get());
        if (!lOpen.back().bDictionary) {
            static_cast<__CFArray*>(pContainer)->Append(value.Get());
            return true;
        }
        auto const key = std::move(lOpen.back().key);
        auto* const pDictionary = static_cast<__CFDictionary*>(pContainer);
        if (!key)
            return false;
        if (auto* pEntry = pDictionary->Find(key.Get())) // the last of equal keys counts
            pDictionary->Replace(*pEntry, value.Get());
        else
            pDictionary->Add(key.Get(), value.Get());
        return true;
    }

    std::optional<std::u16string> TextOf(std::string_view name, bool bEmpty) noexcept {
        return bEmpty ? std::u16string() : oScanner.TextUntilClose(name);
    }

    Value LeafOf(std::string_view name, bool bEmpty) noexcept {
        if (name == "true" || name == "false")
            return BooleanOf(name, bEmpty);
        if (name != "string" && name != "integer" && name != "real" && name != "date" && name != "data")
            return {};
        auto text = TextOf(name, bEmpty);
        if (!text)
            return {};
        if (name == "string")
            return Value(new __CFString(std::move(*text), bMutableLeaves));
        std::string const utf8 = cf::Utf8Lossy(*text);
        if (name == "data")
            return DataOf(utf8);
        return name == "integer" ? IntegerOf(Trimmed(utf8))
               : name == "real"  ? RealOf(Trimmed(utf8))
                                 : DateOf(Trimmed(utf8));
    }

    Value BooleanOf(std::string_view name, bool bEmpty) noexcept {
        if (!bEmpty && !IsClose(oScanner.NextTag(), name))
            return {};
        return Value(CFRetain(name == "true" ? kCFBooleanTrue : kCFBooleanFalse));
    }

    Value DataOf(std::string_view text) const noexcept {
        auto bytes = cf::FromBase64(text);
        return Value(bytes ? new __CFData(std::move(*bytes), bMutableLeaves) : nullptr);
    }

    cf::XmlScanner oScanner;
    bool const bMutableContainers, bMutableLeaves;
    std::vector<Open> lOpen;
    Value root;
};

} // namespace

CFPropertyListRef cf::ReadXmlList(std::string_view bytes, CFOptionFlags mutability) noexcept {
    return Reader(bytes, mutability).Read().Yield();
}
