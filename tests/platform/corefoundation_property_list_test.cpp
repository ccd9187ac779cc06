#include "tests/harness/temporary_folder.h"
#include "tests/platform/corefoundation.h"
#include "tests/platform/corefoundation_fuzz.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

using PropertyLists = CoreFoundation;

namespace {

constexpr auto kXml = kCFPropertyListXMLFormat_v1_0;

CFPropertyListRef Read(std::string const& bytes, CFOptionFlags options = kCFPropertyListImmutable) {
    Owned<CFDataRef> const data =
        CFDataCreate(nullptr, reinterpret_cast<UInt8 const*>(bytes.data()), static_cast<CFIndex>(bytes.size()));
    return CFPropertyListCreateWithData(nullptr, data, options, nullptr, nullptr);
}

std::string Write(CFPropertyListRef list) {
    Owned<CFDataRef> const data = CFPropertyListCreateData(nullptr, list, kXml, 0, nullptr);
    return data ? std::string(CFDataGetBytePtr(data), CFDataGetBytePtr(data) + CFDataGetLength(data)) : "refused";
}

// What stands between the head and the tail of a written list.
std::string Body(CFPropertyListRef list) {
    std::string const szText = Write(list);
    size_t const nFirst = szText.find("<plist version=\"1.0\">\n");
    return nFirst == std::string::npos ? szText : szText.substr(nFirst + 22, szText.size() - nFirst - 22 - 9);
}

// What the reader makes of one value, written again; "refused" when it makes nothing of it.
std::string Reread(std::string const& value) {
    Owned<CFPropertyListRef> const list = Read(value);
    return list ? Body(list) : "refused";
}

constexpr char kEverything[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>array</key>
	<array>
		<true/>
		<false/>
		<array/>
		<dict/>
		<array>
			<string></string>
		</array>
	</array>
	<key>data</key>
	<data>
	AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEy
	Mw==
	</data>
	<key>date</key>
	<date>2026-11-22T21:31:00Z</date>
	<key>integer</key>
	<integer>-9223372036854775808</integer>
	<key>real</key>
	<real>0.1</real>
	<key>string &lt;&amp;&gt; é🎵</key>
	<string>  two
lines	and&#13; "quotes" </string>
</dict>
</plist>
)";

} // namespace

TEST_F(PropertyLists, ReadEverythingAndWriteTheSameBytes) {
    Owned<CFPropertyListRef> const list = Read(kEverything);
    ASSERT_TRUE(list);
    EXPECT_EQ(kEverything, Write(list));
    auto const dictionary = static_cast<CFDictionaryRef>(CFPropertyListRef(list));
    auto const date = static_cast<CFDateRef>(CFDictionaryGetValue(dictionary, CFSTR("date")));
    EXPECT_EQ(1795383060.0, CFDateGetAbsoluteTime(date) + kCFAbsoluteTimeIntervalSince1970);
    auto const data = static_cast<CFDataRef>(CFDictionaryGetValue(dictionary, CFSTR("data")));
    ASSERT_EQ(52, CFDataGetLength(data));
    EXPECT_EQ(51, CFDataGetBytePtr(data)[51]);
    EXPECT_EQ("  two\nlines\tand\r \"quotes\" ",
              Text(static_cast<CFStringRef>(CFDictionaryGetValue(dictionary, CFSTR("string <&> é🎵")))));
}

TEST_F(PropertyLists, BytesDependOnContentsNotOnHistory) {
    Owned<CFMutableDictionaryRef> const forth = CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                          &kCFTypeDictionaryValueCallBacks),
                                        back = CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                         &kCFTypeDictionaryValueCallBacks);
    for (int n = 0; n < 50; ++n) {
        OwnedString const key = CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%d"), n),
                          otherKey = CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%d"), 49 - n);
        CFDictionarySetValue(forth, key, kCFBooleanTrue);
        CFDictionarySetValue(back, otherKey, kCFBooleanTrue);
    }
    EXPECT_EQ(Write(forth), Write(back));
}

