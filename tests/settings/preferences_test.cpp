#include "tests/settings/preference_scene.h"

#include "settings/shared_settings_record.h"
#include "settings/user_settings.h"

#include <algorithm>
#include <random>
#include <thread>

using PreferenceSettings = PreferenceScene;

namespace {

using Names = std::vector<std::string>;

std::string const k259(259, 'k'), k260(260, 'k');

Names Walk(CFStringRef pUser, std::string const& szPrefix) {
    Names lNames;
    char szName[kLNameSize] = "";
    while (_LSettingPlistGetNextKey(pUser, szPrefix.c_str(), szName, szName) && lNames.size() < 100)
        lNames.push_back(szName);
    return lNames;
}

Names Records(CFStringRef pUser, std::string const& szPath, std::string const& szSubKey) {
    Names lNames;
    char szName[kLNameSize] = "untouched";
    for (unsigned long n = 0; _LSettingFindRecord(pUser, szName, n, szPath.c_str(), szSubKey.c_str()); ++n)
        lNames.push_back(szName);
    return lNames;
}

} // namespace

TEST_F(PreferenceSettings, ReadsAndWritesItemsAndRefusesWhatIsNoKey) {
    char sz[kLNameSize];
    LStringLong szLong;
    LUserSettingSetString("Software", "IID", "one");
    LUserSettingSetString("Software/", "IID", "two");
    LUserSettingSetString("Software/", "", "itself");
    EXPECT_EQ(All(), (Contents{{"Software/IID", "two"}, {"Software/", "itself"}}));
    EXPECT_TRUE(_LUserSettingGetString("Software/", "IID", "default", szLong) && szLong == "two");

    std::string const szUmlauts = std::string(258, 'a') + "ü";
    LUserSettingSetString("a", "long", (szUmlauts + szUmlauts).c_str());
    EXPECT_TRUE(_LUserSettingGetString("a", "long", "", sz));
    EXPECT_EQ(std::string(258, 'a'), sz); // not half of the umlaut
    EXPECT_TRUE(_LUserSettingGetString("a", "long", "", szLong) && szLong == (szUmlauts + szUmlauts).c_str());
    EXPECT_FALSE(_LUserSettingGetString("a", "none", szUmlauts.c_str(), sz));
    EXPECT_EQ(std::string(258, 'a'), sz);
    EXPECT_TRUE(!_LUserSettingGetString("a", "none", szUmlauts.c_str(), szLong) && szLong == szUmlauts.c_str());
    EXPECT_FALSE(_LUserSettingGetString("a", "none", nullptr, sz) || sz[0]);

    LPreferenceSet(pUser, CFSTR("a/number"), kCFBooleanTrue);
    EXPECT_FALSE(_LUserSettingGetString("a", "number", "default", sz));
    EXPECT_STREQ("default", sz);
    EXPECT_TRUE(_LSettingTestKeyExists(pUser, "a/number"));

    LSettingSetUnicodeString("a", "wide", L"ü🎵");
    std::wstring const szWideDefault(400, L'd');
    wchar_t szWide[401];
    EXPECT_EQ(std::wstring(L"ü🎵"), LSettingGetUnicodeString("a", "wide", L"", szWide));
    EXPECT_EQ(std::wstring(259, L'a').substr(0, 258) + L"ü", LSettingGetUnicodeString("a", "long", L"", szWide));
    EXPECT_EQ(szWideDefault, LSettingGetUnicodeString("a", "none", szWideDefault.c_str(), szWide));

    Fill({});
    LUserSettingSetString(k259.c_str(), k259.c_str(), "longest");
    EXPECT_EQ(All(), (Contents{{k259 + "/" + k259, "longest"}}));
    char const* const lBad[][2] = {{k260.c_str(), "n"}, {"s", k260.c_str()}, {"", "n"}, {nullptr, "n"}, {"s", nullptr}};
    for (auto const& [szSection, szName] : lBad) {
        LUserSettingSetString(szSection, szName, "refused");
        LUserSettingSetPassword(szSection, szName, "refused");
        LUserSettingDeleteItem(szSection, szName);
        EXPECT_FALSE(_LUserSettingGetString(szSection, szName, "default", sz));
        EXPECT_STREQ("default", sz);
    }
    LUserSettingDeleteSection(k260.c_str()); // cut, it would be the section that is there
    LUserSettingDeleteSection("");
    EXPECT_EQ(1u, All().size());
}

