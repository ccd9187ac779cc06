#include "settings/xml_document.h"
#include "tests/settings/xml_fuzz.h"
#include "tests/settings/xml_progress.h"
#include "tests/settings/xml_shown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>

namespace {

using namespace std::string_literals;

constexpr char kAmpersand[] =
    "Strings starting with an ampersand (&) must end with a semicolon (;). Either replace the "
    "'&' with '&amp;' or add a ';' at the end of the control string.";
constexpr char kNoName[] = "Misplaced < without name. Use &lt; instead of < if appropriate.";

std::string Unterminated(std::string const& szName, std::string const& szWas = "") {
    return (szWas.empty() ? "(EOF) " : "") + "Element <"s + szName + "> should be terminated with </" + szName + ">" +
           (szWas.empty() ? "" : ", was with " + szWas) + ". Check you have terminated your element properly.";
}

// A parsed document, and what the loader then says.
struct Parsed {
    explicit Parsed(std::string const& szText, LProcessInterface* pProgress = nullptr) {
        oLoader = {.szText = szText.c_str(), .szError = szError, .pProgress = pProgress};
        oDocument.LoadData(oLoader);
        szShown = ShownChildren(oDocument);
        if (*szError)
            szShown += " ! "s + szError;
    }
    char szError[kLNameSize] = "";
    LXMLLoader oLoader;
    LXMLDocument oDocument;
    std::string szShown;
};

std::string Error(int nLine, int nColumn, std::string const& szMessage) {
    return " ! " +
           ("Ln " + std::to_string(nLine) + ", Col " + std::to_string(nColumn) + ": " + szMessage).substr(0, 259);
}

struct Row {
    std::string szText, szShown;
};

void ExpectRows(std::vector<Row> const& lRows) {
    for (auto const& oRow : lRows)
        EXPECT_EQ(Parsed(oRow.szText).szShown, oRow.szShown) << oRow.szText;
}

} // namespace

TEST(XMLParser, ReadsTextWithEntitiesAndLineBreaks) {
    ExpectRows({
        {"", ""},
        {"a\r\nb", "'a\nb'"},
        {"a\r\rb\n\rc\n\nd\r", "'a\n\nb\nc\n\nd\n'"},
        {"<a>&amp;&lt;&gt;&quot;&apos;</a>", "a{'&<>\"''}"},
        {"<a>&#x41;&#65;&#x1F41;&#x10041;&#65601;&#xD_83D;&#65x6;&#99999999999999999999;</a>",
         "a{'AA\u1F41AA\uFFFDA\uFFFF'}"},
        {"<a>&#X41;&#0;&#;&#x;&#-5;</a>", "a"},
        {"<a>&nbsp;&AMP;&;</a>", "a{'&&&'}"},
        {"<a>1 &12345678901234567890123; 2</a>", "a{'1 & 2'}"},
        {"<a>1 &123456789012345678901234; 2</a>", "a{'1 ; 2'}" + Error(1, 31, kAmpersand)},
        {"<a>x &amp y &lt\n</a>", "a{'x y '}" + Error(1, 11, kAmpersand)},
        {"a &", "'a '" + Error(1, 4, kAmpersand)},
        {"<a>&\r\nb</a>", "a{'b'}" + Error(2, 1, kAmpersand)},
    });
}

TEST(XMLParser, ReadsTagsAndAttributes) {
    std::string const sz259(259, 'n'), sz300 = sz259 + std::string(41, 'm'), szLong(5000, 'v');
    ExpectRows({
        {"<a/><a /><a></a><a\n\t/>", "a a a a"},
        {"<a b><a b=c><a b = c><a b =  c/></a></a></a>", "a[b=]{a[b=c]{a[b=c]{a[b= c=]}}}"},
        {"<a z='1' b=\"2\" B=3 z=4/>", "a[B=3 b=2 z=4]"},
        {"<a b='&lt;\"x\"' c=\"it's\r\n2\" d='a'b\"c\"=1/>", "a[1= b=<\"x\" c=it's\n2 d=abc]"},
        {"<a / b='1'>text", "a[b=1] 'text'"},
        {"<a b=x/y>t", "a[b=x y=] 't'"},
        {"<a b='1'c='2'/>", "a[2= b=1c]"},
        {"<a b='what?'/><a b='what?'>t</a>", "a[b=what?] a[b=what]{'t'}"},
        {"<?xml version='1.0'?><?xml version=\"1.0\" x ?><?p?>t", "?xml[version=1.0] ?xml[?= version=1.0 x=] ?p? 't'"},
        {"<a XML:Space='default' c=1/>", "a[c=1]"},
        {"<'a b' \"c'd\"='x'/>", "a b[c'd=x]"},
        {"<a&lt;b &#98;=1/>", "a<b[b=1]"},
        {"<a !-- b=c/>", "a[!--= b=c]"},
        {"<" + sz300 + " " + sz300 + "='" + szLong + "&amp;'/>", sz259 + "[" + sz259 + "=" + szLong + "&]"},
        {"<a", "a" + Error(1, 3, "Tag <a> does not have a closing '>'")},
        {"<a b='", "a[b=]" + Error(1, 7, "Tag <a> does not have a closing '>'")},
        {"<a\n b &x>", "a[b=]" + Error(2, 7, kAmpersand)},
        {"\x01 <a>\x02 \x03</a>", "'\x01 ' a{'\x02 \x03'}"}, // a document keeps its space
    });
}

