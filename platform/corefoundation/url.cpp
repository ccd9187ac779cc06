#include "platform/corefoundation/url_object.h"

#include "platform/corefoundation/string_object.h"
#include "platform/corefoundation/unicode.h"

#include <cstring>
#include <filesystem>

using cf::UrlParts;

namespace {

CFStringRef MakeText(std::string_view utf8) noexcept {
    auto text = cf::Utf16FromUtf8(utf8);
    return text ? cf::MakeString(std::move(*text)) : nullptr;
}

CFStringRef MakeTextOrNull(std::optional<std::string> const& utf8) noexcept {
    return utf8 ? MakeText(*utf8) : nullptr;
}

CFURLRef Make(UrlParts oParts) noexcept {
    return new __CFURL(std::move(oParts));
}

// The last component of a path, without the "/" that may end it: "" of "" and of "/".
std::string_view LastComponent(std::string_view path) noexcept {
    if (path.ends_with('/'))
        path.remove_suffix(1);
    return path.substr(path.rfind('/') + 1);
}

std::string HostOf(UrlParts const& oParts) {
    std::string szHost = oParts.authority.value_or("");
    szHost.erase(0, szHost.rfind('@') + 1);
    return szHost.substr(0, szHost.find(':', szHost.starts_with('[') ? szHost.find(']') : 0));
}

bool Holds(CFStringRef set, char32_t c) noexcept {
    return set && c < 0x80 && set->sText.find(static_cast<char16_t>(c)) != std::u16string::npos;
}

} // namespace

__CFURL::__CFURL(UrlParts parts) noexcept : oParts(std::move(parts)), text(MakeText(cf::UrlText(oParts))) {}

bool __CFURL::Equals(Object const& other) const noexcept {
    return CFEqual(text.Get(), static_cast<__CFURL const&>(other).text.Get());
}

std::string __CFURL::Description() const {
    return Head() + "{string = " + cf::UrlText(oParts) + ", base = (null)}";
}

std::u16string __CFURL::FormattingText() const {
    return text.Get()->sText;
}

CFURLRef cf::MakeFileUrl(std::string path, bool bDirectory) noexcept {
    if (path.empty() || path.find('\0') != path.npos)
        return nullptr;
    if (path[0] != '/') {
        std::error_code error;
        path = std::filesystem::current_path(error).string() + "/" + path;
        if (error)
            return nullptr;
    }
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    if (bDirectory && path != "/")
        path += '/';
    return Make({.szScheme = "file", .authority = "", .szPath = EscapePath(path), .query = {}, .fragment = {}});
}

std::optional<std::string> cf::PathBytes(CFURLRef url) {
    auto path = Unescape(url->oParts.szPath);
    if (!path || path->empty() || path->find('\0') != path->npos)
        return std::nullopt;
    if (path->size() > 1 && path->ends_with('/'))
        path->pop_back();
    return path;
}

std::optional<std::string> cf::FilePath(CFURLRef url) {
    return url && url->oParts.szScheme == "file" ? PathBytes(url) : std::nullopt;
}

CFTypeID CFURLGetTypeID() {
    return cf::kTypeUrl;
}

CFURLRef CFURLCreateWithString(CFAllocatorRef, CFStringRef text, CFURLRef base) {
    auto const utf8 = cf::Utf8(text->sText);
    auto oParts = utf8 && !utf8->empty() ? cf::ParseUrl(*utf8) : std::nullopt;
    if (oParts && base)
        oParts = cf::Resolve(base->oParts, std::move(*oParts));
    return oParts && !oParts->szScheme.empty() ? Make(std::move(*oParts)) : nullptr;
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef path, CFURLPathStyle style, Boolean bIsDirectory) {
    auto utf8 = path && style == kCFURLPOSIXPathStyle ? cf::Utf8(path->sText) : std::nullopt;
    return utf8 ? cf::MakeFileUrl(std::move(*utf8), bIsDirectory) : nullptr;
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, UInt8 const* path, CFIndex nByteCount,
                                                 Boolean bIsDirectory) {
    return nByteCount < 0 ? nullptr : cf::MakeFileUrl({path, path + nByteCount}, bIsDirectory);
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef component,
                                               Boolean bIsDirectory) {
    auto const utf8 = cf::Utf8(component->sText);
    if (!utf8)
        return nullptr;
    UrlParts oParts = url->oParts;
    if (!oParts.szPath.ends_with('/'))
        oParts.szPath += '/';
    oParts.szPath += cf::EscapePath(*utf8);
    if (bIsDirectory && !oParts.szPath.ends_with('/'))
        oParts.szPath += '/';
    return Make(std::move(oParts));
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef, CFURLRef url) {
    UrlParts oParts = url->oParts;
    auto const last = LastComponent(oParts.szPath);
    if (!last.empty())
        oParts.szPath.resize(static_cast<size_t>(last.data() - oParts.szPath.data()));
    return Make(std::move(oParts));
}