TEST_F(PropertyLists, ReadEachFormOfAValue) {
    struct {
        char const *szRead, *szWritten;
    } const cases[] = {
        {"<integer> +42\n</integer>", "<integer>42</integer>\n"},
        {"<integer>0x1F</integer>", "<integer>31</integer>\n"},
        {"<integer>-0x8000000000000000</integer>", "<integer>-9223372036854775808</integer>\n"},
        {"<real>1</real>", "<real>1</real>\n"},
        {"<real>-1.5e-3</real>", "<real>-0.0015</real>\n"},
        {"<real>1.7976931348623157e308</real>", "<real>1.7976931348623157e+308</real>\n"},
        {"<real>+Infinity</real>", "<real>+infinity</real>\n"},
        {"<real>-inf</real>", "<real>-infinity</real>\n"},
        {"<real>NaN</real>", "<real>nan</real>\n"},
        {"<true></true>", "<true/>\n"},
        {"<false />", "<false/>\n"},
        {"<string/>", "<string></string>\n"},
        {"<string>&#x1F3B5;&#65;&quot;&apos;</string>", "<string>🎵A\"'</string>\n"},
        {"<string>a<!-- no -->b<![CDATA[<&>]]></string>", "<string>ab&lt;&amp;&gt;</string>\n"},
        {"<string>a\r\nb\rc</string>", "<string>a\nb\nc</string>\n"},
        {"<data>QQ==</data>", "<data>\nQQ==\n</data>\n"},
        {"<data>\n Q U\tJD \n</data>", "<data>\nQUJD\n</data>\n"},
        {"<data/>", "<data>\n</data>\n"},
        {"<date>2000-02-29T23:59:59Z</date>", "<date>2000-02-29T23:59:59Z</date>\n"},
        {"<date>0001-01-01T00:00:00Z</date>", "<date>0001-01-01T00:00:00Z</date>\n"},
        {"\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?><!-- c --><plist><true/></plist>\n<!-- end -->",
         "<true/>\n"},
        {"<dict><key>a</key><true/><key>a</key><false/></dict>", "<dict>\n\t<key>a</key>\n\t<false/>\n</dict>\n"},
    };
    for (auto const& oCase : cases)
        EXPECT_EQ(oCase.szWritten, Reread(oCase.szRead)) << oCase.szRead;
}

TEST_F(PropertyLists, RefuseWhatIsNone) {
    std::string const szTooDeep = [] {
        std::string szText;
        for (int n = 0; n < 513; ++n)
            szText += "<array>";
        return szText;
    }();
    std::vector<std::string> const lBad = {
        "",
        "bplist00\xA0",
        "{ old = style; }",
        "<plist version=\"1.0\">",
        "<plist></plist>",
        "<plist><true/>",
        "<plist><true/><true/></plist>",
        "<true/>trailing",
        "<true/></plist>",
        "<array><true/></dict>",
        "<array>",
        "</array>",
        "<array>text</array>",
        "<dict><true/></dict>",
        "<dict><key>a</key></dict>",
        "<dict><key>a</key><key>b</key><true/></dict>",
        "<key>a</key>",
        "<unknown/>",
        "<string>a<b/></string>",
        "<string>no end",
        "<string>&unknown;</string>",
        "<string>&#0;</string>",
        "<string>&#xD800;</string>",
        "<string>&#xFFFFFFFFFF;</string>",
        "<string>&amp</string>",
        "<string>\x01</string>",
        "<string>\xFF</string>",
        std::string("<string>\0</string>", 18),
        "<string><![CDATA[ no end</string>",
        "<integer/>",
        "<integer>1.5</integer>",
        "<integer>0x</integer>",
        "<integer>--1</integer>",
        "<integer>9223372036854775808</integer>",
        "<integer>99999999999999999999</integer>",
        "<real>1,5</real>",
        "<real>+-1</real>",
        "<date>2026-02-29T00:00:00Z</date>",
        "<date>2026-11-22T24:00:00Z</date>",
        "<date>2026-11-22</date>",
        "<date>0000-01-01T00:00:00Z</date>",
        "<data>Q</data>",
        "<data>Q=Q=</data>",
        "<data>QQ*=</data>",
        "<data>QUJD====</data>",
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><true/>",
        "<!DOCTYPE plist [<!ENTITY a \"b\">]><string>&a;</string>",
        "<!-- no end <true/>",
        "<true",
        "<true/",
        "<",
        szTooDeep,
    };
    for (auto const& szBad : lBad)
        EXPECT_FALSE(Owned<CFPropertyListRef>(Read(szBad))) << szBad.substr(0, 100);
}

