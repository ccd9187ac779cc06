// The settings command, as its users meet it.
#include "tests/end_to_end/roles.h"
#include "tests/harness/lock_holder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

using testing::HasSubstr;

namespace {

class Settings : public testing::Test {
protected:
    Settings() { setenv("CFFIXED_USER_HOME", oRoles.ServiceFolder().c_str(), 1); }

    std::string Text() const {
        std::ifstream oFile(szFile, std::ios::binary);
        return {std::istreambuf_iterator<char>(oFile), {}};
    }
    void Write(std::string const& szText) const {
        std::filesystem::create_directories(std::filesystem::path(szFile).parent_path());
        std::ofstream(szFile, std::ios::binary) << szText;
    }
    Ended Run(Roles::Arguments lArguments, std::string const& szInput = "") const {
        lArguments.insert(lArguments.begin(), "settings");
        return oRoles.Run(lArguments, szInput);
    }
    // Refused or lost: the status, and on standard error what to do; the file as it was.
    void ExpectFailure(Roles::Arguments const& lArguments, int nStatus, char const* szError,
                       std::string const& szInput = "") const {
        SCOPED_TRACE(testing::PrintToString(lArguments));
        std::string const szBefore = Text();
        Ended const oEnded = Run(lArguments, szInput);
        EXPECT_EQ(oEnded.nStatus, nStatus);
        EXPECT_EQ(oEnded.szOutput, "");
        EXPECT_THAT(oEnded.szErrors, HasSubstr(szError));
        EXPECT_EQ(oEnded.szErrors.find("sesame"), std::string::npos);
        EXPECT_EQ(Text(), szBefore);
    }

    Roles const oRoles;
    std::string const szFile = oRoles / "Library/Application Support/LumoraVADPlugin/Shared/SharedSettings.xml";
};

} // namespace

TEST_F(Settings, AreSetShownAndDeleted) {
    struct {
        Roles::Arguments lArguments;
        std::string szInput, szOutput;
    } const kSteps[] = {
        {{"list"}, "", ""},
        {{"set", "Audio", "Device", "Built-in <1>"}, "", ""},
        {{"set", "Audio", "Gain", "--", "-3"}, "", ""},
        {{"set", "Audio", "Notes"}, "printf 'one\\ntwo\\\\\\n'", ""},
        {{"set", "Net", "Login", "--password"}, "echo 'open  sesame'", ""},
        {{"set", "Net", "Login", "somebody"}, "", ""},
        {{"get", "Audio", "Gain"}, "", "-3\n"},
        {{"get", "Audio", "Notes", "--shared"}, "", "one\ntwo\\\n"},
        {{"get", "Net", "Login"}, "", "somebody\n"},
        {{"get", "Net", "Login", "--password"}, "", "open  sesame\n"},
        {{"list"},
         "",
         "Audio/Device = Built-in <1>\nAudio/Gain = -3\nAudio/Notes = one\\ntwo\\\\\nNet/Login (password) = ********\n"
         "Net/Login = somebody\n"},
        {{"list", "Net", "--show-passwords"}, "", "Net/Login (password) = open  sesame\nNet/Login = somebody\n"},
        {{"--hidden", "set", "S", "i", ""}, "", ""},
        {{"list", "--hidden"}, "", "S/i = \n"},
        {{"--hidden", "set", "S", "i", "\x1B[\xC2\x9B\\\xC2\xA0"}, "", ""},
        {{"list", "--hidden"}, "", "S/i = \\x1B[\\xC2\\x9B\\\\\xC2\xA0\n"},
        {{"--preferences", "set", "Records/Item 1", "Na=me", "\xC3\xA4"}, "", ""},
        {{"--preferences", "set", "Records/Item 1", "Login", "--password"}, "echo 'open sesame'", ""},
        {{"--preferences", "set", "Records", "Co\nunt", "1"}, "", ""},
        {{"--preferences", "get", "Records/Item 1", "Login", "--password"}, "", "open sesame\n"},
        {{"list", "--preferences"},
         "",
         "Records/Co\\nunt = 1\nRecords/Item 1/Na=me = \xC3\xA4\nRecords/Item 1/Login (password) = ********\n"},
        {{"delete", "Records/Item 1", "Login", "--preferences"}, "", ""},
        {{"list", "records", "--preferences"}, "", "Records/Co\\nunt = 1\nRecords/Item 1/Na=me = \xC3\xA4\n"},
        {{"delete", "records", "--preferences"}, "", ""},
        {{"list", "--preferences"}, "", ""},
        {{"delete", "Net", "Login"}, "", ""},
        {{"delete", "Audio"}, "", ""},
        {{"list"}, "", ""},
    };
    for (auto const& oStep : kSteps) {
        SCOPED_TRACE(testing::PrintToString(oStep.lArguments));
        Ended const oEnded = Run(oStep.lArguments, oStep.szInput);
        EXPECT_EQ(oEnded.nStatus, 0);
        EXPECT_EQ(oEnded.szOutput, oStep.szOutput);
        EXPECT_EQ(oEnded.szErrors, "");
        EXPECT_EQ(Text().find("sesame"), std::string::npos);
    }
    EXPECT_EQ(Text(), "<Net/>\n");
}

