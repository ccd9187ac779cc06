// What XML documents cost, beside well-kept libraries that do the same.
#include "bench/measure.h"
#include "settings/xml_document.h"
#include "settings/xml_saver.h"

#include <expat.h>
#include <malloc.h>
#include <pugixml.hpp>
#include <tinyxml2.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>

namespace {

volatile std::size_t nSink; // what the compiler must not think unused

// Sections of items as the shared settings have them: formatted, one value an item, now and then an escaped one.
std::string Settings(std::size_t nBytes) {
    std::string szText = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Settings>\n"; // one root: expat asks for it
    for (int nSection = 0; szText.size() < nBytes; ++nSection) {
        std::string const szSection = "Section" + std::to_string(nSection);
        szText += "\t<" + szSection + ">\n";
        for (int nItem = 0; nItem < 20; ++nItem)
            szText += "\t\t<Item" + std::to_string(nItem) + " value=\"" +
                      (nItem % 8 == 0 ? "Recordings &amp; more" : "/Users/somebody/Music/" + std::to_string(nSection)) +
                      "\"/>\n";
        szText += "\t</" + szSection + ">\n";
    }
    return szText + "</Settings>\n";
}

// Of this thread's processor time: nothing here waits or uses another thread, and what else a shared machine does is
// kept out.
template <class Function>
double Time(Function const& Do) {
    auto const Now = [] {
        timespec oNow{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &oNow);
        return static_cast<double>(oNow.tv_sec) * 1e3 + static_cast<double>(oNow.tv_nsec) / 1e6;
    };
    double const fBegin = Now();
    Do();
    return Now() - fBegin;
}

// ---- The four

std::size_t AllocatedBytes() {
    struct mallinfo2 const oInfo = mallinfo2();
    return oInfo.uordblks + oInfo.hblkhd;
}

// A tree built `nTimes`, what went before freed outside of the time that is taken.
template <class Tree, class Build>
double TimeBuild(int nTimes, Build const& Do) {
    double fTime = 0;
    for (int n = 0; n < nTimes; ++n) {
        Tree oTree;
        fTime += Time([&] { Do(oTree); });
    }
    return fTime;
}

void ParseOurs(LXMLDocument& oDocument, std::string const& szText) {
    char szError[kLNameSize] = "";
    LXMLLoader oLoader{.szText = szText.c_str(), .szError = szError};
    oDocument.LoadData(oLoader);
    if (*szError)
        std::abort();
}

void ParsePugi(pugi::xml_document& oDocument, std::string const& szText) {
    if (!oDocument.load_buffer(szText.data(), szText.size()))
        std::abort();
}

void ParseTiny(tinyxml2::XMLDocument& oDocument, std::string const& szText) {
    if (oDocument.Parse(szText.data(), szText.size()) != tinyxml2::XML_SUCCESS)
        std::abort();
}

struct Expat {
    XML_Parser const pParser = XML_ParserCreate(nullptr);
    ~Expat() { XML_ParserFree(pParser); }
};

void ParseExpat(Expat& oExpat, std::string const& szText) {
    XML_SetElementHandler(
        oExpat.pParser, [](void*, char const* szName, char const**) { nSink = nSink + static_cast<size_t>(*szName); },
        [](void*, char const*) {});
    XML_SetCharacterDataHandler(oExpat.pParser,
                                [](void*, char const*, int nLength) { nSink = nSink + static_cast<size_t>(nLength); });
    std::size_t const kPiece = 1 << 20;
    for (std::size_t n = 0; n < szText.size(); n += kPiece) {
        std::size_t const nLength = std::min(kPiece, szText.size() - n);
        if (XML_Parse(oExpat.pParser, szText.data() + n, static_cast<int>(nLength), n + nLength == szText.size()) == 0)
            std::abort();
    }
}

void WriteOurs(LXMLDocument const& oDocument) {
    LStringLong szOut;
    LXMLSaver oSaver(szOut, LXMLSaver::kFormatted);
    for (LXMLElement const* p = oDocument.GetFirstChild(); p; p = p->GetNext())
        oSaver.Save(*p, 0);
    nSink = nSink + static_cast<size_t>(oSaver.HasFailed());
}

// Into a string, as ours.
struct StringWriter : pugi::xml_writer {
    std::string szOut;
    void write(void const* pData, std::size_t nSize) override { szOut.append(static_cast<char const*>(pData), nSize); }
};

void WritePugi(pugi::xml_document const& oDocument) {
    StringWriter oWriter;
    oDocument.save(oWriter);
    nSink = nSink + oWriter.szOut.size();
}

void WriteTiny(tinyxml2::XMLDocument const& oDocument) {
    tinyxml2::XMLPrinter oPrinter;
    oDocument.Print(&oPrinter);
    nSink = nSink + static_cast<size_t>(oPrinter.CStrSize());
}

// ---- Rows

struct Size {
    char const* szName;
    std::size_t nBytes;
    int nTimes;
    char const* szUnit; // of what one document takes
    double fOfMs;       // how many of them are a millisecond
};

// All of a kind by turns, so that what else the machine does meets all; the best of the rounds, since all that other
// work can do is add.
class Turns {
public:
    void Add(std::function<double()> const& Measure) { lMeasures.push_back(Measure); }
    std::vector<double> Run(int nRounds) const {
        std::vector<double> lBest(lMeasures.size(), 1e12);
        for (int n = 0; n < nRounds; ++n)
            for (std::size_t nMeasure = 0; nMeasure < lMeasures.size(); ++nMeasure)
                lBest[nMeasure] = std::min(lBest[nMeasure], lMeasures[nMeasure]());
        return lBest;
    }

private:
    std::vector<std::function<double()>> lMeasures;
};

void AddParse(std::vector<Row>& lRows, Size const& oSize, std::string const& szText, int nRounds) {
    Turns oTurns;
    int const n = oSize.nTimes;
    double const f = oSize.fOfMs / n;
    oTurns.Add([&] { return TimeBuild<LXMLDocument>(n, [&](auto& oTree) { ParseOurs(oTree, szText); }); });
    oTurns.Add([&] { return TimeBuild<pugi::xml_document>(n, [&](auto& oTree) { ParsePugi(oTree, szText); }); });
    oTurns.Add([&] { return TimeBuild<tinyxml2::XMLDocument>(n, [&](auto& oTree) { ParseTiny(oTree, szText); }); });
    oTurns.Add([&] { return TimeBuild<Expat>(n, [&](auto& oTree) { ParseExpat(oTree, szText); }); });
    auto const lBest = oTurns.Run(nRounds);
    std::string const szWhat = std::string("parse ") + oSize.szName;
    lRows.push_back({szWhat + " into a tree; beside pugixml", lBest[0] * f, lBest[1] * f, oSize.szUnit, 2.0});
    lRows.push_back({szWhat + "; beside tinyxml2", lBest[0] * f, lBest[2] * f, oSize.szUnit, 0.7});
    lRows.push_back({szWhat + "; beside expat's callbacks, no tree", lBest[0] * f, lBest[3] * f, oSize.szUnit, 1.5});
}

void AddWrite(std::vector<Row>& lRows, Size const& oSize, std::string const& szText, int nRounds) {
    std::size_t const nBefore = AllocatedBytes();
    LXMLDocument oOurs;
    ParseOurs(oOurs, szText);
    std::size_t const nOurs = AllocatedBytes() - nBefore;
    tinyxml2::XMLDocument oTiny;
    ParseTiny(oTiny, szText);
    std::size_t const nTiny = AllocatedBytes() - nBefore - nOurs;
    pugi::xml_document oPugi;
    ParsePugi(oPugi, szText);

    Turns oTurns;
    auto const Repeat = [&oSize](auto const& Do) {
        return Time([&] {
            for (int n = 0; n < oSize.nTimes; ++n)
                Do();
        });
    };
    oTurns.Add([&] { return Repeat([&] { WriteOurs(oOurs); }); });
    oTurns.Add([&] { return Repeat([&] { WritePugi(oPugi); }); });
    oTurns.Add([&] { return Repeat([&] { WriteTiny(oTiny); }); });
    auto const lBest = oTurns.Run(nRounds);
    int const n = oSize.nTimes;
    double const f = oSize.fOfMs / n;
    std::string const szWhat = std::string("write ") + oSize.szName;
    lRows.push_back({szWhat + " formatted; beside pugixml", lBest[0] * f, lBest[1] * f, oSize.szUnit, 1.5});
    lRows.push_back({szWhat + "; beside tinyxml2", lBest[0] * f, lBest[2] * f, oSize.szUnit, 0.7});
    lRows.push_back({std::string("memory of the tree of ") + oSize.szName + "; beside tinyxml2",
                     static_cast<double>(nOurs) / 1024, static_cast<double>(nTiny) / 1024, "KiB", 1.0});
}

} // namespace

int main(int nArguments, char** ppArguments) {
    bool const bQuick = IsQuickRun(nArguments, ppArguments);
    StayOnProcessor(0);
    std::vector<Row> lRows;
    for (Size const& oSize : {Size{"4 KB", 4'000, 1000, "µs", 1000}, Size{"1 MB", 1'000'000, 5, "ms", 1},
                              Size{"50 MB", 50'000'000, 1, "ms", 1}}) {
        std::string const szText = Settings(oSize.nBytes);
        AddParse(lRows, oSize, szText, bQuick ? 3 : 20);
        AddWrite(lRows, oSize, szText, bQuick ? 3 : 20);
    }
    return PrintRows(lRows) ? 0 : 1;
}
