// Hardware faults on their way to the task's exception port and back.
#pragma once

#include <mach/mach_exc.h>

#include <mutex>

namespace platform {

// While one is there and has not ended, its thread waits for messages: a fault that happens to it then (a signal
// handler's, say) is passed on, as the thread can't answer itself.
class ReceiverMark {
public:
    ReceiverMark() noexcept;
    ~ReceiverMark() { End(); }
    ReceiverMark(ReceiverMark const&) = delete;
    ReceiverMark& operator=(ReceiverMark const&) = delete;
    void End() noexcept;
};

// Takes a fault that waits at the port; the calling thread owes the answer from here on, and its end is one. False when
// none waits. Takes no lock and no memory.
bool TakeException(mach_port_name_t port, __Request__mach_exception_raise_t& request) noexcept;

// Answers the fault with that reply port. False when there is none: it was answered, or has been given up. Takes no
// lock and no memory.
bool AnswerException(mach_port_name_t reply, kern_return_t result) noexcept;

// The port has died: what it was set for goes where it went before.
void ForgetExceptionPort(mach_port_name_t port) noexcept;

std::mutex& ExceptionsMutex() noexcept; // for a fork

} // namespace platform
