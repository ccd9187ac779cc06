#include "platform/testing/machine.h"
#include "settings/xml_document.h"
#include "tests/settings/xml_shown.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

void Load(LXMLElement& oDocument, std::string const& szText) {
    char szError[kLNameSize] = "";
    LXMLLoader oLoader{.szText = szText.c_str(), .szError = szError};
    oDocument.LoadData(oLoader);
}

std::string Saved(LXMLElement const& oParent, int nIndent) {
    LStringLong szOut;
    szOut.Set("|");
    for (auto const* pNode = oParent.GetFirstChild(); pNode; pNode = pNode->GetNext()) {
        size_t const nBefore = szOut.GetLength();
        bool const bWritten = pNode->SaveToBuffer(szOut, nIndent);
        EXPECT_EQ(bWritten, szOut.GetLength() != nBefore);
    }
    return std::string(szOut.View().substr(1));
}

std::string SavedPlain(LXMLElement const& oParent) {
    LStringLong szOut;
    for (auto const* pNode = oParent.GetFirstChild(); pNode; pNode = pNode->GetNext())
        pNode->SaveToBufferNoFormatting(szOut);
    return szOut.GetString();
}

std::string String(LXMLElement const& oElement, char const* szField, char const* szDefault = "default") {
    char szOut[kLNameSize];
    oElement.GetString(szField, szDefault, szOut);
    return szOut;
}

} // namespace

TEST(XMLElement, SavesInBothForms) {
    struct {
        char const *szText, *szFormatted, *szPlain;
    } const kRows[] = {
        {"<a></a><b />", "<a/>\n<b/>\n", "<a/><b/>"},
        {"<S> <K value='v'/></S>", "<S>\n\t<K value=\"v\"/>\n</S>\n", "<S> <K value=\"v\"/></S>"},
        {"<a>\n\t<b>t</b>\n\t<c>\n\t<d/></c></a>\n", "<a>\n\t<b>t</b>\n\t<c>\n\t\t<d/>\n\t</c>\n</a>\n",
         "<a>\n\t<b>t</b>\n\t<c>\n\t<d/></c></a>\n"},
        {"<a> \t\r\n</a><b> &amp;'\r\n&lt;&gt;&quot;&#13;&#13;&#10;</b>", "<a/>\n<b> &amp;'\n&lt;&gt;&quot;\n\n</b>\n",
         "<a> \t\n</a><b> &amp;'\n&lt;&gt;&quot;\r\r\n</b>"},
        {"<a>t<b/>u</a>", "<a>\nt\t<b/>\nu</a>\n", "<a>t<b/>u</a>"},
        {"<?xml version='1.0' a='&lt;' encoding='UTF-8'?>", "<?xml version=\"1.0\" a=\"&lt;\" encoding=\"UTF-8\"?>\n",
         "<?xml version=\"1.0\" a=\"&lt;\" encoding=\"UTF-8\"?>"},
        {"<?xml b='1' Version='a&amp;b'?><?p version='&lt;' ?>",
         "<?xml version=\"a&b\" b=\"1\"?>\n<?p ?=\"\" version=\"&lt;\"?>\n",
         "<?xml version=\"a&b\" b=\"1\"?><?p ?=\"\" version=\"&lt;\"?>"},
        {"<?xml VERSION='2' version='1.0'?>", "<?xml version=\"1.0\"?>\n", "<?xml version=\"1.0\"?>"},
        {"<a z='1' b='\"&amp;&lt;&gt;'/>", "<a b=\"&quot;&amp;&lt;&gt;\" z=\"1\"/>\n",
         "<a b=\"&quot;&amp;&lt;&gt;\" z=\"1\"/>"},
        {"<!DOCTYPE a [<b>]><a><!----><![CDATA[<&]]></a>",
         "<!DOCTYPE a [<b>]>\n<a>\n\t<!---->\n\t<![CDATA[<&]]>\n</a>\n",
         "<!DOCTYPE a [<b>]><a><!----><![CDATA[<&]]></a>"},
    };
    for (auto const& oRow : kRows) {
        LXMLDocument oDocument;
        Load(oDocument, oRow.szText);
        EXPECT_EQ(Saved(oDocument, 0), oRow.szFormatted) << oRow.szText;
        EXPECT_EQ(SavedPlain(oDocument), oRow.szPlain) << oRow.szText;
    }
    LXMLDocument oDocument;
    Load(oDocument, "<a><b/><c>t</c></a>");
    EXPECT_EQ(Saved(oDocument, 2), "\t\t<a>\n\t\t\t<b/>\n\t\t\t<c>t</c>\n\t\t</a>\n");
    EXPECT_EQ(Saved(oDocument, -7), "<a><b/><c>t</c>\n</a>\n");
}

