// Events that poll can watch: the ground of every wait of the library.
#pragma once

#include "runtime/sync/deadline.h"

#include <poll.h>

// A handle of an event, copied by value; good for as long as the LSignalObject that it was made from. Any thread.
//
// A wait is true when one of the events is signalled within the timeout (milliseconds; kLNoTimeout: no limit), and
// takes nothing from it: every waiter of a signalled event gets through until somebody resets it. A wait that a signal
// handler interrupts goes on with the rest of its time. A wait that the kernel refuses, or that has no event with a
// descriptor to watch, is false at once. What a thread wrote before it signalled is seen after the wait that it ended.
class LSignalObjectRef {
public:
    constexpr LSignalObjectRef() noexcept = default; // an event that is never signalled

    bool WaitSignal(unsigned int nTimeout) const noexcept;
    bool IsSignaled() const noexcept { return WaitSignal(0); }
    bool WaitSignalDual(LSignalObjectRef oOther, unsigned int nTimeout) const noexcept;
    bool WaitSignalTriple(LSignalObjectRef oA, LSignalObjectRef oB, unsigned int nTimeout) const noexcept;

    // Signals the event until the next Reset. Never blocks; touches nothing of the object once waiters can get through,
    // so that a waiter may destroy it.
    void Signal() const noexcept;

    // The event is not signalled from here on.
    void Reset() noexcept;

    // False when the pipe could not be made: such an event is never signalled.
    bool IsValid() const noexcept { return hRead >= 0; }

    // What a poll for readability watches; -1 when there is none.
    int GetReadEnd() const noexcept { return hRead; }

protected:
    int hRead = -1;
    int hWrite = -1;
};

// A manual-reset event on a pipe of its own, not signalled at first. Signals are bytes in the pipe; one that finds the
// pipe full is lost, which changes nothing. Both ends are non-blocking and closed on exec.
class LSignalObject : public LSignalObjectRef {
public:
    LSignalObject() noexcept;
    ~LSignalObject();
    LSignalObject(LSignalObject const&) = delete;
    LSignalObject& operator=(LSignalObject const&) = delete;
};

// Up to 256 events to be waited for together. One thread at a time, except that any number may wait in it at once.
class LSignalObjectGroup {
public:
    static constexpr int kMaxCount = 256;

    // Appends; what does not fit any more is left out. A group may be added to itself.
    void Add(LSignalObjectRef oSignal) noexcept;
    void Add(LSignalObjectGroup& oOther) noexcept;

    int GetCount() const noexcept { return nCount; }

    // Whether the last member is this event.
    bool EndsWith(LSignalObjectRef oSignal) const noexcept;

    // True when a member is signalled within the timeout; an empty group is false at once.
    bool Select(unsigned int nTimeout) const noexcept;
    bool IsSignaled() const noexcept { return Select(0); }

    // The same, and tells whether the last member is among the signalled ones.
    bool Select(unsigned int nTimeout, bool& bLastIsSignaled) const noexcept;

private:
    pollfd arEntries[kMaxCount]; // the first nCount are in use
    int nCount = 0;
};

// One poll of the entries for their events, with the timeout; true when one is ready. The library's waits are all this.
bool LPoll(pollfd* pEntries, nfds_t nCount, unsigned int nTimeout) noexcept;