TEST_F(PreferenceSettings, EnumeratesInOrderWithoutRegardToCase) {
    Names const lKeys = {"A/x/1", "A/Y",     "a/b/2", "A/B",  "A/",   "A",   "AB/c",      "A//d",
                         "Ä/u",   "ä/v",     "W/é",   "W/z/", "W/🎵",  "W/ﬁ", "L/" + k259, "L/" + k260,
                         "P",     "P/a/1/2", "P/b",   "P/c/", "p/D/", "/P/q"};
    FillKeys(lKeys);
    struct {
        std::string szPrefix;
        Names lNames;
    } const lWalks[] = {
        {"A/", {"B", "x", "Y"}},
        {"a/", {"B", "x", "Y"}},
        {"A", {"B"}}, // "A/..." goes on with a slash: no name
        {"A/x/", {"1"}},
        {"A/x", {}},
        {"Ä/", {"u"}},
        {"W/", {"z", "é", "ﬁ", "🎵"}},
        {"L/", {k259}},
        {"none", {}},
        {k260, {}},
        {"", {"A", "AB", "L", "P", "W", "Ä", "ä"}},
    };
    for (auto const& oWalk : lWalks)
        EXPECT_EQ(oWalk.lNames, Walk(pUser, oWalk.szPrefix)) << oWalk.szPrefix;

    struct {
        std::string szPath, szSubKey;
        Names lNames; // in the order of the key list, by UTF-16 unit
    } const lFinds[] = {
        {"P", "", {"b", "c", "D"}}, {"", "P", {"q"}},  {"P", "A", {}},
        {"P/", "a/1", {"2"}},       {"P/", "", {}},    {"", "", {}},
        {"A", "x", {"1"}},          {"L", "", {k259}}, {k260, "", {}},
        {"A", "", {"B", "Y"}},
    };
    for (auto const& oFind : lFinds)
        EXPECT_EQ(oFind.lNames, Records(pUser, oFind.szPath, oFind.szSubKey)) << oFind.szPath << "|" << oFind.szSubKey;

    // The name that the walk stands on goes, one comes on either side: it goes on behind where it stood.
    char szName[kLNameSize] = "";
    ASSERT_TRUE(_LSettingPlistGetNextKey(pUser, "A/", "", szName) &&
                _LSettingPlistGetNextKey(pUser, "A/", szName, szName));
    LUserSettingDeleteSection("A/x");
    LUserSettingSetString("A", "c", "");
    LUserSettingSetString("A", "xa", "");
    EXPECT_TRUE(_LSettingPlistGetNextKey(pUser, "A/", szName, szName));
    EXPECT_STREQ("xa", szName);

    struct {
        char const* szSection;
        bool bHasValue;
    } const lTests[] = {{"a", true}, {"A/xa", false}, {"AB", true}, {"p/c", false}, {"none", false}, {"", false}};
    for (auto const& [szSection, bHasValue] : lTests)
        EXPECT_EQ(bHasValue, _LSettingTestKeyHasValue(pUser, szSection)) << szSection;
}

TEST_F(PreferenceSettings, DeletesSectionsAndCreatesAncestors) {
    FillKeys({"A", "A/", "a/b", "A/b/c", "AB", "Ä/x", "ä/x"});
    LUserSettingSetString("\xFF", "ill-formed", "v");
    LUserSettingDeleteSection("\xFF");
    LUserSettingDeleteSection("A");
    LUserSettingDeleteSection("ä/");
    EXPECT_EQ(All(), (Contents{{"A", "of A"}, {"AB", "of AB"}, {"Ä/x", "of Ä/x"}}));

    struct {
        std::string szPath;
        Contents oCreated;
    } const lCases[] = {
        {"A/B/C", {{"A/", "A"}, {"A/B/", "B"}}},
        {"A/B/", {{"A/", "A"}, {"A/B/", "B"}}},
        {"//A//B", {{"//A//", ""}}},
        {"A", {}},
        {"/", {}},
        {"", {}},
        {k259.substr(0, 258) + "/", {{k259.substr(0, 258) + "/", k259.substr(0, 258)}}},
        {"A/" + k259, {}},
    };
    for (auto const& [szPath, oCreated] : lCases) {
        Fill({});
        for (int nTime = 0; nTime < 2; ++nTime) {
            EXPECT_TRUE(_LSettingMakeParentKeyPath(pUser, szPath.c_str()));
            EXPECT_EQ(oCreated, All()) << szPath;
        }
    }
    Fill({{"A/", "kept"}});
    _LSettingMakeParentKeyPath(pUser, "A/B/");
    EXPECT_EQ(All(), (Contents{{"A/", "kept"}, {"A/B/", "B"}}));
}

