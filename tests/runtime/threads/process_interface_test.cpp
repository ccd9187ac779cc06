#include "runtime/threads/process_interface_nested.h"
#include "runtime/threads/process_interface_void.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace {

class Parent : public LProcessInterface {
public:
    MOCK_METHOD(bool, IsToStop, (), (override));
    MOCK_METHOD(bool, ProcessWait, (unsigned int), (override));
    MOCK_METHOD(LWaitResult, ProcessWaitSignal, (LSignalObjectRef, unsigned int), (override));
    MOCK_METHOD(LWaitResult, ProcessWaitSignalObjectGroup, (LSignalObjectGroup&, unsigned int), (override));
    MOCK_METHOD(bool, ProcessWaitUntilStopped, (), (override));
    MOCK_METHOD(LWaitResult, ProcessWaitSignalForever, (LSignalObjectRef), (override));
    MOCK_METHOD(LWaitResult, ProcessWaitSignalObjectGroupForever, (LSignalObjectGroup&), (override));
    MOCK_METHOD(void, SetError, (char const*), (override));
    MOCK_METHOD(void, SetStatus, (char const*, int), (override));
    MOCK_METHOD(void, SetProgress, (double), (override));
    MOCK_METHOD(void, SetProgressIndeterminateOn, (), (override));
    MOCK_METHOD(void, SetProgressIndeterminateOff, (), (override));
};

} // namespace

TEST(ProcessInterfaceNested, PassesAllButIndeterminateProgress) {
    using namespace testing;
    StrictMock<Parent> oParent;
    LProcessInterfaceNested oNested(oParent);
    LProcessInterface& oProcess = oNested;
    LSignalObject oSignal;
    LSignalObjectGroup oGroup;
    EXPECT_CALL(oParent, IsToStop).WillOnce(Return(true));
    EXPECT_CALL(oParent, ProcessWait(7)).WillOnce(Return(true));
    EXPECT_CALL(oParent, ProcessWaitSignal(_, 8)).WillOnce(Return(eWaitStopped));
    EXPECT_CALL(oParent, ProcessWaitSignalObjectGroup(Ref(oGroup), 9)).WillOnce(Return(eWaitTimeout));
    EXPECT_CALL(oParent, ProcessWaitUntilStopped).WillOnce(Return(true));
    EXPECT_CALL(oParent, ProcessWaitSignalForever).WillOnce(Return(eWaitStopped));
    EXPECT_CALL(oParent, ProcessWaitSignalObjectGroupForever(Ref(oGroup))).WillOnce(Return(eWaitTimeout));
    EXPECT_CALL(oParent, SetError(StrEq("no")));
    EXPECT_CALL(oParent, SetStatus(StrEq("busy 1"), 1));
    EXPECT_CALL(oParent, SetProgress(0.5));
    EXPECT_TRUE(oProcess.IsToStop() && oProcess.ProcessWait(7) && oProcess.ProcessWaitUntilStopped());
    EXPECT_EQ(oProcess.ProcessWaitSignal(oSignal, 8), eWaitStopped);
    EXPECT_EQ(oProcess.ProcessWaitSignalObjectGroup(oGroup, 9), eWaitTimeout);
    EXPECT_EQ(oProcess.ProcessWaitSignalForever(oSignal), eWaitStopped);
    EXPECT_EQ(oProcess.ProcessWaitSignalObjectGroupForever(oGroup), eWaitTimeout);
    oProcess.SetErrorF("%s", "no");
    oProcess.SetStatusF(1, "%s %d", "busy", 1);
    oProcess.SetProgress(0.5);
    oProcess.SetProgressIndeterminateOn();
    oProcess.SetProgressIndeterminateOff();
}

TEST(ProcessInterface, FormattedReportsAreCutTo8191Bytes) {
    testing::StrictMock<Parent> oParent;
    std::string const szLong(10'000, 'x'), szCut(8'191, 'x');
    EXPECT_CALL(oParent, SetError(testing::StrEq(szCut)));
    EXPECT_CALL(oParent, SetStatus(testing::StrEq(szCut), 0));
    oParent.SetErrorF("%s", szLong.c_str());
    oParent.SetStatusF(0, "%s", szLong.c_str());
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