TEST(XMLElement, ASaveBeyondTheMachinesMemoryLeavesTheTextAsItWas) {
    LXMLDocument oDocument;
    std::string szDeep;
    for (int n = 0; n < 10'000; ++n) // 100 MB of tabs
        szDeep += "<a>";
    Load(oDocument, szDeep);
    LStringLong szOut;
    szOut.Set("before");
    PlatformMachine oMachine;
    oMachine.bHostStatisticsFails = true; // it has none left
    PlatformSetMachine(oMachine);
    EXPECT_FALSE(oDocument.GetFirstChild()->SaveToBuffer(szOut, 0));
    EXPECT_STREQ(szOut.GetString(), "before");
    PlatformResetMachine();
    EXPECT_TRUE(oDocument.GetFirstChild()->SaveToBuffer(szOut, 0));
    EXPECT_GT(szOut.GetLength(), 99'000'000u);
}

TEST(XMLElement, ReadsAndChangesFields) {
    LXMLDocument oDocument;
    std::string const szLong(300, 'x');
    Load(oDocument, "<i> -12 a</i><e></e><f>1.5e1x</f><d><b/>2</d><c><![CDATA[q]]></c><l>" + szLong + "</l>t");
    EXPECT_EQ(String(oDocument, "i"), " -12 a");
    EXPECT_EQ(String(oDocument, "e"), "");
    EXPECT_EQ(String(oDocument, "none"), "default");
    EXPECT_EQ(String(oDocument, "none", szLong.c_str()), szLong.substr(0, 259));
    EXPECT_EQ(String(oDocument, "d"), ""); // only the first child's own data
    EXPECT_EQ(String(oDocument, "l"), szLong.substr(0, 259));
    EXPECT_EQ(String(oDocument, ""), "t");
    char szOwn[kLNameSize] = "own";
    oDocument.GetString("none", szOwn, szOwn);
    EXPECT_STREQ(szOwn, "own");
    EXPECT_EQ(oDocument.GetInt("i", 7), -12);
    EXPECT_EQ(oDocument.GetInt("e", 7), 0);
    EXPECT_EQ(oDocument.GetInt("none", 7), 7);
    EXPECT_EQ(oDocument.GetFloat("f"), 15.0);
    EXPECT_EQ(oDocument.GetFloat("e", 2.5), 2.5);
    EXPECT_EQ(oDocument.GetFloat("none"), 0.0);

    oDocument.SetString("none", "x");
    EXPECT_FALSE(oDocument.TestFieldExists("none"));
    oDocument.SetInt("i", -2147483647 - 1);
    oDocument.SetFloat("f", -1e200);
    oDocument.SetString("d", oDocument.GetElement("c")->GetFirstChild()->GetElementData());
    oDocument.SetString("e", nullptr);
    oDocument.SetString("l", oDocument.GetElement("l")->GetElementData() + 298); // its own text
    EXPECT_EQ(oDocument.GetInt("i", 0), -2147483647 - 1);
    EXPECT_EQ(oDocument.GetFloat("f"), -1e200);
    oDocument.DeleteElement("f");
    oDocument.DeleteElement("none");
    EXPECT_TRUE(oDocument.TestFieldExists(nullptr)); // as one of no name: the text
    ASSERT_NE(oDocument.AddElement("i"), nullptr);
    oDocument.GetElement("e")->AddElement("k")->GetAttributes().Set("value", "v");
    EXPECT_EQ(ShownChildren(oDocument), "i{'-2147483648'} e{'' k[value=v]} d{'q'} c{![CDATA[{'q'}} l{'xx'} 't' i");
}

TEST(XMLElement, NewChildrenComeLastWhateverBecameOfTheLastOne) {
    LXMLDocument oDocument;
    Load(oDocument, "<a/><b/>");
    oDocument.AddElement("gone");
    oDocument.DeleteElement("gone");
    oDocument.AddElement("old");
    delete LXMLElement::NamedElementIterator(oDocument, "old").Replace(new LXMLElement(*oDocument.GetElement("a")));
    oDocument.AddElement("c");
    EXPECT_EQ(ShownChildren(oDocument), "a b a c");
    oDocument = LXMLDocument(oDocument);
    oDocument.AddElement("d");
    EXPECT_EQ(ShownChildren(oDocument), "a b a c d");
    Load(oDocument, "t");
    oDocument.GetElement("")->AddElement("e"); // below a text
    oDocument.AddElement("f");
    EXPECT_EQ(ShownChildren(oDocument), "'t' f");
}

TEST(XMLElement, IteratorsWalkOneNameWhileChildrenComeAndGo) {
    LXMLDocument oDocument, oOther;
    Load(oDocument, "<a n='1'/>t<b/><a n='2'/><a n='3'/><c/><a n='4'/>");
    std::string szSeen;
    for (LXMLElement::ConstNamedElementIterator it(oDocument, "a"); it.GetElement(); it.Next())
        szSeen += it.GetElement()->GetAttributes().Get("n");
    EXPECT_EQ(szSeen, "1234");

    LXMLElement::NamedElementIterator it(oDocument, "a");
    delete it.Unlink();
    EXPECT_EQ(it.GetElement(), nullptr);
    ASSERT_TRUE(it.Next());
    Load(oOther, "<x/>");
    LXMLElement::NamedElementIterator itOther(oOther, "x");
    std::unique_ptr<LXMLElement> const pX(itOther.Replace(it.Unlink())); // a node from one document into another
    ASSERT_TRUE(it.Next());
    EXPECT_STREQ(it.GetElement()->GetAttributes().Get("n"), "3");
    delete it.Replace(new LXMLElement(*oOther.GetElement("a")));
    EXPECT_TRUE(it.Next());
    EXPECT_FALSE(it.Next() || it.Next() || it.GetElement() || it.Unlink());
    EXPECT_EQ(ShownChildren(oDocument), "'t' b a[n=2] c a[n=4]");
    EXPECT_EQ(ShownChildren(oOther), "a[n=2]");
}

TEST(XMLElement, CopiesAreDeepAlsoOfItsOwnPartsAndWhole) {
    LXMLDocument oDocument;
    Load(oDocument, "<a n='1' m='2'>t<b><c/></b></a><d/>");
    LXMLElement& oA = *oDocument.GetElement("a");
    LXMLElement const oCopy(oA);
    EXPECT_EQ(oCopy.GetNext(), nullptr);
    *oA.GetElement("b") = oA; // the whole into its own part
    EXPECT_EQ(Shown(oA), "a[m=2 n=1]{'t' a[m=2 n=1]{'t' b{c}}}");
    oA = *oA.GetElement("a")->GetElement("b"); // and back
    EXPECT_EQ(ShownChildren(oDocument), "b{c} d");
    EXPECT_EQ(Shown(oCopy), "a[m=2 n=1]{'t' b{c}}");
    oA = *oDocument.GetElement("b")->GetFirstChild();
    EXPECT_EQ(ShownChildren(oDocument), "c d");
}
