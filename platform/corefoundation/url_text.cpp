#include "platform/corefoundation/url_text.h"

#include <vector>

namespace cf {
namespace {

constexpr std::string_view kAlphanumeric = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

bool IsOneOf(std::string_view set, char ch) noexcept {
    return set.find(ch) != set.npos;
}

int HexDigit(char ch) noexcept {
    if (ch >= '0' && ch <= '9')
        return ch - '0';
    char const lower = static_cast<char>(ch | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool HoldsOnlyUrlCharacters(std::string_view text) noexcept {
    for (size_t n = 0; n < text.size(); ++n)
        if (text[n] == '%' ? EscapedByte(text.substr(n)) < 0 : !IsUrlCharacter(text[n]))
            return false;
    return true;
}

// Cuts everything from the first `mark` on off `rest` and returns what followed the mark.
std::optional<std::string> CutAt(std::string_view& rest, char mark) {
    size_t const nAt = rest.find(mark);
    if (nAt == rest.npos)
        return std::nullopt;
    std::string tail(rest.substr(nAt + 1));
    rest = rest.substr(0, nAt);
    return tail;
}

std::string TakeScheme(std::string_view& rest) {
    size_t const nColon = rest.find(':');
    if (nColon == rest.npos || nColon == 0 || !IsOneOf(kAlphanumeric.substr(0, 52), rest[0]))
        return {};
    std::string const szScheme(rest.substr(0, nColon));
    for (char const ch : szScheme)
        if (!IsOneOf(kAlphanumeric, ch) && !IsOneOf("+-.", ch))
            return {};
    rest.remove_prefix(nColon + 1);
    return szScheme;
}

std::string WithoutDotSegments(std::string_view path) {
    std::vector<std::string_view> lKept;
    bool const bAbsolute = path.starts_with('/');
    bool bDirectory = false;
    for (size_t n = bAbsolute ? 1 : 0; n <= path.size();) {
        size_t const nEnd = std::min(path.find('/', n), path.size());
        auto const segment = path.substr(n, nEnd - n);
        bool const bLast = nEnd == path.size();
        if (segment == ".." && !lKept.empty())
            lKept.pop_back();
        else if (segment != "." && segment != ".." && !(bLast && segment.empty()))
            lKept.push_back(segment);
        if (bLast)
            bDirectory = segment.empty() || segment == "." || segment == "..";
        n = nEnd + 1;
    }
    std::string out = bAbsolute ? "/" : "";
    for (auto const& segment : lKept)
        out.append(segment).append("/");
    if (!bDirectory && !lKept.empty())
        out.pop_back();
    return out;
}

} // namespace

int EscapedByte(std::string_view text) noexcept {
    if (text.size() < 3 || text[0] != '%' || HexDigit(text[1]) < 0 || HexDigit(text[2]) < 0)
        return -1;
    return HexDigit(text[1]) << 4 | HexDigit(text[2]);
}

bool IsPathCharacter(char ch) noexcept {
    return IsOneOf(kAlphanumeric, ch) || IsOneOf("-._~!$&'()*+,=:@/", ch);
}

bool IsUrlCharacter(char ch) noexcept {
    return IsPathCharacter(ch) || IsOneOf(";?#[]", ch);
}

void AppendEscaped(std::string& out, char ch) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    auto const byte = static_cast<unsigned char>(ch);
    out.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
}

std::string EscapePath(std::string_view path) {
    std::string out;
    for (char const ch : path) {
        if (IsPathCharacter(ch))
            out += ch;
        else
            AppendEscaped(out, ch);
    }
    return out;
}

std::optional<std::string> Unescape(std::string_view text) {
    std::string out;
    for (size_t n = 0; n < text.size(); ++n) {
        if (text[n] != '%') {
            out += text[n];
            continue;
        }
        int const nByte = EscapedByte(text.substr(n));
        if (nByte < 0)
            return std::nullopt;
        out += static_cast<char>(nByte);
        n += 2;
    }
    return out;
}

std::optional<UrlParts> ParseUrl(std::string_view text) {
    if (!HoldsOnlyUrlCharacters(text))
        return std::nullopt;
    UrlParts oParts;
    oParts.fragment = CutAt(text, '#');
    oParts.query = CutAt(text, '?');
    oParts.szScheme = TakeScheme(text);
    if (text.starts_with("//")) {
        size_t const nEnd = std::min(text.find('/', 2), text.size());
        oParts.authority = std::string(text.substr(2, nEnd - 2));
        text.remove_prefix(nEnd);
    }
    oParts.szPath = text;
    return oParts;
}

std::string UrlText(UrlParts const& oParts) {
    std::string out = oParts.szScheme + ":";
    if (oParts.authority)
        out += "//" + *oParts.authority;
    out += oParts.szPath;
    if (oParts.query)
        out += "?" + *oParts.query;
    if (oParts.fragment)
        out += "#" + *oParts.fragment;
    return out;
}

UrlParts Resolve(UrlParts const& oBase, UrlParts oReference) {
    if (!oReference.szScheme.empty())
        return oReference;
    oReference.szScheme = oBase.szScheme;
    if (oReference.authority)
        return oReference;
    oReference.authority = oBase.authority;
    if (oReference.szPath.empty()) {
        oReference.szPath = oBase.szPath;
        if (!oReference.query)
            oReference.query = oBase.query;
        return oReference;
    }
    if (!oReference.szPath.starts_with('/'))
        oReference.szPath = oBase.szPath.substr(0, oBase.szPath.rfind('/') + 1) + oReference.szPath;
    oReference.szPath = WithoutDotSegments(oReference.szPath);
    return oReference;
}

} // namespace cf