TEST_F(PreferenceSettings, MovesRecordsWithAllBelowThem) {
    std::mt19937 random(3);
    for (int nRound = 0; nRound < 20; ++nRound) {
        Contents oBefore{{"R/I/", "I"}, {"R/I", "field"}, {"R/II/x", "other"}, {"Z", "z"}}, oAfter = oBefore;
        oAfter.erase("R/I/");
        oAfter["R/New/"] = "New";
        for (int n = 0; n < 30; ++n) {
            std::string szBelow;
            for (size_t nDepth = random() % 12; nDepth-- > 0;)
                szBelow += static_cast<char>('a' + random() % 3) + std::string("/");
            szBelow += "é" + std::to_string(n);
            std::string const szValue(random() % 259, 'v');
            oBefore[(n % 2 ? "R/I/" : "r/i/") + szBelow] = szValue;
            oAfter["R/New/" + szBelow] = szValue;
        }
        Fill(oBefore);
        char szNewPath[kLNameSize];
        EXPECT_TRUE(_LSettingChangePrimaryKey(pUser, "R/I/", "New", szNewPath));
        EXPECT_STREQ("R/New", szNewPath);
        EXPECT_EQ(oAfter, All());
    }

    struct {
        char const* szWhat;
        Contents oBefore;
        std::string szPath, szNewKey, szNewPath; // the last "" for refused
        Contents oAfter;
    } const lCases[] = {
        {"at the top", {{"I/", "I"}, {"I/n", "v"}}, "I/", "J", "J", {{"J/", "J"}, {"J/n", "v"}}},
        {"onto itself", {{"R/I/", "I"}, {"R/I/n", "v"}}, "R/I/", "I", "R/I", {{"R/I/", "I"}, {"R/I/n", "v"}}},
        {"below itself",
         {{"R/", "R"}, {"R/x", "1"}, {"R/R/x", "2"}},
         "R/",
         "R/R",
         "R/R",
         {{"R/R/", "R/R"}, {"R/R/x", "1"}, {"R/R/R/x", "2"}}},
        {"onto another",
         {{"R/I/a", "1"}, {"R/J/a", "2"}, {"R/J/b", "3"}},
         "R/I/",
         "J",
         "R/J",
         {{"R/J/a", "1"}, {"R/J/b", "3"}}},
        {"long value",
         {{"R/I/v", std::string(258, 'v') + "üx"}},
         "R/I/",
         "J",
         "R/J",
         {{"R/J/v", std::string(258, 'v')}}},
        {"no such", {{"Z", "z"}}, "R/I/", "J", "R/J", {{"Z", "z"}}},
        {"no keys", {}, "R/I/", "J", "", {}},
        {"no new key", {{"R/I/", "I"}}, "R/I/", "", "", {{"R/I/", "I"}}},
        {"no slash", {{"I", "I"}}, "I", "J", "", {{"I", "I"}}},
        {"no text that is kept", {{"R/I/", "I"}}, "R/I/", "\x01", "", {{"R/I/", "I"}}},
        {"too long a path", {{"R/I/", "I"}}, "R/I/", std::string(257, 'n'), "", {{"R/I/", "I"}}},
        {"as long a section as can be",
         {{"R/I/" + k259.substr(9) + "/v", "v"}},
         "R/I/",
         "IIIIII",
         "R/IIIIII",
         {{"R/IIIIII/" + k259.substr(9) + "/v", "v"}}},
        {"too long a section, which nobody could read",
         {{"R/I/" + k259.substr(9) + "/v", "v"}, {"R/I/", "I"}},
         "R/I/",
         "IIIIIII",
         "",
         {{"R/I/" + k259.substr(9) + "/v", "v"}, {"R/I/", "I"}}},
    };
    for (auto const& oCase : lCases) {
        Fill(oCase.oBefore);
        char szNewPath[kLNameSize] = "?";
        EXPECT_EQ(!oCase.szNewPath.empty(),
                  _LSettingChangePrimaryKey(pUser, oCase.szPath.c_str(), oCase.szNewKey.c_str(), szNewPath))
            << oCase.szWhat;
        EXPECT_EQ(oCase.szNewPath, szNewPath) << oCase.szWhat;
        EXPECT_EQ(oCase.oAfter, All()) << oCase.szWhat;
    }
    LPreferenceSet(pUser, CFSTR("R/I/number"), kCFBooleanTrue);
    char szNewPath[kLNameSize];
    EXPECT_TRUE(_LSettingChangePrimaryKey(pUser, "R/I/", "J", szNewPath));
    EXPECT_EQ("(no string)", All()["R/J/number"]);
}