TEST(XMLParser, ReadsRawContentUpToItsMarker) {
    ExpectRows({
        {"<!----><!-- <a>&amp; - -- ->--->", "!--{''} !--{' <a>&amp; - -- ->-'}"},
        {"<!--->-->", "!--{'->'}"},
        {"<![CDATA[]]><![CDATA[a]]]>", "![CDATA[{''} ![CDATA[{'a]'}"},
        {"<![CDATA[ ]]\r\n> ] ]>]]>", "![CDATA[{' ]]\n> ] ]>'}"},
        {"<!DOCTYPE a><!DOCTYPE b [ <!ELEMENT c> ] >", "!DOCTYPE{' a'} !DOCTYPE{' b [ <!ELEMENT c> ] '}"},
        {"<!DOCTYPE[[]]]>", "!DOCTYPE{'[[]]]'}"},
        {"<\"!-\"-x-->", "!--{'x'}"},
        {"<!x y> <z/>", "!x{'y> <z/>'}" + Error(1, 12, Unterminated("!x"))},
        {"<a><!--", "a{!--{''}}" + Error(1, 8, Unterminated("!--"))},
        {"<!DOCTYPE [>\n", "!DOCTYPE{' [>\n'}" + Error(2, 1, Unterminated("!DOCTYPE"))},
    });
}

TEST(XMLParser, ClosesWhatIsNotClosedAndKeepsTheFirstError) {
    std::string const sz200(200, 'n');
    ExpectRows({
        {"<a>1<b>2</a>3", "a{'1' b{'2'} '3'}" + Error(1, 13, Unterminated("b", "a"))},
        {"<a>1</b >2</a>3", "a{'1'} '2'" + Error(1, 9, Unterminated("a", "b"))},
        {"<a></ a>x",
         "a 'x'" +
             Error(1, 7,
                   "Element <a> should be terminated with </a>, was with . Check you have terminated your element "
                   "properly.")},
        {"<a><b></b></a></a>t", "a{b}" + Error(1, 19, "Misplaced </a> which does not match a <a>.")},
        {"t < u</a>", "'t '" + Error(1, 5, kNoName)},
        {"<a>t < u</a>v", "a{'t '} 'u'" + Error(1, 8, kNoName)},
        {"<a><></a>", "a" + Error(1, 6, kNoName)},
        {"<a>\n<b>\n", "a{'\n' b{'\n'}}" + Error(3, 1, Unterminated("b"))},
        {"<" + sz200 + "></x>", sz200 + Error(1, 207, Unterminated(sz200, "x"))},
    });
}

TEST(XMLParser, AStopEndsTheElementsInsideOut) {
    std::string const sz511(511, 'x'), szText = "<a>" + std::string(3000, 'x') + "</a>";
    struct {
        int nFirst, nLast, nAsked;
        std::string szShown;
    } const kRows[] = {
        {1, 99, 2, "a{'" + sz511 + "'}"},
        {2, 99, 3, "a{'" + sz511 + sz511 + "x'}"},
        // Stopped once, the element is closed there, and the document takes up the rest.
        {1, 1, 6,
         "a{'" + sz511 + "'} '" + std::string(3000 - 512, 'x') + "'" +
             Error(1, 3008, "Misplaced </a> which does not match a <a>.")},
        {0, -1, 6, "a{'" + std::string(3000, 'x') + "'}"},
    };
    for (auto const& oRow : kRows) {
        AskCounter oProgress(oRow.nFirst, oRow.nLast);
        EXPECT_EQ(Parsed(szText, &oProgress).szShown, oRow.szShown) << oRow.nFirst;
        EXPECT_EQ(oProgress.nAsked, oRow.nAsked) << oRow.nFirst;
    }
}

