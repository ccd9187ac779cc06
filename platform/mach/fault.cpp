#include "platform/mach/fault.h"

#include <mach/kern_return.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <pthread.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>
#include <utility>

namespace platform {
namespace {

// The kernel's own structure. The C library's call sets fields of its own, and a sanitizer's notes what it sees: what
// is to be put back bit for bit goes past both.
struct Disposition {
    void* handler;
    unsigned long flags;
    void* restorer;
    unsigned long mask;
};

Disposition Current(int signal) noexcept {
    Disposition current{};
    syscall(SYS_rt_sigaction, signal, nullptr, &current, sizeof current.mask);
    return current;
}

void Set(int signal, Disposition const& disposition) noexcept {
    syscall(SYS_rt_sigaction, signal, &disposition, nullptr, sizeof disposition.mask);
}

// Two of each, so that a handler that is reading one is not disturbed by the next that is saved.
struct Saved {
    Disposition dispositions[2];
    std::atomic<unsigned> which;

    Disposition const& Get() const noexcept { return dispositions[which.load(std::memory_order_acquire) % 2]; }
    void Set(Disposition const& disposition) noexcept {
        unsigned const next = which.load(std::memory_order_relaxed) + 1;
        dispositions[next % 2] = disposition;
        which.store(next, std::memory_order_release);
    }
};

constinit Saved gSaved[std::size(kFaultSignals)]{};

Saved& SavedOf(int signal) noexcept {
    return gSaved[std::find(std::begin(kFaultSignals), std::end(kFaultSignals) - 1, signal) -
                  std::begin(kFaultSignals)];
}

bool IsFunction(Disposition const& disposition) noexcept {
    return disposition.handler != reinterpret_cast<void*>(SIG_DFL) &&
           disposition.handler != reinterpret_cast<void*>(SIG_IGN);
}

void SetDefault(int signal) noexcept {
    Set(signal, {reinterpret_cast<void*>(SIG_DFL), 0, nullptr, 0});
}

// Whether what Call calls has come back here: a handler that has noted ours as the one before it, and was itself there
// when ours was installed once more, would go round for ever. No frame of the kernel's is linked to itself, and a
// handler that leaves by a jump leaves nothing marked.
bool IsBeingCalled(void const* context) noexcept {
    return static_cast<ucontext_t const*>(context)->uc_link == context;
}

// With the signals blocked that the kernel would have blocked for it.
void Call(Disposition const& disposition, int signal, siginfo_t* info, void* context) noexcept {
    auto& interrupted = *static_cast<ucontext_t*>(context);
    sigset_t mask = interrupted.uc_sigmask;
    for (int n = 1; n <= static_cast<int>(8 * sizeof disposition.mask); ++n)
        if ((disposition.mask >> (n - 1)) & 1)
            sigaddset(&mask, n);
    if (!(disposition.flags & SA_NODEFER))
        sigaddset(&mask, signal);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    ucontext_t* const link = std::exchange(interrupted.uc_link, &interrupted);
    if (disposition.flags & SA_SIGINFO)
        reinterpret_cast<FaultHandler>(disposition.handler)(signal, info, context);
    else
        reinterpret_cast<void (*)(int)>(disposition.handler)(signal);
    interrupted.uc_link = link;
}

struct CodeRow {
    int signal, reason;
    mach_exception_data_type_t code;
    bool hasAddress;
};

// The first row that fits; a reason of 0 fits any.
constexpr CodeRow kCodes[] = {
    {SIGSEGV, SEGV_MAPERR, KERN_INVALID_ADDRESS, true},
    {SIGSEGV, SI_KERNEL, EXC_I386_GPFLT, false}, // an address that no address space can have
    {SIGSEGV, 0, KERN_PROTECTION_FAILURE, true},
    {SIGBUS, BUS_ADRALN, EXC_I386_ALIGNFLT, true},
    {SIGBUS, 0, KERN_MEMORY_ERROR, true},
    {SIGILL, 0, EXC_I386_INVOP, false},
    {SIGFPE, FPE_INTDIV, EXC_I386_DIV, false},
    {SIGFPE, FPE_INTOVF, EXC_I386_INTO, false},
    {SIGFPE, 0, EXC_I386_SSEEXTERR, false},
};

} // namespace

exception_type_t ExceptionTypeOf(int signal) noexcept {
    return signal == SIGILL ? EXC_BAD_INSTRUCTION : signal == SIGFPE ? EXC_ARITHMETIC : EXC_BAD_ACCESS;
}

// Memory that has failed but that nobody has touched yet is told by a signal too, and does not happen again.
bool IsFault(siginfo_t const& info) noexcept {
    return info.si_code > 0 && !(info.si_signo == SIGBUS && info.si_code == BUS_MCEERR_AO);
}

Exception Describe(siginfo_t const& info) noexcept {
    CodeRow const& row = *std::find_if(std::begin(kCodes), std::end(kCodes) - 1, [&](CodeRow const& each) {
        return each.signal == info.si_signo && (each.reason == 0 || each.reason == info.si_code);
    });
    auto const address = static_cast<mach_exception_data_type_t>(reinterpret_cast<intptr_t>(info.si_addr));
    return {ExceptionTypeOf(info.si_signo), row.code, row.hasAddress ? address : 0};
}

void TakeSignal(int signal, FaultHandler handler) noexcept {
    Disposition const current = Current(signal);
    if (current.handler == reinterpret_cast<void*>(handler))
        return;
    SavedOf(signal).Set(current);
    struct sigaction ours {};
    ours.sa_sigaction = handler;
    // On the alternate stack where the thread has one: its own may be what has run out. Everything blocked: another
    // handler on top could leave by a jump and never answer.
    ours.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigfillset(&ours.sa_mask);
    extern int KernelSigaction(int, struct sigaction const*, struct sigaction*) noexcept __asm__("__sigaction");
    KernelSigaction(signal, &ours, nullptr);
}

void GiveSignalBack(int signal, FaultHandler handler) noexcept {
    if (Current(signal).handler == reinterpret_cast<void*>(handler))
        Set(signal, SavedOf(signal).Get());
}

// The instruction is repeated under the old disposition, so that whatever looks at the fault then, the kernel or
// another handler, sees all of it as it was.
void PassFaultOn(int signal, siginfo_t* info, void* context, FaultHandler handler) noexcept {
    Disposition const& before = SavedOf(signal).Get();
    if (Current(signal).handler == reinterpret_cast<void*>(handler))
        Set(signal, before);
    else if (IsFunction(before) && !IsBeingCalled(context))
        Call(before, signal, info, context); // somebody has installed a handler over ours, and calls ours from it
    else
        SetDefault(signal); // the same; to return to it would go round for ever
}

void PassSentSignalOn(int signal, siginfo_t* info, void* context, FaultHandler handler) noexcept {
    Disposition const& before = SavedOf(signal).Get();
    if (before.handler == reinterpret_cast<void*>(SIG_IGN))
        return;
    bool const isRound = IsBeingCalled(context);
    if (IsFunction(before) && !(before.flags & SA_RESETHAND) && !isRound) {
        Call(before, signal, info, context);
        return;
    }
    if (Current(signal).handler == reinterpret_cast<void*>(handler) && !isRound)
        Set(signal, before);
    else
        SetDefault(signal);
    // Sent again as it came; it arrives when this handler returns.
    if (syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), signal, info) != 0)
        syscall(SYS_tgkill, getpid(), gettid(), signal);
}

} // namespace platform
