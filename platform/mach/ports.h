// The task's own ports: names, rights, and what waits at them.
#pragma once

#include <mach/message.h>

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <semaphore.h>
#include <vector>

namespace platform {

// A name that nobody has had. Any thread, also in a signal handler.
mach_port_name_t NewPortName() noexcept;

using Messages = std::list<std::vector<char>>;

// One port of a fixed number of them, so that a faulting thread, which can take no lock, may look at any at any moment.
struct Port {
    std::atomic<mach_port_name_t> name{MACH_PORT_NULL}; // null: free to become another port when nobody is in it
    std::atomic<bool> alive{false};                     // there is a receive right
    std::atomic<int> receivers{0}, senders{0};          // threads that wait in it
    sem_t arrivals{}, room{};
    // The ports' mutex guards what follows.
    unsigned sendRights = 0;
    Messages messages;

    bool IsAt(mach_port_name_t at) const noexcept { return name == at && alive; }
};

// The living port of that name, or null. Any thread, also in a signal handler; valid for as long as it IsAt the name.
Port* FindPort(mach_port_name_t at) noexcept;

// The same with the thread counted as waiting in it, until the pointer goes: so long it is no other port. As the
// sender's it needs the right that `disposition` says; null where there is none.
struct LeaveReceiver {
    void operator()(Port* port) const noexcept { --port->receivers; }
};
struct LeaveSender {
    void operator()(Port* port) const noexcept { --port->senders; }
};
using Receiving = std::unique_ptr<Port, LeaveReceiver>;
using Sending = std::unique_ptr<Port, LeaveSender>;
Receiving EnterReceiver(mach_port_name_t at);
Sending EnterSender(mach_port_name_t at, mach_msg_type_name_t disposition);

// Whether the task has a send right to a living port of that name.
bool HasSendRight(mach_port_name_t at);

// Appends to the port's messages, without taking memory, or takes the first: empty where there is none. False once the
// port is dead.
bool PushMessage(Port& port, mach_port_name_t at, Messages&& message) noexcept;
std::vector<char> PopMessage(Port& port, mach_port_name_t at);

// Gives back one reference that is no thread's: KERN_INVALID_NAME where the name is no port of the task's own.
kern_return_t ReleaseSendRight(mach_port_name_t at);

std::mutex& PortsMutex() noexcept; // for a fork

} // namespace platform
