#include "tools/process/event_line.h"
#include "tools/process/failure.h"
#include "tools/process/stop_signal.h"
#include "tools/roles/helper_command.h"
#include "tools/roles/helper_service.h"
#include "xpc/helperlink/helper_keys.h"

#include "platform/host/services.h"

#include <atomic>
#include <chrono>

#include <unistd.h>

namespace {

[[noreturn]] void ThrowWhyLost() {
    std::string const szProblem = MachServicesFolderProblem();
    if (!szProblem.empty())
        throw Failure(ExitCode::Service, szProblem);
    pid_t const nOther = HelperService::ServingProcess();
    if (nOther != 0 && nOther != getpid())
        throw Failure(ExitCode::Service, std::string("another helper serves ") + kVADHelperService +
                                             " for this user already (process " + std::to_string(nOther) +
                                             "); it can be used as it is.");
    throw Failure(ExitCode::Service, std::string("cannot serve ") + kVADHelperService + " in " + MachServicesFolder() +
                                         ": something else has the name there, or this process has run out of "
                                         "descriptors or threads.");
}

} // namespace

int RunHelper(HelperOptions const& oOptions) {
    StopSignal oStop(oOptions.nControl);
    std::atomic<bool> bLost{false};
    HelperService oService([](EventLine const& oEvent) { oEvent.Print(); }, [&] { bLost.store(true), oStop.Wake(); });
    constexpr int kBetweenTries_ms = 20;
    auto const oGiveUp = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!bLost.load() && HelperService::ServingProcess() != getpid())
        if (oStop.Wait(kBetweenTries_ms))
            return static_cast<int>(ExitCode::Success);
        else if (std::chrono::steady_clock::now() >= oGiveUp)
            ThrowWhyLost();
    if (!bLost.load())
        EventLine("ready").Add("service", kVADHelperService).Print();
    while (!bLost.load() && !oStop.Wait(-1))
        oStop.NextCommand();
    if (bLost.load())
        ThrowWhyLost();
    return static_cast<int>(ExitCode::Success);
}