CFURLRef CFURLCopyAbsoluteURL(CFURLRef url) {
    return static_cast<CFURLRef>(CFRetain(url));
}

CFStringRef CFURLGetString(CFURLRef url) {
    return url->text.Get();
}

CFURLRef CFURLGetBaseURL(CFURLRef) {
    return nullptr;
}

CFStringRef CFURLCopyScheme(CFURLRef url) {
    return MakeText(url->oParts.szScheme);
}

CFStringRef CFURLCopyHostName(CFURLRef url) {
    auto const szHost = HostOf(url->oParts);
    return szHost.empty() ? nullptr : MakeTextOrNull(cf::Unescape(szHost));
}

CFStringRef CFURLCopyPath(CFURLRef url) {
    return url->oParts.szPath.empty() ? nullptr : MakeText(url->oParts.szPath);
}

CFStringRef CFURLCopyQueryString(CFURLRef url, CFStringRef charactersToLeaveEscaped) {
    cf::Held<CFStringRef> const query(MakeTextOrNull(url->oParts.query));
    if (!query)
        return nullptr;
    return charactersToLeaveEscaped && CFStringGetLength(charactersToLeaveEscaped) == 0
               ? CFURLCreateStringByReplacingPercentEscapes(nullptr, query.Get(), charactersToLeaveEscaped)
               : static_cast<CFStringRef>(CFRetain(query.Get()));
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
    return style == kCFURLPOSIXPathStyle ? MakeTextOrNull(cf::PathBytes(url)) : nullptr;
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef url) {
    std::string_view const path = url->oParts.szPath;
    return path == "/" ? MakeText(path) : MakeTextOrNull(cf::Unescape(LastComponent(path)));
}

CFStringRef CFURLCopyPathExtension(CFURLRef url) {
    auto const name = LastComponent(url->oParts.szPath);
    size_t const nDot = name.rfind('.');
    // A leading dot hides a file; it starts no extension.
    return nDot == name.npos || nDot == 0 || nDot + 1 == name.size()
               ? nullptr
               : MakeTextOrNull(cf::Unescape(name.substr(nDot + 1)));
}

Boolean CFURLHasDirectoryPath(CFURLRef url) {
    return url->oParts.szPath.ends_with('/');
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean, UInt8* buffer, CFIndex nBufferSize) {
    auto const path = cf::FilePath(url);
    if (!path || nBufferSize < 1 || path->size() >= static_cast<size_t>(nBufferSize))
        return false;
    std::memcpy(buffer, path->c_str(), path->size() + 1);
    return true;
}

CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef, CFStringRef text,
                                                    CFStringRef charactersToLeaveUnescaped,
                                                    CFStringRef legalCharactersToEscape, CFStringEncoding encoding) {
    auto const utf8 = encoding == kCFStringEncodingUTF8 ? cf::Utf8(text->sText) : std::nullopt;
    if (!utf8)
        return nullptr;
    std::string out;
    for (char const ch : *utf8) {
        auto const c = static_cast<unsigned char>(ch);
        // Brackets are legal in a host only, so they are escaped unless asked to stay.
        bool const bLegal = cf::IsUrlCharacter(ch) && ch != '[' && ch != ']' && ch != '#';
        if (Holds(charactersToLeaveUnescaped, c) || (bLegal && !Holds(legalCharactersToEscape, c)))
            out += ch;
        else
            cf::AppendEscaped(out, ch);
    }
    return MakeText(out);
}

CFStringRef CFURLCreateStringByReplacingPercentEscapes(CFAllocatorRef, CFStringRef text,
                                                       CFStringRef charactersToLeaveEscaped) {
    auto const utf8 = cf::Utf8(text->sText);
    if (!utf8)
        return nullptr;
    std::string out;
    for (size_t n = 0; n < utf8->size(); ++n) {
        auto const rest = std::string_view(*utf8).substr(n);
        int const nByte = cf::EscapedByte(rest);
        if (rest[0] == '%' && nByte < 0)
            return nullptr;
        if (rest[0] != '%') {
            out += rest[0];
            continue;
        }
        if (Holds(charactersToLeaveEscaped, static_cast<char32_t>(nByte)))
            out += rest.substr(0, 3);
        else
            out += static_cast<char>(nByte);
        n += 2;
    }
    return MakeText(out);
}
