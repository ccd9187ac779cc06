// The XML of property lists, cut into tags and the text between them. Reads hostile bytes: every step moves forward or
// fails, nothing is read past the end, nothing is expanded beyond the five entities and character numbers.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cf {

struct XmlTag {
    enum class Form { Open, Close, Empty };
    Form form = Form::Open;
    std::string_view name; // in the document
};

class XmlScanner {
public:
    // The text must outlive the scanner.
    explicit XmlScanner(std::string_view text) noexcept : rest(text) {}

    // Past blanks, comments, processing instructions and the document type to the next tag. Nothing at a fault, at the
    // end, and before any other text.
    std::optional<XmlTag> NextTag() noexcept;

    // The text up to `</name>`, which is taken too, entities replaced and line ends made "\n". Nothing when there is
    // another tag in it, a character that XML can't hold, or no end.
    std::optional<std::u16string> TextUntilClose(std::string_view name) noexcept;

    // True when nothing but blanks, comments and processing instructions is left.
    bool IsAtEnd() noexcept { return SkipBetweenTags() && rest.empty(); }

    // False when the document says that it is in another encoding than UTF-8. To be called first.
    bool TakeDeclaration() noexcept;

private:
    bool SkipBetweenTags() noexcept;
    bool SkipPast(std::string_view mark) noexcept;
    bool SkipDocumentType() noexcept;
    bool TakeIf(std::string_view wanted) noexcept;
    bool TakeEntity(std::u16string& out) noexcept;
    bool TakeCharacters(std::string_view text, std::u16string& out) noexcept;

    std::string_view rest;
};

} // namespace cf
