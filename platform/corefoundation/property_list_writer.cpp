#include "platform/corefoundation/property_list.h"

#include "platform/corefoundation/containers.h"
#include "platform/corefoundation/data_object.h"
#include "platform/corefoundation/string_object.h"
#include "platform/corefoundation/unicode.h"

#include <CoreFoundation/CFNumber.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

constexpr std::string_view kHead = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
)";
constexpr std::string_view kTail = "</plist>\n";

// A base64 line is this wide, its tabs counted as eight.
constexpr size_t kDataWidth = 76;
constexpr size_t kTabWidth = 8;

class Writer {
public:
    std::string out{kHead};

    bool Write(CFPropertyListRef list, size_t nDepth) {
        switch (cf::Of(list).TypeOf()) {
        case cf::kTypeString: return WriteText("string", static_cast<CFStringRef>(list), nDepth);
        case cf::kTypeBoolean: return WriteLine(list == kCFBooleanTrue ? "<true/>" : "<false/>", nDepth);
        case cf::kTypeNumber: return WriteNumber(static_cast<CFNumberRef>(list), nDepth);
        case cf::kTypeDate: return WriteDate(static_cast<CFDateRef>(list), nDepth);
        case cf::kTypeData: return WriteData(static_cast<CFDataRef>(list)->Bytes(), nDepth);
        case cf::kTypeArray: return WriteArray(static_cast<CFArrayRef>(list), nDepth);
        default: return WriteDictionary(static_cast<CFDictionaryRef>(list), nDepth);
        }
    }

private:
    bool WriteLine(std::string_view line, size_t nDepth) {
        out.append(nDepth, '\t').append(line).append("\n");
        return true;
    }

    bool WriteText(std::string_view name, CFStringRef text, size_t nDepth) {
        out.append(nDepth, '\t').append("<").append(name).append(">");
        for (size_t n = 0; n < text->sText.size();) {
            char32_t const c = cf::NextCharacter(text->sText, n);
            if (!cf::IsXmlCharacter(c))
                return false;
            AppendCharacter(c);
        }
        out.append("</").append(name).append(">\n");
        return true;
    }
    void AppendCharacter(char32_t c) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '\r': out += "&#13;"; break; // a reader would turn the bare one into a line feed
        default: cf::AppendUtf8(out, c);
        }
    }

    bool WriteNumber(CFNumberRef number, size_t nDepth) {
        char szDigits[40];
        char* pEnd = szDigits;
        if (!CFNumberIsFloatType(number)) {
            SInt64 n = 0;
            CFNumberGetValue(number, kCFNumberSInt64Type, &n);
            pEnd = std::to_chars(szDigits, std::end(szDigits), n).ptr;
            return WriteLine("<integer>" + std::string(szDigits, pEnd) + "</integer>", nDepth);
        }
        double value = 0;
        CFNumberGetValue(number, kCFNumberFloat64Type, &value);
        std::string szReal = std::isnan(value) ? "nan" : value > 0 ? "+infinity" : "-infinity";
        if (std::isfinite(value)) { // the fewest digits that read back as the same number
            pEnd = std::to_chars(szDigits, std::end(szDigits), value).ptr;
            szReal.assign(szDigits, pEnd);
        }
        return WriteLine("<real>" + szReal + "</real>", nDepth);
    }

    bool WriteDate(CFDateRef date, size_t nDepth) {
        auto const text = cf::TextFromDate(CFDateGetAbsoluteTime(date));
        return text && WriteLine("<date>" + *text + "</date>", nDepth);
    }

    bool WriteData(std::span<UInt8 const> bytes, size_t nDepth) {
        WriteLine("<data>", nDepth);
        size_t const nIndent = std::min(nDepth * kTabWidth, kDataWidth - 16);
        size_t const nBytesALine = (kDataWidth - nIndent) / 4 * 3;
        for (; !bytes.empty(); bytes = bytes.subspan(std::min(nBytesALine, bytes.size())))
            WriteLine(cf::ToBase64(bytes.first(std::min(nBytesALine, bytes.size()))), nDepth);
        return WriteLine("</data>", nDepth);
    }

    bool WriteArray(CFArrayRef array, size_t nDepth) {
        if (array->lValues.empty())
            return WriteLine("<array/>", nDepth);
        WriteLine("<array>", nDepth);
        for (void const* const value : array->lValues)
            if (!Write(value, nDepth + 1))
                return false;
        return WriteLine("</array>", nDepth);
    }

    bool WriteDictionary(CFDictionaryRef dictionary, size_t nDepth) {
        if (dictionary->lEntries.empty())
            return WriteLine("<dict/>", nDepth);
        auto const KeyOf = [](auto const* pEntry) -> CFStringRef { return static_cast<CFStringRef>(pEntry->key); };
        std::vector<__CFDictionary::Entry const*> lSorted;
        for (auto const& oEntry : dictionary->lEntries)
            lSorted.push_back(&oEntry);
        std::ranges::sort(lSorted, [&](auto const* pFirst, auto const* pSecond) {
            return KeyOf(pFirst)->sText < KeyOf(pSecond)->sText;
        });
        WriteLine("<dict>", nDepth);
        for (auto const* const pEntry : lSorted)
            if (!WriteText("key", KeyOf(pEntry), nDepth + 1) || !Write(pEntry->value, nDepth + 1))
                return false;
        return WriteLine("</dict>", nDepth);
    }
};

} // namespace

std::optional<std::string> cf::WriteXmlList(CFPropertyListRef list) noexcept {
    Writer oWriter;
    if (!oWriter.Write(list, 0))
        return std::nullopt;
    return std::move(oWriter.out.append(kTail));
}
