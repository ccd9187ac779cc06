#include "platform/testing/machine.h"
#include "runtime/diagnostics/bug_report_block_scope.h"
#include "runtime/diagnostics/debug_thread.h"
#include "runtime/diagnostics/xi_string.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace {

struct XIString : testing::Test {
    XIString() {
        PlatformMachine oMachine;
        oMachine.lControls["kern.osproductversion"] = std::string("10.5.8\0", 7);
        PlatformSetMachine(oMachine);
    }
    ~XIString() override {
        gwDebugCurrentCommand = gwDebugLastCommand = 0;
        PlatformResetMachine();
    }

    static std::string Make(char const* szPrefix = "Pre", char const* szReason = "SIGNAL11") {
        std::string szOut(262, '#');
        LDebugGenerateXIString(szOut.data(), szPrefix, szReason);
        EXPECT_EQ(szOut.substr(260), "##");
        return szOut.c_str();
    }
    static std::string OnThread(char const* szName, char const* szDialog, bool bStart) {
        std::string szMade;
        std::thread([&] {
            if (bStart)
                LDebugThreadDataStartThread(szName);
            if (szDialog)
                LDebugThreadSetLastDialog(szDialog);
            szMade = Make();
            LDebugThreadDataStopThread();
        }).join();
        return szMade;
    }
};

TEST_F(XIString, SaysWhatTheMainThreadWorksOn) {
    struct {
        std::uint32_t dwCurrent, dwLast;
        char const* szExpected;
    } const lRows[] = {{0, 0, "(Cmd0)"},  {1, 0, "GloIni1"},          {2, 0, "GuiIni2"},
                       {3, 0, "GuiDes3"}, {4, 0, "GloDes4"},          {5, 42, "Ukn0(LstCmd42)"},
                       {6, 0, "(Cmd6)"},  {0xFFFFFFFF, 0, "(Cmd-1)"}, {5, 0x80000000, "Ukn0(LstCmd-2147483648)"}};
    for (auto const& oRow : lRows) {
        gwDebugCurrentCommand = oRow.dwCurrent;
        gwDebugLastCommand = oRow.dwLast;
        EXPECT_EQ(Make(), std::string("Pre-MacIntel1005-SIGNAL11-Unknown") + oRow.szExpected);
    }
    EXPECT_EQ(Make(std::string(400, 'p').c_str()), std::string(259, 'p'));
    EXPECT_EQ(Make(nullptr, nullptr), "-MacIntel1005--UnknownUkn0(LstCmd-2147483648)");
}

TEST_F(XIString, NamesTheThreadUnlessItIsNamedByNumber) {
    gwDebugCurrentCommand = 3; // the main thread's matter alone
    std::string const szStart = "Pre-MacIntel1005-SIGNAL11-";
    EXPECT_EQ(OnThread(nullptr, nullptr, false), szStart + "Unknown");
    EXPECT_EQ(OnThread("Worker", nullptr, true), szStart + "Work");
    EXPECT_EQ(OnThread(nullptr, nullptr, true), szStart);
    std::string const szWithDialog = OnThread("9abc", "Save", true);
    EXPECT_EQ(szWithDialog.substr(0, szStart.size() + 4), szStart + "Save");
    EXPECT_EQ(szWithDialog.size(), szStart.size() + 7); // and three digits of the thread's ID
}

TEST(BugReportBlockScope, NamesTheThreadForABlockOnly) {
    char szName[8];
    {
        LBugReportBlockScope const oWithoutEntry("Lost");
        LDebugThreadGetName(szName);
        EXPECT_STREQ(szName, "");
    }
    LDebugThreadDataStartThread("Main");
    {
        LBugReportBlockScope const oOuter("Export");
        {
            LBugReportBlockScope const oInner("X");
            LDebugThreadGetName(szName);
            EXPECT_STREQ(szName, "X");
        }
        LDebugThreadGetName(szName);
        EXPECT_STREQ(szName, "Expo");
    }
    LDebugThreadGetName(szName);
    EXPECT_STREQ(szName, "Main");
    {
        LBugReportBlockScope const oScope("Gone");
        LDebugThreadDataStopThread();
        std::thread([] {}).join();
        gDebugThreadData[0].szName[0] = 'O'; // somebody else's by now
    }
    EXPECT_EQ(gDebugThreadData[0].szName[0], 'O');
}

} // namespace
