#include "tests/harness/child_process.h"

#include <csignal>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void Say(int hEnd) {
    char const cByte = 1;
    if (write(hEnd, &cByte, 1) != 1)
        std::abort();
}

bool Hear(int hEnd) {
    char cByte;
    return read(hEnd, &cByte, 1) == 1;
}

} // namespace

void ChildProcess::Door::SayReady() const {
    Say(hToParent);
}

void ChildProcess::Door::WaitForParent() const {
    Hear(hFromParent);
}

int ChildProcess::Door::Rest() const {
    for (;;)
        pause();
}

ChildProcess::ChildProcess(Body const& oBody) {
    int arUp[2], arDown[2];
    if (pipe(arUp) != 0 || pipe(arDown) != 0 || (nProcess = fork()) < 0)
        std::abort();
    if (nProcess == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(arUp[0]);
        close(arDown[1]);
        Door oDoor;
        oDoor.hToParent = arUp[1];
        oDoor.hFromParent = arDown[0];
        _exit(oBody(oDoor));
    }
    close(arUp[1]);
    close(arDown[0]);
    hFromChild = arUp[0];
    hToChild = arDown[1];
}

ChildProcess::~ChildProcess() {
    Kill();
    close(hFromChild);
    close(hToChild);
}

bool ChildProcess::WaitUntilReady() const {
    return Hear(hFromChild);
}

void ChildProcess::LetGo() const {
    Say(hToChild);
}

void ChildProcess::Kill() {
    if (nProcess < 0)
        return;
    kill(nProcess, SIGKILL);
    Wait();
}

int ChildProcess::Wait() {
    int const nStatus = WaitStatus();
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

int ChildProcess::WaitStatus() {
    int nStatus = 0;
    waitpid(nProcess, &nStatus, 0);
    nProcess = -1;
    return nStatus;
}
