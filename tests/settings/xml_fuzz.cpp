#include "tests/settings/xml_fuzz.h"

#include "settings/xml_document.h"
#include "tests/settings/xml_progress.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

void Expect(bool bHolds) {
    if (!bHolds)
        std::abort();
}

std::string Plain(LXMLElement const* pFirst) {
    LStringLong szOut;
    for (; pFirst; pFirst = pFirst->GetNext())
        pFirst->SaveToBufferNoFormatting(szOut);
    return szOut.GetString();
}

// A text in memory of exactly its size, so that a sanitizer sees the first byte read behind it.
struct Load {
    Load(std::string const& szText, LProcessInterface* pProgress = nullptr)
        : szExact(new char[szText.size() + 1]), oLoader{.szText = szExact.get(),
                                                        .szError = szError,
                                                        .pProgress = pProgress} {
        std::copy_n(szText.c_str(), szText.size() + 1, szExact.get());
    }
    std::string Result(LXMLElement const* pFirst) const { return Plain(pFirst) + "\n" + szError; }

    std::unique_ptr<char[]> const szExact;
    char szError[kLNameSize] = "";
    LXMLLoader oLoader;
};

// Line and column are those that reading character by character gives.
void ExpectPlace(LXMLLoader const& oReached) {
    LXMLLoader oWalk{.szText = oReached.szText};
    while (oWalk.nPosition < oReached.nPosition && XMLLoadChar(oWalk) != '\0')
        ;
    Expect(oWalk.nPosition == oReached.nPosition && oWalk.nLine == oReached.nLine && oWalk.nColumn == oReached.nColumn);
}

// A caller's own way to the first element: its tag's name, then the rest.
void ExpectSameByHand(std::string const& szText, LXMLElement const& oFirst) {
    Load oByHand(szText);
    char szName[kLNameSize];
    XMLLoadChar(oByHand.oLoader);
    char const cEnd = XMLLoadTag(oByHand.oLoader, szName);
    LXMLElement const oElement(szName, cEnd, oByHand.oLoader, true);
    LXMLElement const oCopy(oFirst);
    Expect(Plain(&oElement) == Plain(&oCopy));
    ExpectPlace(oByHand.oLoader);
}

} // namespace

int FuzzXML(std::uint8_t const* bytes, std::size_t nByteCount) {
    std::string szText(reinterpret_cast<char const*>(bytes), nByteCount);
    szText.resize(std::min(szText.find('\0'), szText.size()));

    Load oLoad(szText);
    LXMLDocument oDocument;
    Expect(oDocument.LoadData(oLoad.oLoader));
    std::string const szResult = oLoad.Result(oDocument.GetFirstChild());
    ExpectPlace(oLoad.oLoader);

    AskCounter oNever(0);
    Load oAsked(szText, &oNever);
    LXMLDocument oSame;
    Expect(oSame.LoadData(oAsked.oLoader) && oAsked.Result(oSame.GetFirstChild()) == szResult);

    oSame = oDocument;
    Expect(oLoad.Result(oSame.GetFirstChild()) == szResult);
    if (szText.starts_with('<') && oDocument.GetFirstChild() && oDocument.GetFirstChild()->GetName())
        ExpectSameByHand(szText, *oDocument.GetFirstChild());

    if (szText.find('\r') == szText.npos) { // other line breaks, the same document
        std::string szBreaks;
        for (char const c : szText)
            szBreaks += c == '\n' ? "\r\n" : std::string(1, c);
        Load oBroken(szBreaks);
        Expect(oSame.LoadData(oBroken.oLoader) && oBroken.Result(oSame.GetFirstChild()) == szResult);
    }
    return 0;
}
