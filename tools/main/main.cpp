#include "tools/process/failure.h"
#include "tools/process/role_process.h"
#include "tools/roles/commands.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char kAbout[] =
    "Plays audio to the Lumora virtual device and records what arrives at the other end.\n"
    "\n"
    "Exit status: 0 success; 1 the recording is not what was played; 2 wrong usage; 3 an input can't be\n"
    "played, or a setting can't be read; 4 the recording or a setting can't be written; 5 the bundle, the\n"
    "helper or the service folder can't be used.\n";

// The name of the subcommand, so that a line among the output of several roles says whose it is.
std::string NameOf(int nArguments, char** ppArguments) {
    return nArguments > 1 && ppArguments[1][0] != '-' ? std::string("lumora ") + ppArguments[1] : "lumora";
}

// The parser itself would only say that a command is missing.
void RefuseUnknownCommand(CLI::App const& oApp, int nArguments, char** ppArguments) {
    if (nArguments < 2 || ppArguments[1][0] == '-')
        return;
    std::string const szWanted = ppArguments[1];
    if (oApp.get_subcommands([&](CLI::App const* pCommand) { return pCommand->get_name() == szWanted; }).empty())
        throw Failure(ExitCode::Usage, "there is no command '" + szWanted + "'. See lumora --help.");
}

// A descriptor that the caller closed would be given to the next pipe or file opened here, and what is printed would go
// into that: into the recording, for example.
void OpenMissingStandardDescriptors() {
    for (int n = STDIN_FILENO; n <= STDERR_FILENO; ++n)
        if (fcntl(n, F_GETFD) < 0 && errno == EBADF)
            open("/dev/null", n == STDIN_FILENO ? O_RDONLY : O_WRONLY); // the lowest free number, which is n
}

int Run(int nArguments, char** ppArguments) {
    CommandContext oContext{ProgramPath(ppArguments[0]), 0};
    CLI::App oApp(kAbout, "lumora");
    oApp.require_subcommand(1);
    AddRecordCommand(oApp, oContext);
    AddServerCommand(oApp, oContext);
    AddHelperCommand(oApp, oContext);
    AddRecorderCommand(oApp, oContext);
    AddInspectCommand(oApp, oContext);
    AddSettingsCommand(oApp, oContext);
    try {
        RefuseUnknownCommand(oApp, nArguments, ppArguments);
        oApp.parse(nArguments, ppArguments);
    } catch (CLI::ParseError const& oWhy) {
        return oApp.exit(oWhy) == 0 ? oContext.nExitStatus : static_cast<int>(ExitCode::Usage);
    }
    return oContext.nExitStatus;
}

} // namespace

int main(int nArguments, char** ppArguments) {
    OpenMissingStandardDescriptors();
    try {
        int const nStatus = Run(nArguments, ppArguments);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
            throw Failure(ExitCode::Recording, "the result could not be printed: standard output takes no more.");
        return nStatus;
    } catch (Failure const& oWhy) {
        std::fprintf(stderr, "%s: %s\n", NameOf(nArguments, ppArguments).c_str(), oWhy.what());
        return static_cast<int>(oWhy.Code());
    } catch (std::system_error const& oWhy) { // a thread, nearly always
        std::fprintf(stderr, "%s: the system refuses what this needs: %s\n", NameOf(nArguments, ppArguments).c_str(),
                     oWhy.what());
        return static_cast<int>(ExitCode::Service);
    } catch (std::exception const& oWhy) {
        std::fprintf(stderr, "%s: unexpectedly: %s\n", NameOf(nArguments, ppArguments).c_str(), oWhy.what());
        return static_cast<int>(ExitCode::Recording);
    }
}
