#include "runtime/notify/thread_notify_interface.h"

#include <cstdint>
#include <cstring>

namespace {

// What a notification asks of the target. The lines of status come one behind the other.
enum : unsigned int {
    eNotifyError = 0,
    eNotifyStatus = 1,
    eNotifyProgress = 3,
    eNotifyIndeterminateOn = 4,
    eNotifyIndeterminateOff = 5,
};
constexpr int kStatusLines = 2;

long PercentOf(double fFraction) noexcept {
    double const fPercent = fFraction * 100.0;
    if (!(fPercent > 0.0)) // nor a number that is none
        return 0;
    return fPercent < INT32_MAX ? static_cast<std::int32_t>(fPercent) : INT32_MAX;
}

} // namespace

LThreadNotifyInterface::LThreadNotifyInterface(LProcessInterface& oTarget)
    : pTargetInterface(&oTarget), oNotifySender(this) {}

LThreadNotifyInterface::~LThreadNotifyInterface() {
    StopThreadNow();
    QueuedNotifyDataHandlerDestroy();
}

void LThreadNotifyInterface::SetError(char const* szText) {
    oNotifySender.NotifyData(eNotifyError, szText, szText ? std::strlen(szText) + 1 : 0);
}

void LThreadNotifyInterface::SetStatus(char const* szText, int nLine) {
    if (nLine < 0 || nLine >= kStatusLines)
        return;
    {
        LScopedLock oLock(mtxStatus);
        LCopyFixed(szStatus[nLine], szText);
    }
    oNotifySender.NotifyData(eNotifyStatus + static_cast<unsigned int>(nLine));
}

void LThreadNotifyInterface::SetProgress(double fFraction) {
    oNotifySender.NotifyData(eNotifyProgress, PercentOf(fFraction));
}

void LThreadNotifyInterface::SetProgressIndeterminateOn() {
    oNotifySender.NotifyData(eNotifyIndeterminateOn);
}

void LThreadNotifyInterface::SetProgressIndeterminateOff() {
    oNotifySender.NotifyData(eNotifyIndeterminateOff);
}

void LThreadNotifyInterface::EvQueuedNotifyData(unsigned int nCode, void const* pData, unsigned long nLength) {
    switch (nCode) {
    case eNotifyError:
        if (pData)
            pTargetInterface->SetError(static_cast<char const*>(pData));
        break;
    case eNotifyStatus: ShowStatus(0); break;
    case eNotifyStatus + 1: ShowStatus(1); break;
    case eNotifyProgress: pTargetInterface->SetProgress(static_cast<double>(nLength) * 0.01); break;
    case eNotifyIndeterminateOn: pTargetInterface->SetProgressIndeterminateOn(); break;
    case eNotifyIndeterminateOff: pTargetInterface->SetProgressIndeterminateOff(); break;
    default: break;
    }
}

void LThreadNotifyInterface::ShowStatus(int nLine) {
    char szText[kLNameSize];
    {
        LScopedLock oLock(mtxStatus);
        std::memcpy(szText, szStatus[nLine], sizeof szText);
    }
    pTargetInterface->SetStatus(szText, nLine);
}
