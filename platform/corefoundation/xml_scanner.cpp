#include "platform/corefoundation/xml_scanner.h"

#include "platform/corefoundation/property_list.h"
#include "platform/corefoundation/unicode.h"

#include <algorithm>
#include <charconv>

namespace cf {
namespace {

bool IsBlank(char ch) noexcept {
    return ch == ' ' || ch == '\t' || ch == '\n' || ch == '\r';
}

bool IsNameCharacter(char ch) noexcept {
    return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') || ch == '_' || ch == '-';
}

struct Entity {
    std::string_view name;
    char16_t unit;
};
constexpr Entity kEntities[] = {{"lt", u'<'}, {"gt", u'>'}, {"amp", u'&'}, {"quot", u'"'}, {"apos", u'\''}};
constexpr size_t kLongestEntity = 12;

// "#65" or "#x41" as its character; 0 when it is neither or XML can't hold it.
char32_t CharacterNumber(std::string_view text) noexcept {
    if (!text.starts_with('#'))
        return 0;
    bool const bHex = text.substr(1).starts_with('x');
    text.remove_prefix(bHex ? 2 : 1);
    unsigned n = 0;
    auto const [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), n, bHex ? 16 : 10);
    return error == std::errc() && pEnd == text.data() + text.size() && IsXmlCharacter(n) ? n : 0;
}

bool EqualIgnoringCase(std::string_view first, std::string_view second) noexcept {
    return std::ranges::equal(first, second, [](char a, char b) {
        return LowerCase(static_cast<unsigned char>(a)) == LowerCase(static_cast<unsigned char>(b));
    });
}

} // namespace

bool XmlScanner::TakeIf(std::string_view wanted) noexcept {
    bool const bIs = rest.starts_with(wanted);
    if (bIs)
        rest.remove_prefix(wanted.size());
    return bIs;
}

bool XmlScanner::SkipPast(std::string_view mark) noexcept {
    size_t const nAt = rest.find(mark);
    if (nAt == rest.npos)
        return false;
    rest.remove_prefix(nAt + mark.size());
    return true;
}

bool XmlScanner::TakeDeclaration() noexcept {
    TakeIf("\xEF\xBB\xBF");
    if (!rest.starts_with("<?xml"))
        return true;
    auto declaration = rest.substr(0, rest.find("?>"));
    size_t const nAt = declaration.find("encoding");
    if (nAt == declaration.npos)
        return true;
    declaration.remove_prefix(nAt);
    size_t const nQuote = std::min(declaration.find_first_of("\"'"), declaration.size() - 1);
    auto value = declaration.substr(nQuote + 1);
    value = value.substr(0, value.find(declaration[nQuote]));
    return EqualIgnoringCase(value, "UTF-8") || EqualIgnoringCase(value, "US-ASCII");
}

// The part in brackets may hold ">" in quotes and comments; lists have none, so none is read.
bool XmlScanner::SkipDocumentType() noexcept {
    auto const type = rest.substr(0, rest.find('>'));
    return type.find('[') == type.npos && SkipPast(">");
}

bool XmlScanner::SkipBetweenTags() noexcept {
    for (;;) {
        rest.remove_prefix(static_cast<size_t>(std::ranges::find_if_not(rest, IsBlank) - rest.begin()));
        bool bSkipped = true;
        if (TakeIf("<!--"))
            bSkipped = SkipPast("-->");
        else if (TakeIf("<?"))
            bSkipped = SkipPast("?>");
        else if (TakeIf("<!DOCTYPE"))
            bSkipped = SkipDocumentType();
        else
            return true;
        if (!bSkipped)
            return false;
    }
}

std::optional<XmlTag> XmlScanner::NextTag() noexcept {
    if (!SkipBetweenTags() || !TakeIf("<"))
        return std::nullopt;
    XmlTag oTag;
    if (TakeIf("/"))
        oTag.form = XmlTag::Form::Close;
    oTag.name = rest.substr(0, static_cast<size_t>(std::ranges::find_if_not(rest, IsNameCharacter) - rest.begin()));
    rest.remove_prefix(oTag.name.size());
    // Attributes mean nothing here; none of a list's has ">" in its value.
    size_t const nEnd = rest.find('>');
    if (oTag.name.empty() || nEnd == rest.npos)
        return std::nullopt;
    auto const attributes = rest.substr(0, nEnd);
    rest.remove_prefix(nEnd + 1);
    if (attributes.find('<') != attributes.npos ||
        (!attributes.empty() && !IsBlank(attributes[0]) && attributes != "/"))
        return std::nullopt;
    if (attributes.ends_with('/')) {
        if (oTag.form == XmlTag::Form::Close)
            return std::nullopt;
        oTag.form = XmlTag::Form::Empty;
    }
    return oTag;
}

bool XmlScanner::TakeEntity(std::u16string& out) noexcept {
    size_t const nEnd = rest.substr(0, kLongestEntity).find(';');
    if (nEnd == rest.npos)
        return false;
    auto const name = rest.substr(1, nEnd - 1);
    rest.remove_prefix(nEnd + 1);
    for (auto const& oEntity : kEntities)
        if (oEntity.name == name) {
            out += oEntity.unit;
            return true;
        }
    char32_t const c = CharacterNumber(name);
    if (c != 0)
        AppendUtf16(out, c);
    return c != 0;
}

bool XmlScanner::TakeCharacters(std::string_view text, std::u16string& out) noexcept {
    auto const units = Utf16FromUtf8(text);
    if (!units)
        return false;
    for (size_t n = 0; n < units->size();) {
        char32_t const c = NextCharacter(*units, n);
        if (!IsXmlCharacter(c))
            return false;
        bool const bBeforeLineFeed = c == '\r' && n < units->size() && (*units)[n] == u'\n';
        if (!bBeforeLineFeed)
            AppendUtf16(out, c == '\r' ? U'\n' : c);
    }
    return true;
}

std::optional<std::u16string> XmlScanner::TextUntilClose(std::string_view name) noexcept {
    std::u16string out;
    for (;;) {
        size_t const nEnd = std::min(rest.find_first_of("<&"), rest.size());
        auto const plain = rest.substr(0, nEnd);
        rest.remove_prefix(nEnd);
        if (!TakeCharacters(plain, out) || rest.empty())
            return std::nullopt;
        if (rest[0] == '&') {
            if (!TakeEntity(out))
                return std::nullopt;
        } else if (TakeIf("<![CDATA[")) {
            size_t const nClose = rest.find("]]>");
            if (nClose == rest.npos || !TakeCharacters(rest.substr(0, nClose), out))
                return std::nullopt;
            rest.remove_prefix(nClose + 3);
        } else if (TakeIf("<!--")) {
            if (!SkipPast("-->"))
                return std::nullopt;
        } else {
            auto const oTag = rest.starts_with("</") ? NextTag() : std::nullopt;
            if (!oTag || oTag->name != name)
                return std::nullopt;
            return out;
        }
    }
}

} // namespace cf
