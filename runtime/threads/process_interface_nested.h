// A process interface within another.
#pragma once

#include "runtime/sync/process_interface.h"

// Passes everything to its parent, except that progress of no known length is not shown: for a step of a larger piece
// of work, derived from and overridden where the step differs. Threads as the parent's; the parent outlives it.
class LProcessInterfaceNested : public LProcessInterface {
public:
    explicit LProcessInterfaceNested(LProcessInterface& oParent) noexcept : pParent(&oParent) {}

    bool IsToStop() override { return pParent->IsToStop(); }
    bool ProcessWait(unsigned int nTimeout) override { return pParent->ProcessWait(nTimeout); }
    LWaitResult ProcessWaitSignal(LSignalObjectRef oSignal, unsigned int nTimeout) override {
        return pParent->ProcessWaitSignal(oSignal, nTimeout);
    }
    LWaitResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& oGroup, unsigned int nTimeout) override {
        return pParent->ProcessWaitSignalObjectGroup(oGroup, nTimeout);
    }
    bool ProcessWaitUntilStopped() override { return pParent->ProcessWaitUntilStopped(); }
    LWaitResult ProcessWaitSignalForever(LSignalObjectRef oSignal) override {
        return pParent->ProcessWaitSignalForever(oSignal);
    }
    LWaitResult ProcessWaitSignalObjectGroupForever(LSignalObjectGroup& oGroup) override {
        return pParent->ProcessWaitSignalObjectGroupForever(oGroup);
    }
    void SetError(char const* szText) override { pParent->SetError(szText); }
    void SetStatus(char const* szText, int nLine) override { pParent->SetStatus(szText, nLine); }
    void SetProgress(double fFraction) override { pParent->SetProgress(fFraction); }

protected:
    LProcessInterface* pParent; // not owned
};
