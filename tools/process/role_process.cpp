#include "tools/process/role_process.h"

#include "tools/process/failure.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

int MillisecondsUntil(Clock::time_point oDeadline) {
    auto const nLeft = std::chrono::duration_cast<std::chrono::milliseconds>(oDeadline - Clock::now()).count();
    return nLeft < 0 ? 0 : static_cast<int>(nLeft);
}

struct Pipe {
    Pipe() {
        if (pipe(arEnds) != 0)
            throw Failure(ExitCode::Service, std::string("cannot make a pipe: ") + std::strerror(errno));
        for (int const nEnd : arEnds)
            fcntl(nEnd, F_SETFD, FD_CLOEXEC);
    }
    ~Pipe() {
        for (int const nEnd : arEnds)
            if (nEnd >= 0)
                close(nEnd);
    }
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;
    int Take(int n) { return std::exchange(arEnds[n], -1); }

    int arEnds[2] = {-1, -1};
};

std::vector<std::string> MergedEnvironment(std::vector<std::pair<std::string, std::string>> const& lSet) {
    std::vector<std::string> lAll;
    for (auto const& [szName, szValue] : lSet)
        lAll.push_back(szName + "=" + szValue);
    for (char** pp = environ; *pp; ++pp) {
        bool bReplaced = false;
        for (auto const& [szName, szValue] : lSet)
            bReplaced = bReplaced || std::strncmp(*pp, (szName + "=").c_str(), szName.size() + 1) == 0;
        if (!bReplaced)
            lAll.emplace_back(*pp);
    }
    return lAll;
}

std::vector<char*> Pointers(std::vector<std::string>& lTexts) {
    std::vector<char*> lPointers;
    for (std::string& szText : lTexts)
        lPointers.push_back(szText.data());
    lPointers.push_back(nullptr);
    return lPointers;
}

} // namespace

RoleProcess::RoleProcess(Options const& oOptions) {
    Pipe oOut, oIn;
    posix_spawn_file_actions_t oActions;
    posix_spawn_file_actions_init(&oActions);
    if (!oOptions.bStandardInput)
        posix_spawn_file_actions_addopen(&oActions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&oActions, oOut.arEnds[1], STDOUT_FILENO);
    if (oOptions.nStandardError >= 0)
        posix_spawn_file_actions_adddup2(&oActions, oOptions.nStandardError, STDERR_FILENO);
    // Duplicating a descriptor onto itself is what clears its close-on-exec flag there.
    posix_spawn_file_actions_adddup2(&oActions, oIn.arEnds[0], kControlDescriptor);

    posix_spawnattr_t oAttributes;
    posix_spawnattr_init(&oAttributes);
    sigset_t oNone, oDefault;
    sigemptyset(&oNone);
    sigemptyset(&oDefault);
    for (int const nSignal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ})
        sigaddset(&oDefault, nSignal);
    posix_spawnattr_setsigmask(&oAttributes, &oNone);
    posix_spawnattr_setsigdefault(&oAttributes, &oDefault);
    posix_spawnattr_setpgroup(&oAttributes, 0);
    posix_spawnattr_setflags(&oAttributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);

    auto lArguments = oOptions.lArguments;
    auto lEnvironment = MergedEnvironment(oOptions.lEnvironment);
    int const nError = posix_spawn(&nPid, lArguments[0].c_str(), &oActions, &oAttributes, Pointers(lArguments).data(),
                                   Pointers(lEnvironment).data());
    posix_spawnattr_destroy(&oAttributes);
    posix_spawn_file_actions_destroy(&oActions);
    if (nError != 0)
        throw Failure(ExitCode::Service, "cannot start " + lArguments[0] + ": " + std::strerror(nError));
    nOutput = oOut.Take(0);
    nControl = oIn.Take(1);
    oOutput = LineReader(nOutput);
}

RoleProcess::~RoleProcess() {
    CloseControl();
    if (WaitExit(0) < 0) {
        Signal(SIGTERM);
        if (WaitExit(2000) < 0) {
            Signal(SIGKILL);
            WaitExit(10000);
        }
    }
    close(nOutput);
}

bool RoleProcess::Command(std::string const& szCommand) {
    std::string const szLine = szCommand + "\n";
    return nControl >= 0 && write(nControl, szLine.data(), szLine.size()) == static_cast<ssize_t>(szLine.size());
}

void RoleProcess::CloseControl() {
    if (nControl >= 0)
        close(nControl);
    nControl = -1;
}

void RoleProcess::Signal(int nSignal) const {
    if (nExitStatus < 0)
        kill(nPid, nSignal);
}

std::optional<std::string> RoleProcess::WaitLine(int nMilliseconds) {
    auto const oDeadline = Clock::now() + std::chrono::milliseconds(nMilliseconds);
    for (;;) {
        if (auto szLine = oOutput.Next())
            return szLine;
        pollfd oPoll = {nOutput, POLLIN, 0};
        if (oOutput.AtEnd() || (poll(&oPoll, 1, MillisecondsUntil(oDeadline)) == 0 && Clock::now() >= oDeadline))
            return std::nullopt;
        if (oPoll.revents)
            oOutput.Fill();
    }
}

int RoleProcess::WaitExit(int nMilliseconds) {
    // There is no wait for a child with a time limit; a child's end is rare enough to look for it now and then.
    auto const oDeadline = Clock::now() + std::chrono::milliseconds(nMilliseconds);
    while (nExitStatus < 0) {
        int nStatus = 0;
        pid_t const nEnded = waitpid(nPid, &nStatus, WNOHANG);
        if (nEnded == nPid)
            nExitStatus = WIFSIGNALED(nStatus) ? 128 + WTERMSIG(nStatus) : WEXITSTATUS(nStatus);
        else if (Clock::now() >= oDeadline)
            break;
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return nExitStatus;
}

std::string ProgramPath(std::string const& szFirstWord) {
    if (szFirstWord.find('/') != std::string::npos)
        return szFirstWord;
    char const* szPath = std::getenv("PATH");
    std::istringstream oFolders(szPath ? szPath : "");
    for (std::string szFolder; std::getline(oFolders, szFolder, ':');)
        if (access((szFolder + "/" + szFirstWord).c_str(), X_OK) == 0)
            return szFolder + "/" + szFirstWord;
    return szFirstWord;
}
