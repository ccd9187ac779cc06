// What is set up when the bundle is loaded, before any other code of it runs, and taken down when it is unloaded or the
// process ends. The order of the rows is the order; the clean-ups run in the reverse order. All that the rows touch is
// constant-initialised, so the order of other static initialisers does not matter.
#include "runtime/diagnostics/debug_thread.h"
#include "runtime/diagnostics/exception_handler_installer.h"
#include "runtime/diagnostics/hang_detector.h"
#include "xpc/client_manager.h"
#include "xpc/helperlink/helper_keys.h"
#include "xpc/helperlink/vad_plugin_xpc_client.h"

#include <iterator>

namespace {

// A forked child that ends has the objects of its parent's link, but neither the threads that its clean-ups would wait
// for nor any say about what those threads had locked: it leaves them as they are.
enum class In { EveryProcess, ProcessOfTheLink };

struct Step {
    void (*pStart)() noexcept;
    void (*pEnd)() noexcept;
    In nEnds;
};

void ForgetEndPoint() noexcept {
    LVADPluginXPCClient::GetInstance()->ForgetEndPoint();
}

void StartHangDetector() noexcept {
    gLHangDetector->emplace();
}
void EndHangDetector() noexcept {
    gLHangDetector->reset();
}

void StartDebugThreads() noexcept {
    loDebugThreads.Create();
}
void EndDebugThreads() noexcept {
    loDebugThreads.Destroy();
}

void StartExceptionHandler() noexcept {
    gLExceptionHandlerInstaller->emplace();
}
void EndExceptionHandler() noexcept {
    gLExceptionHandlerInstaller->reset();
}

constexpr Step kSteps[] = {
    {LVADFillHelperKeys, ForgetEndPoint, In::ProcessOfTheLink},
    {LXPCClientManager::StartList, LXPCClientManager::EndList, In::ProcessOfTheLink},
    {LXPCClientManager::StartMutex, LXPCClientManager::EndMutex, In::ProcessOfTheLink},
    {StartHangDetector, EndHangDetector, In::EveryProcess},
    {StartDebugThreads, EndDebugThreads, In::EveryProcess},
    {StartExceptionHandler, EndExceptionHandler, In::EveryProcess},
};

// Construction is the load, destruction the unload.
class LStartup {
public:
    LStartup() noexcept {
        for (Step const& oStep : kSteps)
            oStep.pStart();
    }
    ~LStartup() {
        bool const bOwnLink = LXPCClientManager::IsOwn();
        for (auto pStep = std::rbegin(kSteps); pStep != std::rend(kSteps); ++pStep)
            if (bOwnLink || pStep->nEnds == In::EveryProcess)
                pStep->pEnd();
    }
};

LStartup const gStartup;

} // namespace
