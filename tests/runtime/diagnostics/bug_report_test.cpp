#include "platform/testing/machine.h"
#include "platform/testing/workspace.h"
#include "runtime/diagnostics/bug_report.h"
#include "tests/harness/main_loop.h"
#include "tests/harness/temporary_folder.h"

#include <CoreFoundation/CFNumber.h>
#include <CoreFoundation/CFPreferences.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <set>
#include <string>
#include <vector>

namespace {

struct BugReport : testing::Test {
    BugReport() { setenv("CFFIXED_USER_HOME", oHome.Path().c_str(), 1); }
    ~BugReport() override {
        SetInstallation(nullptr);
        unsetenv("CFFIXED_USER_HOME");
        PlatformResetMachine();
    }

    static void SetInstallation(CFPropertyListRef value) {
        CFPreferencesSetValue(CFSTR("Software/IID"), value, CFSTR("com.tarnwicksoftware.LumoraVADPlugin"),
                              kCFPreferencesCurrentUser, kCFPreferencesCurrentHost);
    }
    static void SetMachine(std::vector<PlatformDevice> lDevices) {
        auto const nPage = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
        PlatformMachine oMachine;
        oMachine.nVirtualSize = ~std::uint64_t(0) >> 1; // nothing is left for the heap
        oMachine.nFreePages = static_cast<std::uint32_t>((3ull << 20) / nPage);
        oMachine.lControls = {{"kern.osproductversion", std::string("10.5\0", 5)},
                              {"hw.memsize", std::nullopt},
                              {"machdep.cpu.brand_string", std::string("C\0", 2)}};
        oMachine.lDevices = std::move(lDevices);
        PlatformSetMachine(oMachine);
    }
    // The address that is opened, without what opening calls it; "" for none.
    static std::string Opened() {
        PlatformWorkspaceRecorder const oRecorder;
        LDebugHangDetectorBugReport(true, nullptr);
        if (oRecorder.Calls().empty())
            return "";
        EXPECT_TRUE(RunMainLoopUntil([&] { return oRecorder.Calls().size() == 3; }));
        return oRecorder.Calls()[0].substr(std::string("openURL: ").size());
    }

    TemporaryFolder const oHome;
    std::string const szPage = "https://www.tarnwicksoftware.com/software/bug.html?software=LumoraVADPlugin&"
                               "version=1.0&xi=AbTermOrHang-Mac1005&iid=";
    std::string const szData = "&data=memfrhp%3D0%26memfrlg%3D3%26%26memphys%3D0%26cpu%3DC%20%28" +
                               std::to_string(sysconf(_SC_NPROCESSORS_CONF)) + "%20CPUs%29%26disp%3D";
};

TEST_F(BugReport, OpensThePageWithInstallationSystemAndMachine) {
    SetMachine({});
    EXPECT_EQ(Opened(), szPage + szData);
    SetInstallation(CFSTR("A1-b2"));
    EXPECT_EQ(Opened(), szPage + "A1-b2" + szData);
    SetInstallation(kCFBooleanTrue); // no text
    EXPECT_EQ(Opened(), szPage + szData);
}

TEST_F(BugReport, IsCutAlsoInsideAnEscapeAndOpensStill) {
    std::string szModel;
    while (szModel.size() < 258)
        szModel += "\u00e9";
    SetMachine(std::vector<PlatformDevice>(40, {"display", szModel}));
    CFStringRef const lInstallations[] = {CFSTR("x"), CFSTR("xx"), CFSTR("xxx")};
    std::set<std::size_t> lLastEscapes; // how many characters of the last escape came through
    for (CFStringRef const szInstallation : lInstallations) {
        SetInstallation(szInstallation);
        std::string const szOpened = Opened();
        EXPECT_EQ(szOpened.size(), 8193u);
        lLastEscapes.insert(szOpened.size() - szOpened.rfind('%'));
    }
    EXPECT_EQ(lLastEscapes, (std::set<std::size_t>{1, 2, 3}));
}

} // namespace
