#include "runtime/diagnostics/bug_report_block_scope.h"

#include "runtime/diagnostics/debug_thread.h"

#include <cstring>

LBugReportBlockScope::LBugReportBlockScope(char const* szName) noexcept {
    LDebugThreadData* const pThread = LDebugThreadFindData();
    if (!pThread)
        return;
    nIndex = static_cast<int>(pThread - gDebugThreadData.data());
    std::memcpy(szSavedName, pThread->szName, sizeof szSavedName);
    LDebugThreadSetName(szName);
}

LBugReportBlockScope::~LBugReportBlockScope() {
    // A thread that gave its entry back meanwhile must not rename whoever has it now.
    if (nIndex != -1 && LDebugThreadFindData() == &gDebugThreadData[static_cast<std::size_t>(nIndex)])
        LDebugThreadSetName(szSavedName);
}
