#include "runtime/sync/named_signal.h"

#include "runtime/sync/deadline.h"
#include "tests/harness/child_process.h"
#include "tests/harness/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace fs = std::filesystem;

namespace {

// In a container of its own, as a sandboxed process is.
class NamedSignal : public testing::Test {
protected:
    void SetUp() override { setenv("CFFIXED_USER_HOME", oHome.Path().c_str(), 1); }
    void TearDown() override { unsetenv("CFFIXED_USER_HOME"); }

    std::string Path(std::string const& szName) const { return oHome / ("Library/Application Support/" + szName); }

    TemporaryFolder oHome;
};

} // namespace

TEST_F(NamedSignal, NamesThatDontFitOrLeadAwayAreRefused) {
    std::size_t const nPrefix = Path("").size();
    struct {
        std::string szName;
        bool bTaken;
    } const arRows[] = {
        {"folder/wake", true},
        {"...", true},
        {".hidden", true},
        {"", false},
        {".", false},
        {"..", false},
        {"../wake", false},
        {"a/../wake", false},
        {"a//wake", false},
        {"/wake", false},
        {"wake/", false},
        {std::string(104 - nPrefix, 'x'), true},
        {std::string(105 - nPrefix, 'x'), false},
        {std::string(250, 'x'), false},
    };
    for (auto const& oRow : arRows) {
        LSignalObjectNamedWaiter oWaiter(oRow.szName.c_str());
        LSignalObjectNamedSignaller(oRow.szName.c_str()).Signal();
        EXPECT_EQ(oWaiter.IsListening(), oRow.bTaken) << oRow.szName;
        EXPECT_EQ(oWaiter.WaitSignal(oRow.bTaken ? 0 : kLNoTimeout), oRow.bTaken) << oRow.szName;
        EXPECT_EQ(fs::is_socket(Path(oRow.szName)), oRow.bTaken) << oRow.szName;
    }
}

TEST_F(NamedSignal, EachSignalEndsOneWaitOfAnotherProcess) {
    LSignalObjectNamedSignaller("wake").Signal(); // nobody there: lost
    LSignalObjectNamedWaiter oWaiter("wake");
    EXPECT_FALSE(oWaiter.WaitSignal(0));
    ChildProcess oSignaller([&](auto const& oDoor) {
        LSignalObjectNamedSignaller("wake").Signal();
        oDoor.WaitForParent();
        LSignalObjectNamed oBoth("wake");
        oBoth.Signal();
        oBoth.Reset();
        oDoor.SayReady();
        return oDoor.Rest(); // no destructor: the file stays
    });
    EXPECT_TRUE(oWaiter.WaitSignal(kLNoTimeout));
    oWaiter.Reset();
    EXPECT_FALSE(oWaiter.WaitSignal(0)) << "nothing is pending, and that is no signal";
    oSignaller.LetGo();
    EXPECT_TRUE(oWaiter.WaitSignal(kLNoTimeout));
    ASSERT_TRUE(oSignaller.WaitUntilReady());
    EXPECT_FALSE(oWaiter.WaitSignal(0));
    for (int n = 0; n < 100; ++n)
        LSignalObjectNamedSignaller("wake").Signal(); // nobody waits, and none of them blocks
    for (int n = 0; n < 5; ++n)
        EXPECT_TRUE(oWaiter.WaitSignal(0)) << n;
}

TEST_F(NamedSignal, KilledWaiterLeavesAFileThatTheNextReplaces) {
    ChildProcess oDead([&](auto const& oDoor) {
        LSignalObjectNamedWaiter oWaiter("wake");
        oDoor.SayReady();
        return oDoor.Rest();
    });
    ASSERT_TRUE(oDead.WaitUntilReady());
    oDead.Kill();
    ASSERT_TRUE(fs::is_socket(Path("wake")));
    LSignalObjectNamedSignaller("wake").Signal(); // refused, without harm
    LSignalObjectNamedWaiter oWaiter("wake");
    LSignalObjectNamedSignaller("wake").Signal();
    EXPECT_TRUE(oWaiter.WaitSignal(kLNoTimeout));
}

TEST_F(NamedSignal, LaterWaiterTakesTheNameOverAndKeepsIt) {
    {
        auto pFirst = std::make_unique<LSignalObjectNamedWaiter>("wake");
        LSignalObjectNamedWaiter oSecond("wake");
        LSignalObjectNamedSignaller("wake").Signal();
        EXPECT_FALSE(pFirst->WaitSignal(0));
        EXPECT_TRUE(oSecond.WaitSignal(0));
        pFirst.reset();
        EXPECT_TRUE(fs::is_socket(Path("wake"))) << "the end of the first took the name of the second";
    }
    EXPECT_FALSE(fs::exists(Path("wake")));
    std::ofstream(Path("wake")) << "in the way";
    LSignalObjectNamedWaiter oWaiter("wake");
    EXPECT_TRUE(oWaiter.IsListening());
    { LSignalObjectNamed const oEnd("wake"); }
    EXPECT_FALSE(fs::exists(Path("wake")));
}
