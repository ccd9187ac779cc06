#include "platform/mach/exceptions.h"

#include "platform/mach/fault.h"
#include "platform/mach/ports.h"
#include "platform/mach/thread_ports.h"

#include <mach/task.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr exception_type_t kTypes = EXC_ARITHMETIC + 1;
constexpr exception_mask_t kMaskKnown = EXC_MASK_BAD_ACCESS | EXC_MASK_BAD_INSTRUCTION | EXC_MASK_ARITHMETIC;

constinit std::atomic<mach_port_name_t> gExceptionPorts[kTypes]{};
constinit std::atomic<pid_t> gTask{0}; // the process that has set them: a forked child inherits all but the receiver
constinit std::mutex gMutex;           // held while exception ports and dispositions change; the ports' may follow

// In the thread's fixed part: a signal handler may come upon a variable that does not exist yet.
[[gnu::tls_model("initial-exec")]] constinit thread_local bool gIsReceiving = false;

// A fault that is being answered. Its thread owns it but while it is Pending, when any receiver may take it, and Taken,
// when the taker may answer it.
struct Fault {
    enum State : std::uint32_t { Free, Filling, Pending, Taking, Taken, Answering, Answered };

    std::atomic<std::uint32_t> state{Free};
    std::atomic<mach_port_name_t> port{0}, reply{0};
    std::atomic<pid_t> taker{0};
    mach_port_name_t thread = 0;
    Exception exception{};
    kern_return_t result = KERN_FAILURE;

    bool Move(State from, State to) noexcept {
        std::uint32_t expected = from;
        return state.compare_exchange_strong(expected, to);
    }
};

constinit Fault gFaults[16]{};

bool IsThreadAlive(pid_t thread) noexcept {
    return syscall(SYS_tgkill, getpid(), thread, 0) == 0 || errno != ESRCH;
}

// Nobody is going to answer. A receiver that is there takes the fault at once; one that does not for some seconds has
// been stopped, or has left its wait by a jump.
bool IsHopeless(Fault const& fault, Port const& port, int nWaits) noexcept {
    constexpr int kLongestPending = 500;
    switch (fault.state) {
    case Fault::Pending: return !port.IsAt(fault.port) || port.receivers == 0 || nWaits > kLongestPending;
    case Fault::Taken: return !IsThreadAlive(fault.taker);
    default: return false;
    }
}

// The end of a thread wakes nobody who waits for its answer, so look every 10 ms.
kern_return_t AwaitAnswer(Fault& fault, Port const& port) noexcept {
    for (int nWaits = 0;; ++nWaits) {
        std::uint32_t const state = fault.state;
        if (state == Fault::Answered) {
            kern_return_t const result = fault.result;
            fault.state = Fault::Free;
            return result;
        }
        if (IsHopeless(fault, port, nWaits) && fault.Move(static_cast<Fault::State>(state), Fault::Free))
            return KERN_FAILURE;
        timespec const pause{0, 10'000'000};
        syscall(SYS_futex, &fault.state, FUTEX_WAIT_PRIVATE, state, &pause, nullptr, 0);
    }
}

// True when the thread is to go on where it stood.
bool Ask(siginfo_t const& info) noexcept {
    mach_port_name_t const at = gExceptionPorts[ExceptionTypeOf(info.si_signo)];
    Port* const port = FindPort(at);
    if (!port || port->receivers == 0 || gIsReceiving || gTask != getpid())
        return false;
    for (Fault& fault : gFaults) {
        if (!fault.Move(Fault::Free, Fault::Filling))
            continue;
        fault.port = at;
        fault.reply = NewPortName();
        fault.thread = OwnThreadName();
        fault.exception = Describe(info);
        fault.state = Fault::Pending;
        sem_post(&port->arrivals);
        return AwaitAnswer(fault, *port) == KERN_SUCCESS;
    }
    return false;
}

void OnSignal(int signal, siginfo_t* info, void* context) noexcept {
    int const error = errno;
    if (!IsFault(*info))
        PassSentSignalOn(signal, info, context, OnSignal);
    else if (!Ask(*info))
        PassFaultOn(signal, info, context, OnSignal);
    errno = error;
}

