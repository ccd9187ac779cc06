// How a role learns that it should stop: Ctrl-C, SIGTERM, a terminal that hangs up, or a word from its parent.
#pragma once

#include "tools/process/line_reader.h"

#include <functional>
#include <optional>
#include <string>

// The process's one. From construction to destruction SIGINT, SIGTERM and SIGHUP are caught and counted; a second one
// ends the process at once, as if it had not been caught. SIGPIPE and SIGXFSZ are ignored for good: the calls that
// cause them fail instead.
class StopSignal {
public:
    // nControl: a descriptor on which a parent sends commands, one a line, and whose end means "stop"; -1 for none.
    explicit StopSignal(int nControl = -1);
    ~StopSignal();
    StopSignal(StopSignal const&) = delete;
    StopSignal& operator=(StopSignal const&) = delete;

    // Waits up to nMilliseconds (-1: without limit) for a signal, a command, or Wake. True when asked to stop.
    bool Wait(int nMilliseconds);
    bool Stopped() const;
    bool ControlEnded() const { return nControlDescriptor >= 0 && oControl.AtEnd(); }
    // The next command that has arrived, if any.
    std::optional<std::string> NextCommand() { return oControl.Next(); }
    // Ends a Wait. Any thread.
    void Wake() noexcept;
    // Readable when there is something to Wait for; -1 never is.
    int SignalDescriptor() const noexcept;

private:
    int nControlDescriptor;
    LineReader oControl;
};
