#include "platform/appkit/launcher.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace {

std::string FindProgram(std::string const& szName) {
    char const* const szVariable = std::getenv("PATH");
    std::string szRest = szVariable ? szVariable : "/usr/local/bin:/usr/bin:/bin";
    while (!szRest.empty()) {
        auto const nEnd = szRest.find(':');
        std::string const szPath = szRest.substr(0, nEnd) + "/" + szName;
        if (szPath[0] == '/' && szPath.size() > szName.size() + 1 && access(szPath.c_str(), X_OK) == 0)
            return szPath;
        szRest.erase(0, nEnd == szRest.npos ? nEnd : nEnd + 1);
    }
    return "";
}

// The rest runs in the new processes, where other threads' locks stay as they were: system calls only.

[[noreturn]] void Become(char const* szProgram, char* const* ppArguments, int hFailed) {
    hFailed = fcntl(hFailed, F_DUPFD_CLOEXEC, 3); // it may be one of the three that are replaced
    int const hNull = open("/dev/null", O_RDWR);
    for (int hFile = 0; hFile < 3; ++hFile)
        dup2(hNull, hFile);
    close_range(3, ~0u, CLOSE_RANGE_CLOEXEC);
    sigset_t oNone;
    sigemptyset(&oNone);
    sigprocmask(SIG_SETMASK, &oNone, nullptr);
    execv(szProgram, ppArguments);
    char const cFailed = 1;
    [[maybe_unused]] auto const nWritten = write(hFailed, &cFailed, 1);
    _exit(127);
}

[[noreturn]] void StartAndLeave(char const* szProgram, char* const* ppArguments, int hFailed) {
    setsid();
    pid_t const nProgram = _Fork();
    if (nProgram == 0)
        Become(szProgram, ppArguments, hFailed);
    _exit(nProgram < 0);
}

} // namespace

bool Launch(std::vector<std::string> const& lArguments) {
    std::string const szProgram = FindProgram(lArguments.front());
    std::vector<char*> lPointers;
    for (auto const& szArgument : lArguments)
        lPointers.push_back(const_cast<char*>(szArgument.c_str()));
    lPointers.push_back(nullptr);
    int lPipe[2]; // ends without a byte when the program has taken over
    if (szProgram.empty() || pipe2(lPipe, O_CLOEXEC) != 0)
        return false;
    pid_t const nBetween = _Fork(); // it ends at once, and what it started has lost its parent
    if (nBetween == 0)
        StartAndLeave(szProgram.c_str(), lPointers.data(), lPipe[1]);
    close(lPipe[1]);
    int nStatus = 0; // stays so where the program ignores how its children end
    while (nBetween > 0 && waitpid(nBetween, &nStatus, 0) < 0 && errno == EINTR)
        ;
    char cFailed;
    ssize_t nRead;
    while ((nRead = read(lPipe[0], &cFailed, 1)) < 0 && errno == EINTR)
        ;
    close(lPipe[0]);
    return nBetween > 0 && nStatus == 0 && nRead == 0;
}
