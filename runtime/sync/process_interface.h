// The stop, wait and report interface that long-running work is written against.
#pragma once

#include "runtime/sync/signal_object.h"

// How a wait through an LProcessInterface ended.
enum LWaitResult : int {
    eWaitSignaled = 0, // the awaited event, or one of the group, was signalled
    eWaitStopped = 1,  // a stop was requested; wins when both are ready
    eWaitTimeout = 2,  // the time ran out, the wait failed, or the group was empty
};

// Work asks here whether it should stop, waits here, so that a stop ends its waits, and reports here. Who implements it
// says from which threads it may be called. Timeouts are milliseconds, kLNoTimeout for no limit; texts are the
// caller's, NUL-terminated, and not kept.
class LProcessInterface {
public:
    virtual bool IsToStop() = 0;

    // Waits the whole timeout unless a stop is requested; true when it is.
    virtual bool ProcessWait(unsigned int nTimeout) = 0;

    virtual LWaitResult ProcessWaitSignal(LSignalObjectRef oSignal, unsigned int nTimeout) = 0;

    // The implementation may append an event of its own to the group, and that one stays: keep one place free.
    virtual LWaitResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& oGroup, unsigned int nTimeout) = 0;

    virtual bool ProcessWaitUntilStopped();
    virtual LWaitResult ProcessWaitSignalForever(LSignalObjectRef oSignal);
    virtual LWaitResult ProcessWaitSignalObjectGroupForever(LSignalObjectGroup& oGroup);

    // Reports; these here do nothing. `nLine` is 0 or 1; `fFraction` runs from 0.0 to 1.0.
    virtual void SetError(char const* szText);
    virtual void SetStatus(char const* szText, int nLine);
    virtual void SetProgress(double fFraction);
    virtual void SetProgressIndeterminateOn();
    virtual void SetProgressIndeterminateOff();

    // As SetError and SetStatus, formatted as printf does, cut to 8191 bytes.
    [[gnu::format(printf, 2, 3)]] void SetErrorF(char const* szFormat, ...);
    [[gnu::format(printf, 3, 4)]] void SetStatusF(int nLine, char const* szFormat, ...);

protected:
    ~LProcessInterface() = default; // not virtual: nobody owns work through this interface
};
