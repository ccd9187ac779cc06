#include "runtime/threads/process_run.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <sys/wait.h>

namespace {

enum : int { eRunStarted = 0, eRunNotStarted = 1, eRunFailed = 2 };

void Run(ProcessRunData& oData) {
    FILE* const pCommand = popen(oData.szCommand ? oData.szCommand : "", "w");
    if (!pCommand) {
        oData.nResult = eRunFailed;
        return;
    }
    int const nStatus = pclose(pCommand);
    if (nStatus == -1) {
        if (errno != ECHILD) // with children ignored the status is lost, but the command did run
            oData.nResult = eRunFailed;
    } else if (WIFEXITED(nStatus)) {
        oData.nExitCode = WEXITSTATUS(nStatus);
    }
}

} // namespace

ProcessRunData::ProcessRunData() noexcept : nResult(eRunNotStarted), nExitCode(-1) {}

ProcessRunData::~ProcessRunData() {
    delete[] szCommand;
}

void* ProcessRunThreadCallback(void* pData) {
    if (!pData)
        return nullptr;
    std::unique_ptr<ProcessRunData> const pRun(static_cast<ProcessRunData*>(pData));
    pRun->nResult = eRunStarted;
    pRun->nExitCode = -1;
    Run(*pRun);
    pRun->oDone.Signal();
    pRun->oRelease.WaitSignal(kLNoTimeout);
    pRun->oRelease.Reset(); // the starter's byte is taken out before its pipe is closed
    return nullptr;
}
