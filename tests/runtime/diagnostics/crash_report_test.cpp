#include "platform/testing/user_home.h"
#include "runtime/diagnostics/crash_report.h"
#include "tests/harness/lock_holder.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct CrashReport : testing::Test {
    CrashReport() {
        PlatformSetUserHome(oHome.Path());
        fs::create_directories(oHome.Path(kFolder));
    }
    ~CrashReport() override { PlatformSetUserHome(""); }

    // The five lines of a report of this very program; `szLine` takes the place of the one that has its key.
    static std::string Text(std::string const& szDate, std::string const& szLine = "", std::string const& szMore = "") {
        fs::path const oProgram = fs::read_symlink("/proc/self/exe");
        std::string const szInBundle = oProgram.parent_path().filename() / oProgram.filename();
        std::string szText = "Incident:  1\n";
        for (std::string const& szOwn :
             {std::string("Process:         LumoraVADPlugin [1]"), "Path:            /elsewhere/" + szInBundle,
              std::string("Identifier:      LumoraVADPlugin"), std::string("Version:         1.0 (1.0)"),
              "Date/Time:       " + szDate + ".123 +0100"})
            szText += (szLine.starts_with(szOwn.substr(0, szOwn.find(':'))) ? szLine : szOwn) + "\n";
        return szText + szMore;
    }
    std::string Write(std::string const& szName, std::string const& szText) const {
        return oHome.Write(kFolder + ("/" + szName), szText);
    }
    // The name that is found; "" for none.
    static std::string Found() {
        char szPath[260] = "as it was";
        bool const bFound = LMacGetLatestCrashReport(szPath);
        EXPECT_TRUE(bFound || std::string(szPath) == "as it was");
        return bFound ? fs::path(szPath).filename().string() : "";
    }

    static constexpr char kFolder[] = "Library/Logs/DiagnosticReports";
    TemporaryFolder const oHome;
};

TEST_F(CrashReport, IsTheNewestByTheDateInNameOrText) {
    EXPECT_EQ(Found(), "");
    struct {
        char const* szName;
        std::string szText;
        char const* szFound; // once this file is there too
    } const lSteps[] = {
        {"LumoraVADPlugin_1.crash", Text("2020-03-04 05:06:07"), "LumoraVADPlugin_1.crash"},
        {"LumoraVADPlugin-2020-03-04-050606.ips", "", "LumoraVADPlugin_1.crash"},
        {"LumoraVADPlugin-2020-03-04-050608.ips", "", "LumoraVADPlugin-2020-03-04-050608.ips"},
        {"LumoraVADPlugin-x.ips", "", "LumoraVADPlugin-2020-03-04-050608.ips"},               // no date
        {"LumoraVADPlugin-2021-03-04-0506.ips", "", "LumoraVADPlugin-2020-03-04-050608.ips"}, // one number short
        {"LumoraVADPlugin2021.ips", "", "LumoraVADPlugin-2020-03-04-050608.ips"},
        {"Other-2022-01-01-000000.ips", "", "LumoraVADPlugin-2020-03-04-050608.ips"},
        {"lumoravadplugin_2.CRASH", Text("2020-3-4 5:7:0"), "lumoravadplugin_2.CRASH"},
        {"LumoraVADPlugin_3.crash", Text("2020-12-31 00:00:00", "Version:  1.0"), "LumoraVADPlugin_3.crash"},
        {"LumoraVADPlugin_4.crash", Text("2021-01-01 00:00:00", "Process:\tALumoraVADPluginZ"),
         "LumoraVADPlugin_4.crash"},
        {"LumoraVADPlugin-2021-1-1-000001.IPS", Text("2021-01-01 00:00:02"), "LumoraVADPlugin-2021-1-1-000001.IPS"},
        {"LumoraVADPlugin_other", Text("2022-01-01 00:00:00", "Identifier:  Other"), ""}, // the newest, but another's
        {"LumoraVADPlugin_9.crash", Text("2022-01-01 00:00:01"), "LumoraVADPlugin_9.crash"},
    };
    for (auto const& oStep : lSteps) {
        Write(oStep.szName, oStep.szText);
        EXPECT_EQ(Found(), oStep.szFound) << oStep.szName;
    }
}

