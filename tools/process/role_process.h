// A role running as a process of its own, started by another.
#pragma once

#include "tools/process/line_reader.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

// Any thread, one at a time. The child is in a process group of its own, so that a Ctrl-C at the terminal reaches the
// parent alone, which then stops its children in order. It inherits standard error, and gets a control descriptor
// (number kControlDescriptor) whose end tells it that the parent has gone.
class RoleProcess {
public:
    static constexpr int kControlDescriptor = 3;

    struct Options {
        std::vector<std::string> lArguments;                           // the first is the program's path
        std::vector<std::pair<std::string, std::string>> lEnvironment; // set on top of the parent's
        bool bStandardInput = false;                                   // inherited; else empty
        int nStandardError = -1;                                       // -1: inherited
    };

    // Throws Failure(Service) when the program can't be started.
    explicit RoleProcess(Options const& oOptions);
    // A child that still runs is told to stop, then, after two seconds, killed. Waits for its end.
    ~RoleProcess();
    RoleProcess(RoleProcess const&) = delete;
    RoleProcess& operator=(RoleProcess const&) = delete;

    pid_t Pid() const noexcept { return nPid; }
    int OutputDescriptor() const noexcept { return nOutput; }
    LineReader& Output() noexcept { return oOutput; }

    // Sends one command. False when the child has gone.
    bool Command(std::string const& szCommand);
    void CloseControl();
    void Signal(int nSignal) const;

    // The next line of its output, waiting up to nMilliseconds; nothing at the end of its output, or of the time.
    std::optional<std::string> WaitLine(int nMilliseconds);

    // Waits up to nMilliseconds for its end. Its exit status (128 + the signal's number when a signal ended it), or -1.
    int WaitExit(int nMilliseconds);

private:
    pid_t nPid = -1;
    int nOutput = -1;
    int nControl = -1;
    int nExitStatus = -1;
    LineReader oOutput{-1};
};

// The path to run this same program by: the first word of its command line, looked up as the shell did.
std::string ProgramPath(std::string const& szFirstWord);
