#include "runtime/diagnostics/signal_handlers.h"

#include "base/fixed_text.h"

#include <cstdlib>

constinit std::atomic<bool> bLLibExceptionAlreadyTrapped{false};

namespace {

constinit char szReason[20] = "";

// SIGABRT, SIGFPE, SIGKILL, SIGBUS and SIGSEGV by the OS's numbers, and SIGBUS under whatever number it has.
bool IsFatal(int nSignal) noexcept {
    constexpr unsigned kFatal = 1u << 6 | 1u << 8 | 1u << 9 | 1u << 10 | 1u << 11 | 1u << SIGBUS;
    return nSignal >= 0 && nSignal <= 11 && (kFatal >> nSignal & 1) != 0;
}

} // namespace

char const* LDebugSignalReason() noexcept {
    return szReason;
}

void LDebugSignalHandler(int nSignal, siginfo_t*, void*) {
    if (bLLibExceptionAlreadyTrapped.exchange(true))
        return;
    LFixedWriter oReason(szReason);
    oReason.Add("SIGNAL");
    if (nSignal < 0)
        oReason.Add('-');
    oReason.AddNumber(nSignal < 0 ? 0u - static_cast<unsigned>(nSignal) : static_cast<unsigned>(nSignal));
    if (IsFatal(nSignal))
        std::exit(666);
}

void LIntTermSignalHandler(int nSignal, siginfo_t*, void*) {
    if (nSignal == SIGTERM || nSignal == SIGINT)
        std::exit(0);
}
