#include "settings/xml_parser.h"

#include "runtime/sync/process_interface.h"

#include <cstring>
#include <strings.h>

namespace {

constexpr std::size_t kPollCharacters = 512;
constexpr char kNoMemory[] = "Not enough memory";

bool IsNameOf(char const* szElement, std::string_view szName) noexcept {
    return std::strncmp(szElement, szName.data(), szName.size()) == 0 && szElement[szName.size()] == '\0';
}

char FirstOf(char const* szElement) noexcept {
    return szElement ? *szElement : '\0';
}

// An unnamed element that was given no name at all is written as one of an empty name.
char const* Shown(char const* szName) noexcept {
    return szName ? szName : "";
}

} // namespace

LXMLElement::LXMLElement(char const* szElementName, char cTerminator, LXMLLoader& oLoader, bool bPreserveSpace) noexcept
    : bSpacePreserved(bPreserveSpace) {
    if (SetTexts(szElementName, nullptr))
        LXMLParser(oLoader).LoadElement(*this, cTerminator);
    else
        XMLRecordErrorF(oLoader, "%s", kNoMemory);
}

bool LXMLElement::LoadData(LXMLLoader& oLoader) noexcept {
    return LXMLParser(oLoader).LoadData(*this);
}

bool LXMLParser::LoadData(LXMLElement& oElement) noexcept {
    Open(oElement);
    return Run();
}

bool LXMLParser::LoadElement(LXMLElement& oElement, char cTerminator) noexcept {
    ReadRestOfTag(oElement, cTerminator);
    return Run();
}

[[gnu::flatten]] bool LXMLParser::Run() noexcept { // one loop, all of its steps inlined: twice as fast
    while (!lOpen.IsEmpty() && !bNoMemory)
        Step();
    return !bNoMemory;
}

// Memory that did not come ends the load: nothing that follows could be kept.
[[gnu::noinline]] void LXMLParser::EndForWantOfMemory() noexcept {
    bNoMemory = true;
    oCursor.Store();
    XMLRecordErrorF(oCursor.Loader(), "%s", kNoMemory);
}

bool LXMLParser::Got(bool bDone) noexcept {
    if (!bDone)
        EndForWantOfMemory();
    return bDone;
}

// ---- Levels

void LXMLParser::Open(LXMLElement& oElement) noexcept {
    oElement.DeleteChildren();
    Got(lOpen.Push({&oElement, &oElement.pFirstChild, oCursor.Position()}));
    pPiece = oCursor.At();
}

void LXMLParser::Close(char const* pTextEnd) noexcept {
    FlushText(pTextEnd);
    lOpen.Pop();
}

LXMLElement* LXMLParser::Append(LXMLElement* pChild) noexcept {
    if (Got(pChild != nullptr)) {
        Level& oLevel = lOpen.Top();
        *oLevel.ppEnd = pChild;
        oLevel.ppEnd = &pChild->pNext;
    }
    return pChild;
}

bool LXMLParser::IsToStop() noexcept {
    LProcessInterface* const pProgress = oCursor.Loader().pProgress;
    Level& oLevel = lOpen.Top();
    if (!pProgress || oCursor.Position() - oLevel.nPollPoint < kPollCharacters)
        return false;
    oLevel.nPollPoint = oCursor.Position();
    oCursor.Store();
    return pProgress->IsToStop();
}

// ---- Text

void LXMLParser::TakeText(char const* pTextEnd) noexcept {
    Got(szPieces.Append({pPiece, pTextEnd}));
    pPiece = oCursor.At();
}

void LXMLParser::TakeEntity(char const* pTextEnd) noexcept {
    char szEntity[kLNameSize];
    TakeText(pTextEnd);
    Got(szPieces.Append(oCursor.ReadEntity(szEntity)));
    pPiece = oCursor.At();
}

void LXMLParser::FlushText(char const* pTextEnd) noexcept {
    std::string_view szText(pPiece, pTextEnd);
    if (!szPieces.IsEmpty()) {
        TakeText(pTextEnd);
        szText = szPieces.View();
    }
    pPiece = oCursor.At();
    bool const bPreserve = lOpen.Top().pElement->bSpacePreserved;
    if (!bPreserve)
        szText = LXMLTrimmed(szText);
    if (!szText.empty())
        Append(LXMLElement::MakeText(oMemory, szText, bPreserve));
    szPieces.Empty();
}

// ---- Content

// Reads the innermost level's text up to what ends it or has to be put in another form, and that too.
void LXMLParser::Step() noexcept {
    Level const& oLevel = lOpen.Top();
    for (;;) {
        if (oCursor.Loader().pProgress)
            oCursor.SkipRun(kLXMLInContent, oLevel.nPollPoint + kPollCharacters - 1);
        else
            oCursor.ReadRun(kLXMLInContent);

        char const* const pHere = oCursor.At();
        char const c = oCursor.Read();
        if (IsToStop())
            return Close(pHere);
        switch (c) {
        case '<': return ReadMarkup(pHere);
        case '\0':
            if (oLevel.pElement->szName)
                RecordUnterminated(*oLevel.pElement);
            return Close(pHere);
        case '&': return TakeEntity(pHere);
        case '\n':
            if (*pHere == '\n' && oCursor.At() == pHere + 1)
                continue; // stays part of the piece
            TakeText(pHere);
            Got(szPieces.Append("\n"));
            return;
        default: continue;
        }
    }
}

