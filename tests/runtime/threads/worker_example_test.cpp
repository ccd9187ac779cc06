// The worked example of docs/architecture.md: a worker that counts what it is handed, until it is stopped.
#include "runtime/threads/thread.h"

#include "base/mutex.h"

#include <gtest/gtest.h>

#include <deque>
#include <utility>

namespace {

class Adder : public LThread {
public:
    ~Adder() override { StopThreadNow(); } // the body uses the fields below: it ends before they do

    void Hand(int nNumber) {
        LScopedLock oLock(mtxNumbers);
        lNumbers.push_back(nNumber);
        oHanded.Signal();
    }

    LSignalObjectRef GetSummed() const { return oSummed; }
    int GetSum() {
        LScopedLock oLock(mtxNumbers);
        return nSum;
    }

private:
    void ThreadProc() override {
        while (ProcessWaitSignalForever(oHanded) == eWaitSignaled) // a stop request ends the wait and the worker
            AddUp();
    }

    void AddUp() {
        LScopedLock oLock(mtxNumbers);
        oHanded.Reset(); // before the numbers are looked at: one that comes later signals again
        for (int const nNumber : std::exchange(lNumbers, {}))
            nSum += nNumber;
        oSummed.Signal();
    }

    LMutex mtxNumbers;
    std::deque<int> lNumbers GUARDED_BY(mtxNumbers);
    int nSum GUARDED_BY(mtxNumbers) = 0;
    LSignalObject oHanded, oSummed;
};

} // namespace

TEST(WorkerExample, AddsUpUntilItIsStopped) {
    Adder oAdder;
    oAdder.Start(31);
    for (int n = 1; n <= 100; ++n)
        oAdder.Hand(n);
    LSignalObjectRef oSummed = oAdder.GetSummed();
    while (oAdder.GetSum() != 5050) {
        oSummed.WaitSignal(kLNoTimeout);
        oSummed.Reset();
    }
}
