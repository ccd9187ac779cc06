#include "runtime/threads/process_run.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <pthread.h>
#include <sys/resource.h>
#include <utility>

namespace {

using Result = std::pair<int, int>; // nResult, nExitCode

// The record is the thread's in the end.
Result RunRecord(ProcessRunData* pData) {
    EXPECT_EQ(Result(pData->nResult, pData->nExitCode), Result(1, -1));
    pthread_t hThread;
    pthread_create(&hThread, nullptr, ProcessRunThreadCallback, pData);
    pData->oDone.WaitSignal(kLNoTimeout);
    Result const oResult(pData->nResult, pData->nExitCode);
    pData->oRelease.Signal();
    pthread_join(hThread, nullptr);
    return oResult;
}

Result RunCommand(char const* szCommand) {
    auto* const pData = new ProcessRunData;
    if (szCommand) {
        pData->szCommand = new char[std::strlen(szCommand) + 1];
        std::strcpy(pData->szCommand, szCommand);
    }
    return RunRecord(pData);
}

} // namespace

TEST(ProcessRun, HandsTheExitStatusBack) {
    struct {
        char const* szCommand;
        Result oExpected;
    } const arRows[] = {
        {"exit 0", {0, 0}},
        {"exit 42", {0, 42}},
        {"exit 255", {0, 255}},
        {"kill -9 $$", {0, -1}},
        {"", {0, 0}},
        {nullptr, {0, 0}},
        {"cat", {0, 0}}, // its input is empty, and ends
        {"/no/such/command 2>/dev/null", {0, 127}},
    };
    for (auto const& oRow : arRows)
        EXPECT_EQ(RunCommand(oRow.szCommand), oRow.oExpected) << (oRow.szCommand ? oRow.szCommand : "null");
}

TEST(ProcessRun, StatusThatIgnoredChildrenDontLeaveIsNotAFailure) {
    auto const pBefore = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(RunCommand("exit 3"), Result(0, -1));
    std::signal(SIGCHLD, pBefore);
}

TEST(ProcessRun, ReportsACommandThatCantBeRun) {
    auto* const pData = new ProcessRunData;
    rlimit oBefore;
    getrlimit(RLIMIT_NOFILE, &oBefore);
    rlimit oFew = oBefore;
    oFew.rlim_cur = 3; // none left for the shell's pipe
    setrlimit(RLIMIT_NOFILE, &oFew);
    Result const oResult = RunRecord(pData);
    setrlimit(RLIMIT_NOFILE, &oBefore);
    EXPECT_EQ(oResult, Result(2, -1));
}

TEST(ProcessRun, NothingToRunIsFine) {
    EXPECT_EQ(ProcessRunThreadCallback(nullptr), nullptr);
}