// What follows a '<'; the text in front of it ends at `pTextEnd`.
void LXMLParser::ReadMarkup(char const* pTextEnd) noexcept {
    char szBuffer[kLNameSize];
    std::string_view szName;
    char const cEnd = oCursor.ReadName(szBuffer, szName);
    if (!szName.empty()) {
        FlushText(pTextEnd);
        bool const bPreserve = lOpen.Top().pElement->bSpacePreserved;
        if (LXMLElement* const pChild = Append(LXMLElement::MakeElement(oMemory, szName, bPreserve)))
            ReadRestOfTag(*pChild, cEnd);
        pPiece = oCursor.At();
        return;
    }
    if (cEnd == '/') {
        ReadClosingTag();
    } else {
        oCursor.Store();
        XMLRecordErrorF(oCursor.Loader(), "Misplaced < without name. Use &lt; instead of < if appropriate.");
    }
    Close(pTextEnd);
}

void LXMLParser::ReadClosingTag() noexcept {
    char szBuffer[kLNameSize];
    std::string_view szClosing;
    char c = oCursor.ReadName(szBuffer, szClosing);
    char const* const szName = lOpen.Top().pElement->szName;
    int const nLength = static_cast<int>(szClosing.size());
    if (!szName || !IsNameOf(szName, szClosing))
        oCursor.Store();
    if (!szName)
        XMLRecordErrorF(oCursor.Loader(), "Misplaced </%.*s> which does not match a <%.*s>.", nLength, szClosing.data(),
                        nLength, szClosing.data());
    else if (!IsNameOf(szName, szClosing))
        XMLRecordErrorF(oCursor.Loader(),
                        "Element <%s> should be terminated with </%s>, was with %.*s. Check you have terminated your "
                        "element properly.",
                        szName, szName, nLength, szClosing.data());
    while (c != '>' && c != '\0')
        c = oCursor.Read();
}

void LXMLParser::RecordUnterminated(LXMLElement const& oElement) noexcept {
    oCursor.Store();
    XMLRecordErrorF(oCursor.Loader(),
                    "(EOF) Element <%s> should be terminated with </%s>. Check you have terminated your element "
                    "properly.",
                    Shown(oElement.szName), Shown(oElement.szName));
}

// ---- Tags

void LXMLParser::ReadRestOfTag(LXMLElement& oElement, char cTerminator) noexcept {
    char const cFirst = FirstOf(oElement.szName);
    if (cFirst == '!')
        return ReadSpecial(oElement);
    bool bSelfClosed = false;
    while (!bNoMemory) {
        bSelfClosed = bSelfClosed || cTerminator == '/';
        if (cTerminator == '/' && *oCursor.At() == '>')
            cTerminator = oCursor.Read();
        if (cTerminator == '\0') {
            oCursor.Store();
            return XMLRecordErrorF(oCursor.Loader(), "Tag <%s> does not have a closing '>'", Shown(oElement.szName));
        }
        if (cTerminator == '>') {
            if (!bSelfClosed && cFirst != '?')
                Open(oElement);
            return;
        }
        cTerminator = ReadAttribute(oElement);
    }
}

char LXMLParser::ReadAttribute(LXMLElement& oElement) noexcept {
    char szBuffer[kLNameSize];
    std::string_view szName, szRead;
    char cEnd = oCursor.ReadName(szBuffer, szName);
    if (cEnd == ' ' && *oCursor.At() == '=')
        cEnd = oCursor.Read();
    if (cEnd == '=')
        cEnd = oCursor.ReadValue(szValue, szRead);
    constexpr std::string_view kSpace = "xml:space";
    if (szName.size() == kSpace.size() && strncasecmp(szName.data(), kSpace.data(), kSpace.size()) == 0) {
        oElement.bSpacePreserved = true;
    } else if (!szName.empty()) {
        if (cEnd == '>' && szRead.ends_with('?'))
            szRead.remove_suffix(1);
        Got(!oCursor.HasCut() && oElement.oAttributes.Set(oMemory, szName, szRead));
    }
    return cEnd;
}

// ---- Comments, CDATA sections, document types

void LXMLParser::ReadSpecial(LXMLElement& oElement) noexcept {
    szValue.Empty();
    if (!ReadSpecialContent(oElement.szName))
        RecordUnterminated(oElement);
    oElement.pFirstChild = LXMLElement::MakeText(oMemory, szValue.View(), oElement.bSpacePreserved);
    Got(oElement.pFirstChild != nullptr);
}

// Reads raw content into szValue. False when the text ends before it does.
bool LXMLParser::ReadSpecialContent(std::string_view szName) noexcept {
    bool const bDocumentType = szName == "!DOCTYPE";
    std::string_view const szEnd = szName == "!--" ? "--" : szName == "![CDATA[" ? "]]" : "";
    bool bInBrackets = false;
    for (;;) {
        bool const bTaken = Got(LXMLAppendRun(szValue, oCursor.ReadRun(kLXMLInSpecial)));
        char const c = oCursor.Read();
        if (c == '\0' || !bTaken)
            return false;
        if (bInBrackets) {
            bInBrackets = c != ']';
        } else if (c == '>' && bDocumentType) {
            return true;
        } else if (c == '>' && !szEnd.empty() && szValue.View().ends_with(szEnd)) {
            szValue.Truncate(szValue.GetLength() - szEnd.size());
            return true;
        } else {
            bInBrackets = bDocumentType && c == '[';
        }
        Got(LXMLAppendRun(szValue, {&c, 1}));
    }
}