void SetExceptionPort(exception_type_t type, mach_port_name_t port) noexcept {
    gExceptionPorts[type] = port;
    for (int const signal : kFaultSignals)
        if (ExceptionTypeOf(signal) == type) {
            if (port != MACH_PORT_NULL)
                TakeSignal(signal, OnSignal);
            else
                GiveSignalBack(signal, OnSignal);
        }
}

void Fill(__Request__mach_exception_raise_t& request, Fault const& fault) noexcept {
    request = {};
    request.Head.msgh_bits =
        MACH_MSGH_BITS_COMPLEX | MACH_MSGH_BITS(static_cast<unsigned>(MACH_MSG_TYPE_PORT_SEND_ONCE),
                                                static_cast<unsigned>(MACH_MSG_TYPE_PORT_SEND));
    request.Head.msgh_size = sizeof request;
    request.Head.msgh_remote_port = fault.reply;
    request.Head.msgh_local_port = fault.port;
    request.Head.msgh_id = MACH_EXC_RAISE_ID;
    request.msgh_body.msgh_descriptor_count = 2;
    for (auto* const descriptor : {&request.thread, &request.task}) {
        descriptor->disposition = MACH_MSG_TYPE_PORT_SEND;
        descriptor->type = MACH_MSG_PORT_DESCRIPTOR;
    }
    request.thread.name = fault.thread;
    request.task.name = mach_task_self();
    request.NDR = NDR_record;
    request.exception = fault.exception.type;
    request.codeCnt = 2;
    request.code[0] = fault.exception.code;
    request.code[1] = fault.exception.subcode;
}

} // namespace

std::mutex& ExceptionsMutex() noexcept {
    return gMutex;
}

ReceiverMark::ReceiverMark() noexcept {
    gIsReceiving = true;
}

void ReceiverMark::End() noexcept {
    gIsReceiving = false;
}

bool TakeException(mach_port_name_t port, __Request__mach_exception_raise_t& request) noexcept {
    for (Fault& fault : gFaults) {
        if (fault.port != port || !fault.Move(Fault::Pending, Fault::Taking))
            continue;
        bool const isMine = fault.port == port; // it may have become another fault meanwhile
        if (isMine) {
            Fill(request, fault);
            fault.taker = gettid();
        }
        fault.state = isMine ? Fault::Taken : Fault::Pending;
        if (isMine)
            return true;
    }
    return false;
}

bool AnswerException(mach_port_name_t reply, kern_return_t result) noexcept {
    for (Fault& fault : gFaults) {
        if (fault.reply != reply || !fault.Move(Fault::Taken, Fault::Answering))
            continue;
        bool const isMine = fault.reply == reply;
        if (isMine)
            fault.result = result;
        fault.state = isMine ? Fault::Answered : Fault::Taken;
        if (!isMine)
            continue;
        syscall(SYS_futex, &fault.state, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
        return true;
    }
    return false;
}

void ForgetExceptionPort(mach_port_name_t port) noexcept {
    std::lock_guard const lock(gMutex);
    for (exception_type_t type = EXC_BAD_ACCESS; type < kTypes; ++type)
        if (gExceptionPorts[type] == port)
            SetExceptionPort(type, MACH_PORT_NULL);
}

} // namespace platform

extern "C" kern_return_t task_set_exception_ports(task_t task, exception_mask_t exception_mask, mach_port_t new_port,
                                                  exception_behavior_t behavior, thread_state_flavor_t new_flavor) {
    if (task != mach_task_self())
        return KERN_INVALID_TASK;
    if (exception_mask == 0)
        return KERN_INVALID_ARGUMENT;
    if ((exception_mask & ~platform::kMaskKnown) || new_flavor != THREAD_STATE_NONE ||
        static_cast<unsigned>(behavior) != (EXCEPTION_DEFAULT | MACH_EXCEPTION_CODES))
        return KERN_NOT_SUPPORTED;
    std::lock_guard const lock(platform::gMutex);
    if (new_port != MACH_PORT_NULL && !platform::HasSendRight(new_port))
        return KERN_INVALID_RIGHT;
    platform::gTask = getpid();
    for (exception_type_t type = EXC_BAD_ACCESS; type < platform::kTypes; ++type)
        if (exception_mask & (1u << type))
            platform::SetExceptionPort(type, new_port);
    return KERN_SUCCESS;
}
