// Why a command ended: the one exception of the tools, and the exit codes that go with it.
#pragma once

#include <stdexcept>
#include <string>

// What the `lumora` command's exit status means. docs/tools.md lists the same numbers for people.
enum class ExitCode : int {
    Success = 0,
    Recording = 1, // something was lost, or the recording is not what was played
    Usage = 2,     // the command line
    Input = 3,     // a source can't be read or played; there is no such setting, or it can't be read
    Output = 4,    // the recording or a setting can't be written
    Service = 5,   // the bundle, the helper or the service folder can't be used
};

// Thrown inside the tools only, never through the driver's interface or a connection's handler. The text is one
// complete sentence or two for the user: what failed, on what, and what to do.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode nCode, std::string const& szText) : std::runtime_error(szText), nExitCode(nCode) {}
    ExitCode Code() const noexcept { return nExitCode; }

private:
    ExitCode nExitCode;
};
