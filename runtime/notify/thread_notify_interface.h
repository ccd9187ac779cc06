// A worker whose reports reach a progress interface on the main thread.
#pragma once

#include "base/fixed_text.h"
#include "base/mutex.h"
#include "runtime/notify/queued_notify_data.h"
#include "runtime/threads/thread.h"

// An LThread that is also the reporting half of an LProcessInterface: what its body reports arrives at the target, on
// the main thread, in the order reported. Error texts are carried whole. Of each status line only the latest text is
// kept, cut to 259 bytes: a main thread that falls behind shows that one as often as there were reports. Progress
// travels in whole percent (rounded down), from 0 upward; less than nothing counts as nothing.
//
// A class derived from this one calls StopThreadNow first thing in its destructor, as with LThread.
class LThreadNotifyInterface : public LThread, public LQueuedNotifyDataHandler {
public:
    // The target outlives this object, or the call of QueuedNotifyDataHandlerDestroy; not owned.
    explicit LThreadNotifyInterface(LProcessInterface& oTarget);
    ~LThreadNotifyInterface() override;

    // Reports. Any thread; return at once.
    void SetError(char const* szText) override;
    void SetStatus(char const* szText, int nLine) override; // lines other than 0 and 1: nothing
    void SetProgress(double fFraction) override;
    void SetProgressIndeterminateOn() override;
    void SetProgressIndeterminateOff() override;

    void EvQueuedNotifyData(unsigned int nCode, void const* pData, unsigned long nLength) override;

private:
    void ShowStatus(int nLine);

    LProcessInterface* pTargetInterface;
    LQueuedNotifyDataSender oNotifySender; // to this object
    LMutex mtxStatus;                      // a leaf; held for a copy only
    char szStatus[2][kLNameSize] GUARDED_BY(mtxStatus) = {};
};
