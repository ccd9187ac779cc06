#include "runtime/threads/process_interface_nested.h"
#include "runtime/threads/process_interface_void.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace {

// Writes down what it is told.
class Parent : public LProcessInterfaceVoid {
public:
    bool IsToStop() override { return true; }
    void SetError(char const* szText) override { szTold += szText; }
    void SetStatus(char const* szText, int nLine) override { szTold += std::to_string(nLine) + szText; }
    void SetProgress(double) override { szTold += " progress"; }
    void SetProgressIndeterminateOn() override { szTold += " on"; }
    void SetProgressIndeterminateOff() override { szTold += " off"; }

    std::string szTold;
};

} // namespace

TEST(ProcessInterfaceNested, PassesFormattedReportsCutTo8191BytesAndNoIndeterminateProgress) {
    Parent oParent;
    LProcessInterfaceNested oNested(oParent);
    std::string const szLong(10'000, 'x'), szCut(8'191, 'x');
    oNested.SetErrorF("%s", szLong.c_str());
    oNested.SetStatusF(1, "%s", szLong.c_str());
    oNested.SetProgress(0.5);
    oNested.SetProgressIndeterminateOn();
    oNested.SetProgressIndeterminateOff();
    EXPECT_EQ(oParent.szTold, szCut + '1' + szCut + " progress");
    EXPECT_TRUE(oNested.IsToStop());
}

TEST(ProcessInterfaceVoid, NeverStopsAndWaitsTheWholeTime) {
    LProcessInterfaceVoid oVoid;
    LSignalObject oSignal;
    LSignalObjectGroup oGroup;
    auto const tBegin = std::chrono::steady_clock::now();
    EXPECT_FALSE(oVoid.ProcessWait(50));
    EXPECT_GE(std::chrono::steady_clock::now() - tBegin, std::chrono::milliseconds(50));
    EXPECT_FALSE(oVoid.IsToStop());
    EXPECT_EQ(oVoid.ProcessWaitSignalObjectGroup(oGroup, kLNoTimeout), eWaitTimeout) << "an empty group";
    oGroup.Add(oSignal);
    EXPECT_EQ(oVoid.ProcessWaitSignal(oSignal, 1), eWaitTimeout);
    EXPECT_EQ(oVoid.ProcessWaitSignalObjectGroup(oGroup, 1), eWaitTimeout);
    oSignal.Signal();
    EXPECT_EQ(oVoid.ProcessWaitSignalForever(oSignal), eWaitSignaled);
    EXPECT_EQ(oVoid.ProcessWaitSignalObjectGroupForever(oGroup), eWaitSignaled);
    EXPECT_EQ(oGroup.GetCount(), 1);
}
