#include "runtime/sync/process_interface.h"

#include <cstdarg>
#include <cstdio>

namespace {

constexpr int kReportSize = 8192;

} // namespace

bool LProcessInterface::ProcessWaitUntilStopped() {
    return ProcessWait(kLNoTimeout);
}

LWaitResult LProcessInterface::ProcessWaitSignalForever(LSignalObjectRef oSignal) {
    return ProcessWaitSignal(oSignal, kLNoTimeout);
}

LWaitResult LProcessInterface::ProcessWaitSignalObjectGroupForever(LSignalObjectGroup& oGroup) {
    return ProcessWaitSignalObjectGroup(oGroup, kLNoTimeout);
}

void LProcessInterface::SetError(char const*) {}
void LProcessInterface::SetStatus(char const*, int) {}
void LProcessInterface::SetProgress(double) {}
void LProcessInterface::SetProgressIndeterminateOn() {}
void LProcessInterface::SetProgressIndeterminateOff() {}

void LProcessInterface::SetErrorF(char const* szFormat, ...) {
    char szText[kReportSize] = "";
    va_list oArguments;
    va_start(oArguments, szFormat);
    vsnprintf(szText, sizeof szText, szFormat, oArguments);
    va_end(oArguments);
    SetError(szText);
}

void LProcessInterface::SetStatusF(int nLine, char const* szFormat, ...) {
    char szText[kReportSize] = "";
    va_list oArguments;
    va_start(oArguments, szFormat);
    vsnprintf(szText, sizeof szText, szFormat, oArguments);
    va_end(oArguments);
    SetStatus(szText, nLine);
}
