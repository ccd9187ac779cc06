// Settings files: what is written, what is read, and what several processes make of one.
#include "settings/shared_settings.h"
#include "settings/user_hidden_settings.h"
#include "settings/xml_document.h"
#include "settings/xml_settings.h"

#include "runtime/threads/process_interface_void.h"
#include "tests/harness/lock_holder.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

namespace {

namespace fs = std::filesystem;

// With a home of its own for each test.
class SharedSettings : public testing::Test {
protected:
    SharedSettings() { setenv("CFFIXED_USER_HOME", oHome.Path().c_str(), 1); }

    std::string Text(std::string const& szPath) const {
        std::ifstream oFile(szPath, std::ios::binary);
        return {std::istreambuf_iterator<char>(oFile), {}};
    }
    std::string Text() const { return Text(szFile); }
    void Write(std::string const& szText) const {
        fs::create_directories(fs::path(szFile).parent_path());
        std::ofstream(szFile, std::ios::binary) << szText;
    }
    // By both forms, which agree on the first 259 bytes.
    static std::string Get(char const* szSection, char const* szItem, char const* szDefault = "default") {
        LStringLong szLong;
        char szShort[260] = "default";
        _LSharedSettingGetString(szSection, szItem, szDefault, szLong);
        _LSharedSettingGetString(szSection, szItem, szDefault ? szShort : nullptr, szShort);
        EXPECT_EQ(szShort, szLong.View().substr(0, 259));
        return std::string(szLong.View());
    }
    static std::string Password(char const* szSection, char const* szItem) {
        LStringLong szLong;
        LSharedSettingGetPassword(szSection, szItem, "default", szLong);
        return szLong.GetString();
    }

    TemporaryFolder const oHome;
    std::string const szProduct = oHome / "Library/Application Support/LumoraVADPlugin";
    std::string const szFile = szProduct + "/Shared/SharedSettings.xml";
};

} // namespace

TEST_F(SharedSettings, ChangeTheFileOneStepAtATime) {
    std::string const kSecret =
        "\t<__Login value=\"2J+qhmdJ14C28IPzGzPNDSry3cf6KZokEvCqiZv1hOt1Qt/570xVNFKoXRtUSu6rtj0Hq"
        "zQuvFoY\r\nBqAr3d5wsg==\"/>\n";
    struct {
        std::function<void()> Do;
        std::string szText;
    } const kSteps[] = {
        {[] { LSharedSettingSetString("Audio", "Device", "Built-in"); },
         "<Audio>\n\t<Device value=\"Built-in\"/>\n</Audio>\n"},
        {[] { LSharedSettingSetString("Audio", "Login", nullptr); },
         "<Audio>\n\t<Device value=\"Built-in\"/>\n\t<Login value=\"\"/>\n</Audio>\n"},
        {[] { LSharedSettingSetString("Audio", "Device", "<a href=\"b\">&'amp;\xC3\xA4"); },
         "<Audio>\n\t<Device value=\"&lt;a href=&quot;b&quot;&gt;&amp;'amp;\xC3\xA4\"/>\n\t<Login value=\"\"/>\n"
         "</Audio>\n"},
        {[] { LSharedSettingSetString("audio", "Device", "d"); },
         "<Audio>\n\t<Device value=\"&lt;a href=&quot;b&quot;&gt;&amp;'amp;\xC3\xA4\"/>\n\t<Login value=\"\"/>\n"
         "</Audio>\n<audio>\n\t<Device value=\"d\"/>\n</audio>\n"},
        {[] {
             EXPECT_EQ(Get("Audio", "Device"), "<a href=\"b\">&'amp;\xC3\xA4");
             LSharedSettingDeleteItem("Audio", "Device");
             LSharedSettingSetPassword("Audio", "Login", "The quick brown fox jumps over the lazy dog, twice today");
         },
         "<Audio>\n\t<Login value=\"\"/>\n" + kSecret + "</Audio>\n<audio>\n\t<Device value=\"d\"/>\n</audio>\n"},
        {[] {
             EXPECT_EQ(Password("Audio", "Login"), "The quick brown fox jumps over the lazy dog, twice today");
             EXPECT_TRUE(LSharedSettingTestExists("Audio", "__Login") && LSharedSettingTestExists("Audio", "Login"));
             LSharedSettingDeleteItem("Audio", "Login");
             LSharedSettingDeleteItem("audio", "none");
         },
         "<Audio/>\n<audio>\n\t<Device value=\"d\"/>\n</audio>\n"},
        {[] {
             EXPECT_TRUE(LSharedSettingTestKeyExists("Audio") && !LSharedSettingTestExists("Audio", "Login"));
             LSharedSettingDeleteSection("Audio");
             EXPECT_FALSE(LSharedSettingTestKeyExists("Audio") || LSharedSettingTestExists("Audio", "Device"));
         },
         "<audio>\n\t<Device value=\"d\"/>\n</audio>\n"},
        {[] { LSharedSettingDeleteSection("audio"); }, ""},
    };
    for (auto const& oStep : kSteps) {
        oStep.Do();
        EXPECT_EQ(Text(), oStep.szText);
    }
}

