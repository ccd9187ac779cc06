#include "tools/process/event_line.h"
#include "tools/process/failure.h"
#include "tools/process/stop_signal.h"
#include "tools/roles/helper_command.h"
#include "tools/roles/helper_service.h"
#include "xpc/helperlink/helper_keys.h"

#include "platform/host/services.h"

#include <atomic>

namespace {

[[noreturn]] void ThrowWhyLost() {
    std::string const szProblem = MachServicesFolderProblem();
    if (!szProblem.empty())
        throw Failure(ExitCode::Service, szProblem);
    throw Failure(ExitCode::Service, std::string("another helper serves ") + kVADHelperService +
                                         " for this user already; it can be used as it is.");
}

} // namespace

int RunHelper(HelperOptions const& oOptions) {
    StopSignal oStop(oOptions.nControl);
    std::atomic<bool> bLost{false};
    HelperService oService([](EventLine const& oEvent) { oEvent.Print(); }, [&] { bLost.store(true), oStop.Wake(); });
    constexpr int kTries = 100, kBetweenTries_ms = 20;
    for (int n = 0; !bLost.load() && !HelperService::IsServedHere(); ++n)
        if (oStop.Wait(kBetweenTries_ms))
            return static_cast<int>(ExitCode::Success);
        else if (n == kTries)
            ThrowWhyLost();
    if (!bLost.load())
        EventLine("ready").Add("service", kVADHelperService).Print();
    while (!bLost.load() && !oStop.Wait(-1))
        oStop.NextCommand();
    if (bLost.load())
        ThrowWhyLost();
    return static_cast<int>(ExitCode::Success);
}
