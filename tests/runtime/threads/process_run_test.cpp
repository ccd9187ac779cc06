#include "runtime/threads/process_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <pthread.h>
#include <sys/resource.h>
#include <utility>

namespace {

using Result = std::pair<int, int>; // nResult, nExitCode

Result RunCommand(char const* szCommand, rlim_t nDescriptors = RLIM_INFINITY) {
    auto* const pData = new ProcessRunData; // the thread's in the end
    if (szCommand)
        pData->szCommand = std::strcpy(new char[std::strlen(szCommand) + 1], szCommand);
    EXPECT_EQ(Result(pData->nResult, pData->nExitCode), Result(1, -1));
    rlimit oBefore;
    getrlimit(RLIMIT_NOFILE, &oBefore);
    rlimit const oFew{std::min(nDescriptors, oBefore.rlim_cur), oBefore.rlim_max};
    setrlimit(RLIMIT_NOFILE, &oFew);
    pthread_t hThread;
    pthread_create(&hThread, nullptr, ProcessRunThreadCallback, pData);
    pData->oDone.WaitSignal(kLNoTimeout);
    Result const oResult(pData->nResult, pData->nExitCode);
    pData->oRelease.Signal();
    pthread_join(hThread, nullptr);
    setrlimit(RLIMIT_NOFILE, &oBefore);
    return oResult;
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
    EXPECT_EQ(RunCommand("exit 0", 3), Result(2, -1)) << "no descriptors for the shell's pipe: can't be run";
    auto const pBefore = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(RunCommand("exit 3"), Result(0, -1)) << "ignored children leave no status, but were run";
    std::signal(SIGCHLD, pBefore);
}