TEST_F(SharedSettings, ReadWhatIsThereAndElseTheDefault) {
    struct {
        std::string szText;
        char const *szSection, *szItem;
        std::string szValue;
    } const kCases[] = {
        {"", "S", "i", "default"},
        {"<T><i value='v'/></T>", "S", "i", "default"},
        {"<S><j value='v'/></S>", "S", "i", "default"},
        {"<S><i Value='v'>text</i></S>", "S", "i", "default"},
        {"<S><i value=''/></S>", "S", "i", ""},
        {"<S><i value/></S>", "S", "i", ""},
        {"<S/><S><i value='v'/></S>", "S", "i", "default"}, // the first section of the name
        {"<S><i value='1'/><i value='2'/></S>", "S", "i", "1"},
        {"<R><S><i value='v'/></S></R>", "S", "i", "default"},
        {"<?xml version='1.0'?><!--c-->text<S a='b'>text<i value='v'><k/></i></S>", "S", "i", "v"},
        {"<S><i value='v'/><j value=", "S", "i", "v"},   // as far as the error
        {"<R></Q><S><i value='v'/></S>", "S", "i", "v"}, // where only R ends early
        {"</R><S><i value='v'/></S>", "S", "i", "default"},
        {"\xEF\xBB\xBF<S><i value='v'/></S>", "S", "i", "v"},
        {"<S><i value='" + std::string(300, 'x') + "'/></S>", "S", "i", std::string(300, 'x')},
    };
    for (auto const& oCase : kCases) {
        Write(oCase.szText);
        EXPECT_EQ(Get(oCase.szSection, oCase.szItem), oCase.szValue) << oCase.szText;
    }
    EXPECT_EQ(Get("none", "none", nullptr), "");
    EXPECT_EQ(Password("S", "i"), ""); // whatever the default

    std::string const szUgly = "<?xml version='1.0'?>text<!--c--><S><i value='v'/></S>";
    Write(szUgly);
    LSharedSettingDeleteItem("none", "i");
    EXPECT_EQ(Text(), szUgly); // not touched
    LSharedSettingDeleteSection("none");
    EXPECT_EQ(Text(), "<?xml version=\"1.0\"?>\ntext<!--c-->\n<S>\n\t<i value=\"v\"/>\n</S>\n");

    fs::remove_all(oHome / "Library");
    std::ofstream(oHome / "Library") << "no folder";
    LSharedSettingSetString("S", "i", "v");
    EXPECT_EQ(Get("S", "i"), "default");
    LXMLDocument oDocument;
    oDocument.AddElement("old");
    EXPECT_TRUE(LSharedSettingsLoad(oDocument));
    EXPECT_EQ(oDocument.GetFirstChild(), nullptr);
}