TEST_F(CrashReport, MeetsEveryCondition) {
    std::string const szDate = "2020-03-04 05:06:07";
    std::string const szLong(300, 'x');
    struct {
        std::string szText;
        bool bMatch;
    } const lRows[] = {
        {Text(szDate), true},
        {Text(szDate, "Process:  Lumora"), false},
        {Text(szDate, "Process: "), false},
        {Text(szDate, "Path:  /elsewhere/other"), false},
        {Text(szDate, "Identifier:  LumoraVADPlugin2"), false},
        {Text(szDate, "Identifier:  LumoraVADPlugin\r"), true},
        {Text(szDate, "Identifier:  LumoraVADPlugin "), false},
        {Text(szDate, "Version:  1.0.1 (1.0)"), false},
        {Text(szDate, "Version:  (1.0)"), false},
        {Text(szDate, "Date/Time:  2020-03-04 05:06"), false},
        {Text(szDate, "Date/Time  2020-03-04 05:06:07"), false},
        {Text(szDate, "Version:  2.0", "Version:  1.0\n"), true}, // until it is met
        {Text(szDate, "", "Version:  2.0\nDate/Time: 2019-01-01 00:00:00\n"), true},
        {Text(szDate, "Version:  2.0", " \t\x01Version:  1.0"), true}, // indented, and without an end of line
        {Text(szDate, "Version:  2.0", szLong + "\n" + szLong + "\nVersion: 1.0\n"), true},
        {Text(szDate, "Version:  2.0", std::string(259, ' ') + "Version: 1.0\n"), false}, // past a line's 259 bytes
        {Text(szDate, "Version:  2.0", std::string(259, 'x') + "\nVersion: 1.0"), true},
        {Text(szDate, "Version:  2.0", std::string(70'000, 'x') + " Version: 1.0\n"), false},
        {Text(szDate, "Version:  2.0", std::string(70'000, 'x') + "\nVersion: 1.0\n"), true},
        {Text(szDate, "Version:  2.0", std::string(32'760, '\n') + "Version: 1.0\n"), true},
        {Text(szDate, "Identifier:  LumoraVADPlugin" + std::string(1, '\0') + "x"), true},
    };
    for (auto const& oRow : lRows) {
        Write("LumoraVADPlugin.crash", oRow.szText);
        EXPECT_EQ(!Found().empty(), oRow.bMatch) << oRow.szText.substr(0, 400);
    }
}

TEST_F(CrashReport, PassesOverWhatCantBeRead) {
    Write("LumoraVADPlugin-2020-01-01-000000.ips", "");
    std::string const szNewer = Write("LumoraVADPlugin.crash", Text("2021-01-01 00:00:00"));
    fs::create_directory(oHome.Path(kFolder) + "/LumoraVADPlugin-2029-01-01-000000.ips");
    mkfifo((oHome.Path(kFolder) + "/LumoraVADPlugin.fifo").c_str(), 0600);
    for (char const* szTarget : {"/nowhere", "/dev/zero"}) // the second has no end
        fs::create_symlink(szTarget, oHome.Path(kFolder) + "/LumoraVADPlugin.to." + fs::path(szTarget).stem().string());
    EXPECT_EQ(Found(), "LumoraVADPlugin.crash");
    {
        LockHolder const oHolder(szNewer, LOCK_EX);
        EXPECT_EQ(Found(), "LumoraVADPlugin-2020-01-01-000000.ips");
    }
    LockHolder const oHolder(szNewer, LOCK_SH);
    EXPECT_EQ(Found(), "LumoraVADPlugin.crash");
    PlatformSetUserHome(std::string(250, 'h'));
    EXPECT_EQ(Found(), "");
}

TEST_F(CrashReport, LooksAtAThousandFilesAtMost) {
    for (int n = 0; n < 1500; ++n)
        Write("LumoraVADPlugin-2020-01-01-00" + std::to_string(1000 + n) + ".ips", "");
    std::string szNewest;
    int nListed = 0;
    for (auto const& oEntry : fs::directory_iterator(oHome.Path(kFolder)))
        if (std::string const szName = oEntry.path().filename(); ++nListed <= 1000 && szName > szNewest)
            szNewest = szName;
    EXPECT_EQ(Found(), szNewest);
}

} // namespace