TEST(XMLParser, KeepsManyAttributesInOrder) {
    std::vector<int> lNumbers(100'000);
    std::iota(lNumbers.begin(), lNumbers.end(), 100'000);
    std::shuffle(lNumbers.begin(), lNumbers.end(), std::mt19937(1));
    std::string szText = "<a";
    for (int const n : lNumbers)
        szText += " n" + std::to_string(n) + "='old' n" + std::to_string(n) + "=" + std::to_string(n);
    Parsed const oParsed(szText + "/>");
    LXMLElement const oCopy(*oParsed.oDocument.GetFirstChild());
    int nNext = 100'000;
    oCopy.GetAttributes().ForEach([&](LXMLAttribute const& oAttribute) {
        EXPECT_EQ(oAttribute.GetName(), "n" + std::to_string(nNext));
        EXPECT_EQ(oAttribute.GetValue(), std::to_string(nNext++));
    });
    EXPECT_EQ(nNext, 200'000);
    EXPECT_STREQ(oCopy.GetAttributes().Get("n123456"), "123456");
    EXPECT_EQ(oCopy.GetAttributes().Get("n"), nullptr);
}

// Each level on the thread's stack would be the end of it.
TEST(XMLParser, DepthIsLimitedByMemoryOnly) {
    constexpr int kDepth = 1'000'000;
    std::string szOpen, szClose;
    for (int n = 0; n < kDepth; ++n) {
        szOpen += "<a>";
        szClose += "</a>";
    }
    std::string const szText = szOpen + "t" + szClose;
    char szError[kLNameSize] = "";
    LXMLDocument oDocument, oAssigned;
    szOpen += "t";
    LXMLLoader oUnclosed{.szText = szOpen.c_str(), .szError = szError};
    ASSERT_TRUE(oDocument.LoadData(oUnclosed));
    EXPECT_EQ(szError, Error(1, 3 * kDepth + 2, Unterminated("a")).substr(3));
    *szError = '\0';
    LXMLLoader oLoader{.szText = szText.c_str(), .szError = szError};
    ASSERT_TRUE(oDocument.LoadData(oLoader));
    EXPECT_STREQ(szError, "");
    LXMLDocument const oCopy(oDocument);
    oAssigned = oCopy;
    oDocument.DeleteElement("a");
    LStringLong szPlain, szFormatted;
    EXPECT_TRUE(oAssigned.GetFirstChild()->SaveToBufferNoFormatting(szPlain));
    EXPECT_TRUE(szPlain == szText.c_str());
    EXPECT_TRUE(oAssigned.GetFirstChild()->SaveToBuffer(szFormatted, -1));
    EXPECT_EQ(szFormatted.GetLength(), szText.size() + kDepth); // a break behind each closing tag
}

TEST(XMLParser, EveryWayOfReadingGivesTheSame) {
    auto const Fuzz = [](std::string const& szText) {
        FuzzXML(reinterpret_cast<std::uint8_t const*>(szText.data()), szText.size());
    };
    std::string const szAll =
        "<?xml version='1.0'?>\n<!DOCTYPE a [<!b>]>\n<!-- - -->\n<a b=\"c\" d='&lt;\n\"'  e = f>t &amp; "
        "&#x41;\n\n<![CDATA[ ]] > ]]><b/> <c xml:space=\"x\"\tg></c>\n</a>u <i j=k/>\n";
    for (size_t n = 0; n <= szAll.size(); ++n) { // cut at every byte
        Fuzz(szAll.substr(0, n));
        Fuzz(szAll.substr(n));
    }
    std::mt19937 oRandom(7);
    auto const Below = [&](size_t n) { return oRandom() % n; };
    std::string const szOdd = "<>/=!?-[]&;\"' \n\r\tab#x1CDATA\xC3\x01";
    for (int nRound = 0; nRound < 4000; ++nRound) {
        std::string szText = szAll;
        for (size_t n = 1 + Below(8); n > 0; --n)
            szText.replace(Below(szText.size()), Below(4), 1 + Below(2), szOdd[Below(szOdd.size())]);
        Fuzz(szText);
        std::string szRandom(Below(600), ' ');
        for (char& c : szRandom)
            c = szOdd[Below(szOdd.size())];
        Fuzz(szRandom);
        Fuzz("<a b=" + szRandom);
    }
}