TEST_F(SharedSettings, KeepPasswordsOfEveryLength) {
    for (size_t nLength : {0u, 1u, 7u, 8u, 55u, 56u, 190u, 191u, 192u, 259u, 300u}) {
        std::string const szPlain(nLength, 'p');
        LStringLong szLong;
        szLong.Set(szPlain);
        LSharedSettingSetPassword("S", "i", szLong);
        EXPECT_EQ(Password("S", "i"), szPlain);
        char szShort[260];
        LSharedSettingGetPassword("S", "i", "default", szShort);
        EXPECT_EQ(szShort, szPlain.substr(0, 192)) << "the first 24 blocks";
    }
}

TEST_F(SharedSettings, HaveHiddenOnesBesideThemAndOthersAtAnyPath) {
    char szOut[260];
    LUserHiddenSettingSetString("S", "i", "hidden");
    _LUserHiddenSettingGetString("S", "i", "default", szOut);
    EXPECT_STREQ(szOut, "hidden");
    EXPECT_EQ(Text(szProduct + "/.tarnwicksoftware/LumoraVADPlugin.xml"), "<S>\n\t<i value=\"hidden\"/>\n</S>\n");
    EXPECT_FALSE(fs::exists(szFile));

    std::string const szOther = oHome / "other.xml";
    LXMLSettingSetString(szOther.c_str(), "S", "i", std::string(300, 'x').c_str());
    LXMLSettingGetString(szOther.c_str(), "S", "i", "default", szOut);
    EXPECT_EQ(szOut, std::string(259, 'x'));
    LXMLSettingSetString((oHome / "none/other.xml").c_str(), "S", "i", "v"); // its folder is the caller's
    LXMLSettingGetString((oHome / "none/other.xml").c_str(), "S", "i", "default", szOut);
    EXPECT_STREQ(szOut, "default");
}

TEST_F(SharedSettings, AreNotWrittenWhileAnotherProcessReadsThem) {
    LSharedSettingSetString("S", "i", "old");
    std::string const szBefore = Text();
    LockHolder oReader(szFile, LOCK_SH);
    LSharedSettingSetString("S", "i", "new");
    LSharedSettingDeleteSection("S");
    EXPECT_EQ(Text(), szBefore);
    EXPECT_EQ(Get("S", "i"), "old");
    oReader.Kill();
    LSharedSettingSetString("S", "i", "new");
    EXPECT_EQ(Get("S", "i"), "new");
}

TEST_F(SharedSettings, StayWholeWhileTwoProcessesChangeThem) {
    LSharedSettingSetString("Kept", "item", std::string(20'000, 'k').c_str());
    auto const Change = [](char const* szItem) {
        return [szItem](ChildProcess::Door const& oDoor) {
            oDoor.SayReady();
            for (int n = 0; n < 150; ++n)
                LSharedSettingSetString("Changed", szItem, std::to_string(n).c_str());
            return 0;
        };
    };
    ChildProcess oOne(Change("one")), oOther(Change("other"));
    ASSERT_TRUE(oOne.WaitUntilReady() && oOther.WaitUntilReady());
    LProcessInterfaceVoid oNeverStops;
    for (int n = 0; n < 150; ++n) {
        LXMLDocument oDocument;
        char szError[260];
        if (oDocument.LoadFromFile(oNeverStops, szFile.c_str(), szError) != LXMLDocument::kLoaded) {
            ASSERT_EQ(szError, "Cannot open xml file: " + szFile); // the writers had it all the time
            continue;
        }
        ASSERT_STREQ(szError, "");
        ASSERT_NE(oDocument.GetElement("Kept"), nullptr);
    }
    EXPECT_EQ(oOne.Wait(), 0);
    EXPECT_EQ(oOther.Wait(), 0);
    EXPECT_EQ(Get("Kept", "item"), std::string(20'000, 'k'));
    EXPECT_NE(Get("Changed", "one") + Get("Changed", "other"), "defaultdefault");
}
