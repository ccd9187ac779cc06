#include "platform/corefoundation/string_object.h"

#include "platform/corefoundation/plain_locale.h"
#include "platform/corefoundation/unicode.h"

#include <CoreFoundation/CFString.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>

using cf::Held;

std::string __CFString::Description() const {
    return Head() + "{contents = \"" + cf::Utf8Lossy(sText) + "\"}";
}

namespace cf {

std::u16string_view Slice(CFStringRef text, CFRange range) noexcept {
    CFIndex const nLength = CFStringGetLength(text);
    if (range.location < 0 || range.length < 0 || range.location > nLength || range.length > nLength - range.location)
        Halt("a range past the end of a string");
    return std::u16string_view(text->sText)
        .substr(static_cast<size_t>(range.location), static_cast<size_t>(range.length));
}

std::u16string& MutableText(CFMutableStringRef text) noexcept {
    if (!IsOfType(text, kTypeString) || !text->bMutable)
        Halt("a string that is not mutable was to be changed");
    return text->sText;
}

} // namespace cf

namespace {

std::u16string_view TextOf(CFStringRef text) noexcept {
    if (!text)
        cf::Halt("a null string");
    return text->sText;
}

CFStringRef MakeDecoded(std::span<UInt8 const> bytes, CFStringEncoding encoding, bool bExternal) noexcept {
    auto text = cf::Decode(bytes, encoding, bExternal);
    return text ? cf::MakeString(std::move(*text)) : nullptr;
}

std::span<UInt8 const> BytesOf(char const* szText) noexcept {
    return {reinterpret_cast<UInt8 const*>(szText), std::strlen(szText)};
}

template <char32_t Map(char32_t) noexcept>
std::u16string MapCharacters(std::u16string_view text) noexcept {
    std::u16string out;
    out.reserve(text.size());
    for (size_t n = 0; n < text.size();)
        cf::AppendUtf16(out, Map(cf::NextCharacter(text, n)));
    return out;
}

// The ASCII start of the text as the C library's number readers want it.
std::string NumberText(CFStringRef text) noexcept {
    std::string out;
    for (char16_t const c : TextOf(text)) {
        if (c > 0x7F || (c == 0))
            break;
        out += static_cast<char>(c);
    }
    return out;
}

} // namespace

CFStringRef __CFStringMakeConstantString(char const* szText) {
    // Leaked: constants outlive every destructor of the program.
    static auto& mtxConstants = *new std::mutex;
    static auto& mapConstants = *new std::unordered_map<std::string, CFStringRef>;
    std::lock_guard const lock(mtxConstants);
    auto& constant = mapConstants[szText];
    if (!constant)
        constant = new __CFString(cf::Object::Immortal{}, cf::Utf16FromUtf8Lossy(szText));
    return constant;
}

CFTypeID CFStringGetTypeID() {
    return cf::kTypeString;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, char const* szText, CFStringEncoding encoding) {
    return MakeDecoded(BytesOf(szText), encoding, false);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, UInt8 const* bytes, CFIndex nByteCount, CFStringEncoding encoding,
                                    Boolean bIsExternalRepresentation) {
    if (nByteCount < 0)
        return nullptr;
    return MakeDecoded({bytes, static_cast<size_t>(nByteCount)}, encoding, bIsExternalRepresentation);
}

CFStringRef CFStringCreateFromExternalRepresentation(CFAllocatorRef, CFDataRef data, CFStringEncoding encoding) {
    return MakeDecoded({CFDataGetBytePtr(data), static_cast<size_t>(CFDataGetLength(data))}, encoding, true);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, UniChar const* characters, CFIndex nLength) {
    if (nLength < 0)
        return nullptr;
    return cf::MakeString(std::u16string(characters, characters + nLength));
}

CFStringRef CFStringCreateWithSubstring(CFAllocatorRef, CFStringRef text, CFRange range) {
    return cf::MakeString(std::u16string(cf::Slice(text, range)));
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef text) {
    if (!text || text->bMutable)
        return cf::MakeString(std::u16string(TextOf(text)));
    return static_cast<CFStringRef>(CFRetain(text));
}

CFStringRef CFStringCreateWithFormat(CFAllocatorRef, CFDictionaryRef, CFStringRef format, ...) {
    va_list arguments;
    va_start(arguments, format);
    CFStringRef const text = cf::MakeString(cf::Format(TextOf(format), arguments));
    va_end(arguments);
    return text;
}

CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef, CFDictionaryRef, CFStringRef format,
                                                 va_list arguments) {
    return cf::MakeString(cf::Format(TextOf(format), arguments));
}

CFStringRef CFStringCreateByCombiningStrings(CFAllocatorRef, CFArrayRef strings, CFStringRef separator) {
    std::u16string text;
    for (CFIndex n = 0; n < CFArrayGetCount(strings); ++n) {
        if (n != 0)
            text += TextOf(separator);
        text += TextOf(static_cast<CFStringRef>(CFArrayGetValueAtIndex(strings, n)));
    }
    return cf::MakeString(std::move(text));
}

CFArrayRef CFStringCreateArrayBySeparatingStrings(CFAllocatorRef, CFStringRef text, CFStringRef separator) {
    CFMutableArrayRef const parts = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
    std::u16string_view rest = TextOf(text), mark = TextOf(separator);
    for (size_t nEnd = 0; nEnd != rest.npos;) {
        nEnd = mark.empty() ? rest.npos : rest.find(mark);
        Held<CFStringRef> const part(cf::MakeString(std::u16string(rest.substr(0, nEnd))));
        CFArrayAppendValue(parts, part.Get());
        if (nEnd != rest.npos)
            rest.remove_prefix(nEnd + mark.size());
    }
    return parts;
}

CFMutableStringRef CFStringCreateMutable(CFAllocatorRef, CFIndex) {
    return new __CFString({}, true);
}

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef, CFIndex, CFStringRef text) {
    return new __CFString(std::u16string(TextOf(text)), true);
}

void CFStringAppend(CFMutableStringRef text, CFStringRef more) {
    cf::MutableText(text) += TextOf(more);
}

void CFStringAppendCString(CFMutableStringRef text, char const* szMore, CFStringEncoding encoding) {
    if (auto const more = cf::Decode(BytesOf(szMore), encoding, false))
        cf::MutableText(text) += *more;
}

void CFStringAppendCharacters(CFMutableStringRef text, UniChar const* characters, CFIndex nLength) {
    cf::MutableText(text).append(characters, characters + nLength);
}

void CFStringAppendFormat(CFMutableStringRef text, CFDictionaryRef, CFStringRef format, ...) {
    va_list arguments;
    va_start(arguments, format);
    cf::MutableText(text) += cf::Format(TextOf(format), arguments);
    va_end(arguments);
}

void CFStringReplace(CFMutableStringRef text, CFRange range, CFStringRef replacement) {
    auto const slice = cf::Slice(text, range);
    std::u16string const copy(TextOf(replacement)); // it may be the text itself
    cf::MutableText(text).replace(static_cast<size_t>(range.location), slice.size(), copy);
}

void CFStringReplaceAll(CFMutableStringRef text, CFStringRef replacement) {
    cf::MutableText(text) = std::u16string(TextOf(replacement));
}

void CFStringDelete(CFMutableStringRef text, CFRange range) {
    auto const slice = cf::Slice(text, range);
    cf::MutableText(text).erase(static_cast<size_t>(range.location), slice.size());
}

void CFStringLowercase(CFMutableStringRef text, void const*) {
    cf::MutableText(text) = MapCharacters<cf::LowerCase>(TextOf(text));
}

void CFStringUppercase(CFMutableStringRef text, void const*) {
    cf::MutableText(text) = MapCharacters<cf::UpperCase>(TextOf(text));
}

CFIndex CFStringGetLength(CFStringRef text) {
    return static_cast<CFIndex>(TextOf(text).size());
}

UniChar CFStringGetCharacterAtIndex(CFStringRef text, CFIndex nIndex) {
    return cf::Slice(text, {nIndex, 1})[0];
}

void CFStringGetCharacters(CFStringRef text, CFRange range, UniChar* buffer) {
    auto const slice = cf::Slice(text, range);
    std::copy(slice.begin(), slice.end(), buffer);
}

SInt32 CFStringGetIntValue(CFStringRef text) {
    long const nValue = std::strtol(NumberText(text).c_str(), nullptr, 10);
    return static_cast<SInt32>(std::min<long>(std::max<long>(nValue, INT32_MIN), INT32_MAX));
}

double CFStringGetDoubleValue(CFStringRef text) {
    cf::PlainLocale const oPlain;
    return std::strtod(NumberText(text).c_str(), nullptr);
}