TEST_F(PropertyLists, DepthIsLimitedTheSameBothWays) {
    auto const Nested = [](int nLevels) {
        CFMutableArrayRef array = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
        for (int n = 1; n < nLevels; ++n) {
            CFMutableArrayRef const outer = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
            CFArrayAppendValue(outer, array);
            CFRelease(array);
            array = outer;
        }
        return array;
    };
    Owned<CFMutableArrayRef> const deepest = Nested(512), deeper = Nested(513);
    Owned<CFPropertyListRef> const again = Read(Write(deepest));
    EXPECT_TRUE(again && CFEqual(again, deepest));
    EXPECT_EQ("refused", Write(deeper));
}

TEST_F(PropertyLists, WriteOnlyWhatCanBeRead) {
    Owned<CFURLRef> const url = CFURLCreateWithString(nullptr, CFSTR("a:b"), nullptr);
    UniChar const half = 0xDC00;
    OwnedString const broken = CFStringCreateWithCharacters(nullptr, &half, 1), control = MakeString("\x07");
    Owned<CFDateRef> const never = CFDateCreate(nullptr, std::nan("")), far = CFDateCreate(nullptr, 1e18);
    void const *numberKey[] = {kCFBooleanTrue}, *value[] = {kCFBooleanTrue};
    Owned<CFDictionaryRef> const badKey = CFDictionaryCreate(
        nullptr, numberKey, value, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    for (CFTypeRef const bad :
         {CFTypeRef(url), CFTypeRef(broken), CFTypeRef(control), CFTypeRef(never), CFTypeRef(far), CFTypeRef(badKey)})
        EXPECT_EQ("refused", Write(bad)) << TextOf(CFCopyDescription(bad));
    Owned<CFMutableArrayRef> const cycle = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
    CFArrayAppendValue(cycle, cycle);
    CFArrayAppendValue(cycle, cycle);
    EXPECT_EQ("refused", Write(cycle));
    CFArrayRemoveAllValues(cycle);
    EXPECT_FALSE(CFPropertyListCreateData(nullptr, cycle, kCFPropertyListBinaryFormat_v1_0, 0, nullptr));
    EXPECT_EQ("refused", Write(nullptr));
}

TEST_F(PropertyLists, AreAsMutableAsAskedFor) {
    constexpr char kText[] = "<array><array/><string>a</string><data>QQ==</data></array>";
    for (CFOptionFlags const options : {kCFPropertyListMutableContainers, kCFPropertyListMutableContainersAndLeaves}) {
        Owned<CFPropertyListRef> const read = Read(kText, options), plain = Read(kText);
        Owned<CFPropertyListRef> const copied = CFPropertyListCreateDeepCopy(nullptr, plain, options);
        for (CFPropertyListRef const list : {CFPropertyListRef(read), CFPropertyListRef(copied)}) {
            auto const array = static_cast<CFMutableArrayRef>(const_cast<void*>(list));
            auto const At = [&](CFIndex n) { return const_cast<void*>(CFArrayGetValueAtIndex(array, n)); };
            CFArrayAppendValue(array, kCFBooleanTrue);
            CFArrayAppendValue(static_cast<CFMutableArrayRef>(At(0)), kCFBooleanTrue);
            if (options == kCFPropertyListMutableContainersAndLeaves) {
                CFStringAppend(static_cast<CFMutableStringRef>(At(1)), CFSTR("b"));
                CFDataSetLength(static_cast<CFMutableDataRef>(At(2)), 2);
            }
            EXPECT_FALSE(CFEqual(list, plain));
        }
    }
}

// Broken in all the ways that chance finds: bytes changed, cut out, doubled and swapped between lists.
TEST_F(PropertyLists, SurviveDamage) {
    std::vector<std::string> const lCorpus = {
        kEverything, "<dict><key>a</key><array><dict><key/><date>2026-11-22T21:31:00Z</date></dict></array></dict>",
        "<array><string>&#x41;&lt;<![CDATA[x]]><!-- y --></string><real>nan</real><integer>-0x7F</integer></array>"};
    std::mt19937 random(20261122);
    auto const Below = [&](size_t nEnd) { return std::uniform_int_distribution<size_t>(0, nEnd - 1)(random); };
    for (int n = 0; n < 20000; ++n) {
        std::string szBytes = lCorpus[Below(lCorpus.size())];
        for (size_t nChanges = Below(4) + 1; nChanges-- > 0 && !szBytes.empty();) {
            size_t const nAt = Below(szBytes.size()), nLength = Below(16);
            std::string const& szOther = lCorpus[Below(lCorpus.size())];
            switch (Below(4)) {
            case 0: szBytes[nAt] = static_cast<char>(Below(256)); break;
            case 1: szBytes.erase(nAt, nLength); break;
            case 2: szBytes.insert(nAt, szBytes.substr(nAt, nLength)); break;
            default: szBytes.insert(nAt, szOther.substr(Below(szOther.size()), nLength)); break;
            }
        }
        EXPECT_EQ(0, FuzzPropertyList(reinterpret_cast<UInt8 const*>(szBytes.data()), szBytes.size()));
    }
}

// Lists by chance written by another implementation, read here and written again, say to it what they said before.
TEST_F(PropertyLists, AreThoseOfPythonsPlistlibBothWays) {
    TemporaryFolder const oFolder;
    std::ofstream(oFolder / "lists.py") << R"(
import datetime, plistlib, random, sys
r = random.Random(6)
alphabet = "ab <>&\"'\t\n]é€🎵\ufffd\x7f\u2028" + "]]>"
text = lambda: "".join(r.choice(alphabet) for _ in range(r.randrange(12)))
def make(depth):
    kind = r.randrange(10 if depth else 8)
    if kind == 0: return text()
    if kind == 1: return r.choice([0, -1, 2**63 - 1, -2**63, r.randrange(-10**6, 10**6)])
    if kind == 2: return r.choice([0.0, -0.0, 1.0, 1e300, 5e-324, float("inf"), float("-inf"), float("nan"), r.random()])
    if kind == 3: return r.random() < 0.5
    if kind == 4: return r.randbytes(r.randrange(120))
    if kind == 5: return datetime.datetime(1, 1, 1) + datetime.timedelta(seconds=r.randrange(315537897600))
    if kind == 6: return {}
    if kind == 7: return []
    if kind == 8: return [make(depth - 1) for _ in range(r.randrange(6))]
    return {text(): make(depth - 1) for _ in range(r.randrange(6))}
folder = sys.argv[2]
read = lambda name: open(f"{folder}/{name}", "rb").read()
def same(a, b):  # repr tells every type and value apart; what is no text of XML 1.0's lines can't be among them
    a, b = repr(a), repr(b)
    assert a == b, (a, b)
for n in range(300):
    value = make(6)
    if sys.argv[1] == "write":
        open(f"{folder}/{n}.xml", "wb").write(plistlib.dumps(value, sort_keys=True))
        open(f"{folder}/{n}.binary", "wb").write(plistlib.dumps(value, fmt=plistlib.FMT_BINARY, sort_keys=True))
    else:
        order = lambda v: {k: order(v[k]) for k in sorted(v)} if isinstance(v, dict) else \
            [order(i) for i in v] if isinstance(v, list) else v
        same(order(value), order(plistlib.loads(read(f"{n}.ours"))))
if sys.argv[1] == "read":
    assert plistlib.loads(read("everything"))["string <&> é🎵"] == '  two\nlines\tand\r "quotes" '
)";
    auto const Run = [&](char const* szWhat) {
        return std::system(("python3 '" + oFolder / "lists.py" + "' " + szWhat + " '" + oFolder.Path() + "'").c_str());
    };
    auto const Bytes = [&](std::string const& szName) {
        std::ifstream oFile(oFolder / szName);
        return std::string(std::istreambuf_iterator<char>(oFile), {});
    };
    ASSERT_EQ(0, Run("write"));
    std::ofstream(oFolder / "everything") << kEverything;
    for (int n = 0; n < 300; ++n) {
        std::string const szName = std::to_string(n);
        Owned<CFPropertyListRef> const list = Read(Bytes(szName + ".xml")), binary = Read(Bytes(szName + ".binary"));
        ASSERT_TRUE(list) << Bytes(szName + ".xml");
        EXPECT_FALSE(binary);
        std::ofstream(oFolder / (szName + ".ours")) << Write(list);
    }
    EXPECT_EQ(0, Run("read"));
}
