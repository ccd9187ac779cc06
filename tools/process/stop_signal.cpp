#include "tools/process/stop_signal.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};

// What a signal handler can reach.
int arPipe[2] = {-1, -1};
volatile std::sig_atomic_t nSignals = 0;

void OnSignal(int nSignal) {
    int const nError = errno;
    nSignals = nSignals + 1;
    if (nSignals > 1) {
        std::signal(nSignal, SIG_DFL);
        raise(nSignal);
    }
    char const cByte = 's';
    [[maybe_unused]] ssize_t const n = write(arPipe[1], &cByte, 1);
    errno = nError;
}

void MakePipe() {
    if (pipe(arPipe) != 0)
        return;
    for (int const nDescriptor : arPipe) {
        fcntl(nDescriptor, F_SETFD, FD_CLOEXEC);
        fcntl(nDescriptor, F_SETFL, O_NONBLOCK);
    }
}

} // namespace

StopSignal::StopSignal(int nControl) : nControlDescriptor(nControl), oControl(nControl) {
    MakePipe();
    if (nControl >= 0)
        fcntl(nControl, F_SETFD, FD_CLOEXEC);
    nSignals = 0;
    struct sigaction oAction = {};
    oAction.sa_handler = OnSignal;
    oAction.sa_flags = SA_RESTART;
    for (int const nSignal : kStopSignals)
        sigaction(nSignal, &oAction, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

StopSignal::~StopSignal() {
    for (int const nSignal : kStopSignals)
        std::signal(nSignal, SIG_DFL);
    for (int& nDescriptor : arPipe) {
        close(nDescriptor);
        nDescriptor = -1;
    }
}

bool StopSignal::Wait(int nMilliseconds) {
    bool const bControl = nControlDescriptor >= 0 && !oControl.AtEnd();
    pollfd arPoll[2] = {{arPipe[0], POLLIN, 0}, {bControl ? nControlDescriptor : -1, POLLIN, 0}};
    if (!Stopped() && poll(arPoll, 2, nMilliseconds) > 0) {
        char arBytes[64];
        if (arPoll[0].revents)
            while (read(arPipe[0], arBytes, sizeof arBytes) > 0) {
            }
        if (arPoll[1].revents)
            oControl.Fill();
    }
    return Stopped();
}

bool StopSignal::Stopped() const {
    return nSignals > 0 || ControlEnded();
}

void StopSignal::Wake() noexcept {
    char const cByte = 'w';
    [[maybe_unused]] ssize_t const n = write(arPipe[1], &cByte, 1);
}

int StopSignal::SignalDescriptor() const noexcept {
    return arPipe[0];
}
