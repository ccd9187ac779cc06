#include "settings/xml_cursor.h"

#include "base/utf.h"

#include <algorithm>

namespace {

constexpr std::size_t kMostOfEntity = 23;

struct Entity {
    std::string_view szName, szText;
};
constexpr Entity kEntities[] = {{"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};

constexpr std::string_view kMarkers[] = {"!--", "!DOCTYPE", "![CDATA["};

// The low 16 bits of the number behind the '#': all its hexadecimal digits, or the decimal digits that it begins with.
char16_t UnitOf(std::string_view szNumber) noexcept {
    unsigned nUnit = 0;
    bool const bHex = szNumber.starts_with('x');
    for (char const c : szNumber) {
        if (c >= '0' && c <= '9')
            nUnit = nUnit * (bHex ? 16 : 10) + static_cast<unsigned>(c - '0');
        else if (!bHex)
            break;
        else if ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'))
            nUnit = nUnit * 16 + static_cast<unsigned>((c | 0x20) - 'a') + 10;
    }
    return static_cast<char16_t>(nUnit);
}

// A name in a caller's buffer of kLNameSize.
class Name {
public:
    static constexpr bool kMayBeMarker = true;
    explicit Name(char* szBuffer) noexcept : oText(szBuffer, kLNameSize), szText(szBuffer) {}

    void Add(char c) noexcept { oText.Add(c); }
    void Add(std::string_view sz) noexcept { oText.Add(sz.data(), sz.size()); }
    std::string_view View() const noexcept { return {szText, oText.Length()}; }

    // Whether the name is a marker with this character; it then is, else it stays as it was.
    bool EndsAsMarker(char c) noexcept {
        for (std::string_view const szMarker : kMarkers)
            if (oText.Length() + 1 == szMarker.size() && c == szMarker.back() && szMarker.starts_with(View())) {
                Add(c);
                return true;
            }
        return false;
    }

private:
    LFixedWriter oText;
    char const* szText;
};

// A value in a growable string, which grows as if each character came alone.
class Value {
public:
    static constexpr bool kMayBeMarker = false;
    explicit Value(LStringLongTemplate<char>& szBuffer) noexcept : szText(szBuffer) {
        szText.Reserve(kLNameSize);
        szText.Empty();
    }

    void Add(char c) noexcept { Add({&c, 1}); }
    void Add(std::string_view sz) noexcept { bCut = !LXMLAppendRun(szText, sz) || bCut; }
    std::string_view View() const noexcept { return szText.View(); }
    bool WasCut() const noexcept { return bCut; }

private:
    LStringLongTemplate<char>& szText;
    bool bCut = false;
};

} // namespace

void LXMLCursor::Store() const noexcept {
    oLoader.nPosition = Position();
    oLoader.nLine = static_cast<std::int32_t>(nLine);
    oLoader.nColumn = static_cast<std::int32_t>(Position() - nLineStart + 1);
}

std::string_view LXMLCursor::ReadEntity(char* szResult) noexcept {
    char szName[kMostOfEntity];
    std::size_t nLength = 0;
    LFixedWriter oResult(szResult, kLNameSize);
    for (;;) {
        char const c = Read();
        if (c == ';')
            break;
        if (c == '\0' || c == '\t' || c == '\n' || c == ' ' || nLength == kMostOfEntity) {
            Store();
            XMLRecordErrorF(oLoader, "Strings starting with an ampersand (&) must end with a semicolon (;). Either "
                                     "replace the '&' with '&amp;' or add a ';' at the end of the control string.");
            return {};
        }
        szName[nLength++] = c;
    }
    std::string_view const szWhole(szName, nLength);
    if (szWhole.starts_with('#')) {
        char16_t const nUnit = UnitOf(szWhole.substr(1));
        return {szResult, nUnit != 0 ? LCopyUTF8FromUnicode(szResult, kLNameSize, {&nUnit, 1}) : 0};
    }
    auto const pEntity = std::ranges::find(kEntities, szWhole, &Entity::szName);
    std::string_view const szText = pEntity != std::end(kEntities) ? pEntity->szText : "&";
    oResult.Add(szText.data(), szText.size());
    return {szResult, oResult.Length()};
}

template <class Word>
char LXMLCursor::ReadWord(Word& oWord) noexcept {
    char cQuote = '\0';
    for (;;) {
        if constexpr (!Word::kMayBeMarker)
            oWord.Add(ReadRun(cQuote ? kLXMLInQuotes : kLXMLInWord));
        char const c = Read();
        if constexpr (Word::kMayBeMarker)
            if (oWord.EndsAsMarker(c))
                return c;
        char szEntity[kLNameSize];
        if (c == '\0')
            return c;
        if (c == '&')
            oWord.Add(ReadEntity(szEntity));
        else if (cQuote ? c == cQuote : c == '"' || c == '\'')
            cQuote = cQuote ? '\0' : c;
        else if (!cQuote && LXMLIsIn(kLXMLEndsWord, c))
            return c;
        else
            oWord.Add(c);
    }
}

char LXMLCursor::ReadOddName(char* szBuffer, std::string_view& szName) noexcept {
    Name oName(szBuffer);
    char const cEnd = ReadWord(oName);
    szName = oName.View();
    return cEnd;
}

char LXMLCursor::ReadOddValue(LStringLongTemplate<char>& szBuffer, std::string_view& szValue) noexcept {
    Value oValue(szBuffer);
    char const cEnd = ReadWord(oValue);
    szValue = oValue.View();
    bCut = bCut || oValue.WasCut();
    return cEnd;
}
