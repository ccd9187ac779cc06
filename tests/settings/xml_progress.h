// A process interface that counts how often it is asked to stop.
#pragma once

#include "runtime/sync/process_interface.h"

// Answers yes to the questions from `nFirst` to `nLast`, counted from 1.
class AskCounter : public LProcessInterface {
public:
    explicit AskCounter(int nFirst, int nLast = -1) : nFirstYes(nFirst), nLastYes(nLast) {}

    bool IsToStop() override {
        ++nAsked;
        return nAsked >= nFirstYes && nAsked <= nLastYes;
    }
    bool ProcessWait(unsigned int) override { return false; }
    LWaitResult ProcessWaitSignal(LSignalObjectRef, unsigned int) override { return eWaitTimeout; }
    LWaitResult ProcessWaitSignalObjectGroup(LSignalObjectGroup&, unsigned int) override { return eWaitTimeout; }

    int nAsked = 0;

private:
    int const nFirstYes, nLastYes;
};