TEST_F(Settings, AreLeftAloneByWhatIsWrong) {
    Write("<S><i value='v'/><__p value='3fFsB9zxNQo='/></S>");
    std::string const szLong(258, 'n');
    struct {
        Roles::Arguments lArguments;
        int nStatus;
        char const *szError, *szInput;
    } const kCases[] = {
        {{}, 2, "say what to do", ""},
        {{"change", "S"}, 2, "say what to do", ""},
        {{"set", "Net", "Login", "open", "sesame", "--password"}, 2, "wants quotes", ""},
        {{"set", "Net", "Login", "--password=sesame"}, 2, "password", ""},
        {{"set", "S"}, 2, "ITEM", ""},
        {{"list", "--hidden", "--shared"}, 2, "exclude", ""},
        {{"set", "--preferences", "S", "a/b", "v"}, 2, "belongs to the section", ""},
        {{"set", "--preferences", "S/", "b", "v"}, 2, "ends with a slash", ""},
        {{"set", "--preferences", "S", "i", "\xFF"}, 2, "not valid UTF-8", ""},
        {{"set", "--preferences", "S", "i", "\x1B"}, 2, "a control character in it", ""},
        {{"get", "--preferences", "S", "i"}, 3, "there is no setting S/i in the preferences", ""},
        {{"set", "My Section", "i", "v"}, 2, "'My Section' can't be the name of a section", ""},
        {{"set", "S", "1st", "v"}, 2, "'1st' can't be the name of an item", ""},
        {{"set", "S", "a<b", "v"}, 2, "letters, digits", ""},
        {{"set", "", "i", "v"}, 2, "can't be", ""},
        {{"set", "S", szLong, "v"}, 2, "longer than 257 bytes", ""},
        {{"get", "S", "__p"}, 2, "say --password", ""},
        {{"set", "S", "i"}, 2, "standard input is empty", "true"},
        {{"set", "S", "i"}, 2, "carriage return", "printf 'a\\rb\\n'"},
        {{"set", "S", "i"}, 3, "zero byte", "printf 'a\\0b'"},
        {{"set", "S", "i"}, 3, "1 MiB", "head -c 1048577 /dev/zero"},
        {{"get", "S", "none"}, 3, "there is no setting S/none in /", ""},
        {{"get", "S", "p"}, 3, "say --password to see it", ""},
        {{"get", "S", "i", "--password"}, 3, "leave --password out", ""},
        {{"list", "none"}, 3, "there is no setting none", ""},
        {{"delete", "S", "none"}, 3, "there is no setting S/none", ""},
        {{"delete", "none"}, 3, "there is no setting none", ""},
    };
    for (auto const& oCase : kCases)
        ExpectFailure(oCase.lArguments, oCase.nStatus, oCase.szError, oCase.szInput);

    Write("<S>\n<i value='v'/>\n</T>");
    ExpectFailure({"set", "S", "i", "w"}, 3, "Ln 3, Col 5: Element <S>");
    ExpectFailure({"delete", "S"}, 3, "say --force");
    Ended const oRead = Run({"get", "S", "i"});
    EXPECT_EQ(oRead.szOutput, "v\n");
    EXPECT_THAT(oRead.szErrors, HasSubstr("only as far as there is no error"));
    EXPECT_EQ(Run({"set", "--force", "S", "i", "w"}).nStatus, 0);
    EXPECT_EQ(Text(), "<S>\n\t<i value=\"w\"/>\n</S>\n");

    ASSERT_EQ(Run({"set", "--preferences", "S", "i", "v"}).nStatus, 0);
    auto const oPreferences = *std::filesystem::directory_iterator(oRoles / "Library/Preferences/ByHost");
    std::ofstream(oPreferences.path()) << "<plist><dict><key>S/i</key>";
    ExpectFailure({"set", "--preferences", "S", "i", "w"}, 3, "is no property list");
    EXPECT_THAT(Run({"list", "--preferences"}).szErrors, HasSubstr("is no property list"));
    EXPECT_EQ(Run({"set", "--preferences", "--force", "S", "i", "w"}).nStatus, 0);
    EXPECT_EQ(Run({"get", "--preferences", "S", "i"}).szOutput, "w\n");
}

TEST_F(Settings, TakeTurns) {
    for (std::string const szPlace : {"--shared", "--preferences"}) {
        std::vector<std::thread> lThreads;
        for (char c = 'a'; c < 'i'; ++c)
            lThreads.emplace_back([&, c] {
                for (char d = 'a'; d < 'g'; ++d)
                    EXPECT_EQ(Run({szPlace, "set", "S", {c, d}, "v"}).nStatus, 0);
            });
        for (auto& oThread : lThreads)
            oThread.join();
        std::string const szList = Run({szPlace, "list"}).szOutput;
        EXPECT_EQ(std::count(szList.begin(), szList.end(), '\n'), 48) << szPlace;
    }
}

TEST_F(Settings, SayWhenAChangeWasLost) {
    Write("<S><i value='v'/></S>");
    {
        LockHolder const oReader(szFile, LOCK_SH);
        ExpectFailure({"set", "S", "i", "w"}, 4, "another program has it open");
        ExpectFailure({"delete", "S"}, 4, "another program has it open");
    }
    Ended const oFull = oRoles.RunLimited(1024, {"settings", "set", "S", "long", std::string(2000, 'w')});
    EXPECT_EQ(oFull.nStatus, 4);
    EXPECT_THAT(oFull.szErrors, HasSubstr("the disk may be full"));
    EXPECT_EQ(Text(), "<S><i value='v'/></S>");

    std::filesystem::remove(szFile);
    std::filesystem::create_symlink("/dev/null", szFile); // what can't be read is not an empty file
    ExpectFailure({"list"}, 3, "can't be read: it is no file");
    ExpectFailure({"set", "--force", "S", "i", "w"}, 3, "can't be read: it is no file");

    std::filesystem::remove_all(oRoles / "Library");
    std::ofstream(oRoles / "Library") << "no folder";
    ExpectFailure({"set", "S", "i", "w"}, 4, "there is no folder for the settings");
    ExpectFailure({"set", "--preferences", "S", "i", "w"}, 4, "did not arrive in the preferences");
}
