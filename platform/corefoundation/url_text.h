// URLs as text: their parts, escapes and how a reference is resolved. Bytes here are ASCII unless a word says
// otherwise.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cf {

struct UrlParts {
    std::string szScheme; // empty: a relative reference
    std::optional<std::string> authority;
    std::string szPath;
    std::optional<std::string> query;
    std::optional<std::string> fragment;
};

// nullopt when a character is in the text that a URL can't hold, or a "%" without two hex digits.
std::optional<UrlParts> ParseUrl(std::string_view text);
std::string UrlText(UrlParts const& oParts);
// `oReference` as seen from `oBase`, "." and ".." taken out of its path.
UrlParts Resolve(UrlParts const& oBase, UrlParts oReference);

// Whether a path's text holds the byte as it is.
bool IsPathCharacter(char ch) noexcept;
// Whether a URL's text holds the byte somewhere as it is.
bool IsUrlCharacter(char ch) noexcept;
void AppendEscaped(std::string& out, char ch);
std::string EscapePath(std::string_view path);
// Any bytes; nullopt when an escape is malformed. A NUL among them is kept.
std::optional<std::string> Unescape(std::string_view text);
// The byte of the escape at the start of `text`, or -1.
int EscapedByte(std::string_view text) noexcept;

} // namespace cf
