#include "settings/xml_saver.h"

#include "settings/xml_text.h"

#include <climits>
#include <cstring>
#include <strings.h>

namespace {

constexpr char kDeclaration[] = "?xml";
constexpr char kVersion[] = "version";

// What closes an element without content or with raw content.
std::string_view MarkerThatCloses(char const* szName) noexcept {
    if (std::strcmp(szName, "!--") == 0)
        return "-->";
    if (strcasecmp(szName, "![CDATA[") == 0)
        return "]]>";
    return *szName == '!' ? ">" : *szName == '?' ? "?>" : "/>";
}

// That of the attribute which is spelt so; failing that, of one in other letters, which is then not lost.
char const* VersionIn(LXMLAttributes const& oAttributes) noexcept {
    char const* szVersion = oAttributes.Get(kVersion);
    if (!szVersion)
        szVersion = "";
    oAttributes.ForEach([&](LXMLAttribute const& oAttribute) {
        if (*szVersion == '\0' && strcasecmp(oAttribute.GetName(), kVersion) == 0)
            szVersion = oAttribute.GetValue();
    });
    return szVersion;
}

int Deeper(int nIndent) noexcept {
    return nIndent < 0 ? -1 : nIndent < INT_MAX ? nIndent + 1 : nIndent;
}

} // namespace

bool LXMLElement::SaveToBuffer(LStringLongTemplate<char>& szOut, int nIndent) const noexcept {
    return LXMLSaver(szOut, LXMLSaver::kFormatted).Save(*this, nIndent);
}

bool LXMLElement::SaveToBufferNoFormatting(LStringLongTemplate<char>& szOut) const noexcept {
    return LXMLSaver(szOut, LXMLSaver::kPlain).Save(*this, -1);
}

[[gnu::flatten]] bool LXMLSaver::Save(LXMLElement const& oNode, int nIndent) noexcept {
    bool const bWritten = SaveNode(oNode, bFormatted ? nIndent : -1);
    while (!lOpen.IsEmpty() && !HasFailed()) {
        Level& oLevel = lOpen.Top();
        if (LXMLElement const* const pChild = oLevel.pNextChild) {
            oLevel.pNextChild = pChild->GetNext();
            SaveNode(*pChild, Deeper(oLevel.nIndent));
        } else {
            SaveClosingTag(oLevel);
            lOpen.Pop();
        }
    }
    return bWritten && !HasFailed();
}

bool LXMLSaver::SaveNode(LXMLElement const& oNode, int nIndent) noexcept {
    if (!oNode.GetName())
        return SaveText(oNode);
    SaveElement(oNode, nIndent);
    return true;
}

bool LXMLSaver::IsNothing(char const* szText) const noexcept {
    return *szText == '\0' || (bFormatted && LXMLIsBlank(szText));
}

bool LXMLSaver::SaveText(LXMLElement const& oNode) noexcept {
    char const* const szText = oNode.GetElementData();
    if (IsNothing(szText))
        return false;
    if (bFormatted)
        oSink.PutEscapedLines(szText);
    else
        oSink.PutEscaped(szText);
    return true;
}

LXMLSaver::Content LXMLSaver::ContentOf(LXMLElement const& oElement) const noexcept {
    auto eContent = Content::Nothing;
    for (LXMLElement const* pChild = oElement.GetFirstChild(); pChild; pChild = pChild->GetNext()) {
        if (pChild->GetName())
            return Content::Elements;
        if (eContent == Content::Nothing && !IsNothing(pChild->GetElementData()))
            eContent = Content::Text;
    }
    return eContent;
}

void LXMLSaver::SaveElement(LXMLElement const& oElement, int nIndent) noexcept {
    char const* const szName = oElement.GetName();
    if (nIndent > 0)
        oSink.PutTabs(static_cast<std::size_t>(nIndent));
    oSink.Put('<');
    oSink.Put(szName);
    if (*szName == '!') {
        for (LXMLElement const* pChild = oElement.GetFirstChild(); pChild; pChild = pChild->GetNext())
            if (pChild->GetData())
                oSink.Put(pChild->GetData());
    } else {
        SaveAttributes(oElement);
        Content const eContent = ContentOf(oElement);
        if (eContent != Content::Nothing) {
            bool const bLines = eContent == Content::Elements && bFormatted;
            oSink.Put('>');
            if (bLines && nIndent >= 0)
                oSink.Put('\n');
            if (!lOpen.Push({&oElement, oElement.GetFirstChild(), nIndent, bLines}))
                oSink.Fail();
            return;
        }
    }
    oSink.Put(MarkerThatCloses(szName));
    if (nIndent >= 0)
        oSink.Put('\n');
}

// The break behind a closing tag is written in every formatted text, also where the caller asked for no lines.
void LXMLSaver::SaveClosingTag(Level const& oLevel) noexcept {
    if (oLevel.bLines && oLevel.nIndent > 0)
        oSink.PutTabs(static_cast<std::size_t>(oLevel.nIndent));
    oSink.Put("</");
    oSink.Put(oLevel.pElement->GetName());
    oSink.Put('>');
    if (bFormatted)
        oSink.Put('\n');
}

void LXMLSaver::PutAttribute(char const* szName) noexcept {
    oSink.Put(' ');
    oSink.Put(szName);
    oSink.Put("=\"");
}

// The version of a declaration comes first, and as it is.
void LXMLSaver::SaveAttributes(LXMLElement const& oElement) noexcept {
    LXMLAttributes const& oAttributes = oElement.GetAttributes();
    bool const bDeclaration = std::strcmp(oElement.GetName(), kDeclaration) == 0;
    char const* const szVersion = bDeclaration ? VersionIn(oAttributes) : "";
    if (*szVersion != '\0') {
        PutAttribute(kVersion);
        oSink.Put(szVersion);
        oSink.Put('"');
    }
    oAttributes.ForEach([&](LXMLAttribute const& oAttribute) {
        if (bDeclaration && strcasecmp(oAttribute.GetName(), kVersion) == 0)
            return;
        PutAttribute(oAttribute.GetName());
        oSink.PutEscaped(oAttribute.GetValue());
        oSink.Put('"');
    });
}