TEST_F(PreferenceSettings, HoldRecords) {
    char sz[kLNameSize];
    LSharedSettingsRecord oRecord(pUser, "Records/Item1/");
    EXPECT_STREQ("Item1", oRecord.GetPrimaryKey());
    EXPECT_TRUE(oRecord.SetPrimaryKey("Item9")); // not there yet: a name and no more
    EXPECT_STREQ("Item9", oRecord.GetPrimaryKey());
    EXPECT_STREQ("Records/Item1/", oRecord.GetKeyPath());
    oRecord.SetPassword("__p", "as it is");
    EXPECT_EQ(All(), (Contents{{"Records/Item1/__p", "as it is"}}));
    oRecord.SetString("Name", "value");
    LSharedSettingsRecord(pUser, "Records/Item1/Sub/").SetString("x", "1");
    EXPECT_TRUE(oRecord.GetPassword("__p", "", sz));
    EXPECT_STREQ("as it is", sz);
    EXPECT_TRUE(oRecord.TestSubRecordExists("sub") && !oRecord.TestSubRecordExists("Name"));
    EXPECT_TRUE(oRecord.TestFieldExists("Name") && !oRecord.TestFieldExists("x"));
    EXPECT_FALSE(oRecord.SetPrimaryKey(""));
    EXPECT_STREQ("Records/Item1/", oRecord.GetKeyPath());
    EXPECT_TRUE(oRecord.SetPrimaryKey("Item2"));
    EXPECT_STREQ("Item2", oRecord.GetPrimaryKey());
    EXPECT_STREQ("Records/Item2", oRecord.GetKeyPath());
    EXPECT_TRUE(oRecord.GetString("Name", sz) && oRecord.TestSubRecordExists("Sub"));
    EXPECT_TRUE(LUserSettingTestKeyExists("Records/Item2") && !LUserSettingTestKeyExists("Records/Item1"));
    oRecord.DeleteField("Name");
    oRecord.DeleteSubRecord("");
    oRecord.DeleteSubRecord("Sub");
    EXPECT_EQ(All(),
              (Contents{{"Records/", "Records"}, {"Records/Item2/", "Item2"}, {"Records/Item2/__p", "as it is"}}));
    oRecord.DeleteRecord();
    EXPECT_EQ(All(), (Contents{{"Records/", "Records"}}));

    LSharedSettingsRecord oRefused(pUser, (k259 + "/x/").c_str());
    oRefused.SetString("field", "v");
    oRefused.DeleteRecord();
    oRefused.DeleteSubRecord("Records");
    EXPECT_FALSE(oRefused.GetString("field", "default", sz) || oRefused.TestSubRecordExists("Records"));
    EXPECT_EQ(All(), (Contents{{"Records/", "Records"}}));
}

TEST_F(PreferenceSettings, KeepWhatThreadsChangeAtOnce) {
    constexpr int kRounds = 20;
    std::vector<std::thread> lThreads;
    Contents oExpected{{"R/", "R"}};
    for (std::string const szOwn : {"a", "b", "c"}) {
        std::string const szLast = szOwn + std::to_string(kRounds);
        oExpected["R/" + szLast + "/"] = szLast;
        oExpected["R/" + szLast + "/field"] = std::to_string(kRounds - 1);
        lThreads.emplace_back([this, szOwn] {
            for (int n = 0; n < kRounds; ++n) {
                std::string const szNumber = std::to_string(n), szNext = szOwn + std::to_string(n + 1);
                LSharedSettingsRecord oRecord(pUser, ("R/" + szOwn + szNumber + "/").c_str());
                char sz[kLNameSize];
                oRecord.SetString("field", szNumber.c_str());
                EXPECT_TRUE(oRecord.GetString("field", sz) && sz == szNumber);
                EXPECT_TRUE(oRecord.SetPrimaryKey(szNext.c_str()));
                Names const lNames = Walk(pUser, "R/");
                EXPECT_TRUE(std::ranges::find(lNames, szNext) != lNames.end());
            }
        });
    }
    for (auto& oThread : lThreads)
        oThread.join();
    EXPECT_EQ(oExpected, All());
}

TEST_F(PreferenceSettings, KeepPasswordsOfEveryLength) {
    char sz[kLNameSize];
    LStringLong szLong;
    for (size_t nLength = 0; nLength <= 300; nLength += nLength < 20 ? 1 : 7) {
        std::string const szPlain = std::string(nLength, 'p');
        LUserSettingSetPassword("s", "n", szPlain.c_str());
        std::string const szStored = All().at("s/__n");
        EXPECT_EQ(nLength == 0, szStored.empty());
        EXPECT_EQ(std::string::npos, szStored.find("ppp"));
        LUserSettingGetPassword("s", "n", "default", szLong);
        LUserSettingGetPassword("s", "n", "default", sz);
        EXPECT_EQ(szPlain, szLong.GetString());
        EXPECT_EQ(szPlain.substr(0, 259), sz);
    }
    LUserSettingSetString("s", "n", "plain beside it");
    LUserSettingDeleteItem("s", "n");
    EXPECT_EQ(All(), Contents());
    LUserSettingGetPassword("s", "n", "default", szLong);
    LUserSettingGetPassword("s", "n", "default", sz);
    EXPECT_TRUE(szLong.IsEmpty() && !sz[0]);
    LUserSettingSetPassword("s", k259.c_str(), "p"); // with "__" it would be cut
    EXPECT_EQ(All(), Contents());
}
