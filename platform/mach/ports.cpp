#include "platform/mach/ports.h"

#include "platform/mach/exceptions.h"
#include "platform/testing/ports.h"

#include <mach/mach_port.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <new>

namespace platform {
namespace {

constexpr std::size_t kPorts = 64;
constexpr unsigned kQueueLimit = 5;

using Ports = std::array<Port, kPorts>;
constinit std::atomic<Ports*> gPorts{nullptr}; // made with the first port and never destroyed
constinit std::mutex gMutex;                   // guards rights and messages; a leaf

// The first that fits; null when none does. Any thread.
template <class Predicate>
Port* Find(Predicate const& fits) noexcept {
    Ports* const ports = gPorts;
    if (!ports)
        return nullptr;
    auto const it = std::find_if(ports->begin(), ports->end(), fits);
    return it == ports->end() ? nullptr : &*it;
}

// Living or dead. The mutex is held by the caller.
Port* FindHeld(mach_port_name_t at) {
    return at == MACH_PORT_NULL ? nullptr : Find([at](Port const& port) { return port.name == at; });
}

Port* FindFree() {
    if (!gPorts)
        gPorts = new (std::nothrow) Ports;
    return Find(
        [](Port const& port) { return port.name == MACH_PORT_NULL && port.receivers == 0 && port.senders == 0; });
}

void FreeIfUnused(Port& port) {
    if (!port.alive && port.sendRights == 0)
        port.name = MACH_PORT_NULL;
}

kern_return_t AddSendRights(Port& port, mach_port_delta_t delta) {
    if (port.sendRights == 0)
        return KERN_INVALID_RIGHT;
    std::int64_t const left = std::int64_t{port.sendRights} + delta;
    if (left < 0)
        return KERN_INVALID_VALUE;
    port.sendRights = static_cast<unsigned>(left);
    FreeIfUnused(port);
    return KERN_SUCCESS;
}

// Who waits in the port learns of its death one after the other.
void Kill(Port& port) {
    port.alive = false;
    port.messages.clear();
    FreeIfUnused(port);
    sem_post(&port.arrivals);
    sem_post(&port.room);
}

} // namespace

std::mutex& PortsMutex() noexcept {
    return gMutex;
}

mach_port_name_t NewPortName() noexcept {
    constexpr mach_port_name_t kFirst = 0x303, kStep = 0x100;
    static constinit std::atomic<mach_port_name_t> next{kFirst};
    return next.fetch_add(kStep);
}

Port* FindPort(mach_port_name_t at) noexcept {
    return at == MACH_PORT_NULL ? nullptr : Find([at](Port const& port) { return port.IsAt(at); });
}

Receiving EnterReceiver(mach_port_name_t at) {
    std::lock_guard const lock(gMutex);
    Port* const port = FindHeld(at);
    if (!port || !port->alive)
        return nullptr;
    ++port->receivers;
    return Receiving(port);
}

Sending EnterSender(mach_port_name_t at, mach_msg_type_name_t disposition) {
    std::lock_guard const lock(gMutex);
    Port* const port = FindHeld(at);
    if (!port || !port->alive || (disposition == MACH_MSG_TYPE_COPY_SEND && port->sendRights == 0))
        return nullptr;
    ++port->senders;
    return Sending(port);
}

bool HasSendRight(mach_port_name_t at) {
    std::lock_guard const lock(gMutex);
    Port const* const port = FindHeld(at);
    return port && port->alive && port->sendRights > 0;
}

bool PushMessage(Port& port, mach_port_name_t at, Messages&& message) noexcept {
    std::lock_guard const lock(gMutex);
    if (!port.IsAt(at))
        return false;
    port.messages.splice(port.messages.end(), message);
    return true;
}

std::vector<char> PopMessage(Port& port, mach_port_name_t at) {
    std::lock_guard const lock(gMutex);
    if (!port.IsAt(at) || port.messages.empty())
        return {};
    std::vector<char> message = std::move(port.messages.front());
    port.messages.pop_front();
    return message;
}

kern_return_t ReleaseSendRight(mach_port_name_t at) {
    std::lock_guard const lock(gMutex);
    Port* const port = FindHeld(at);
    return port ? AddSendRights(*port, -1) : KERN_INVALID_NAME;
}

} // namespace platform

using platform::FindHeld;
using platform::Port;

int PlatformPorts() {
    int count = 0;
    if (auto* const ports = platform::gPorts.load())
        for (Port const& port : *ports)
            count += port.name != MACH_PORT_NULL;
    return count;
}

int PlatformReceivers() {
    int count = 0;
    if (auto* const ports = platform::gPorts.load())
        for (Port const& port : *ports)
            count += port.receivers;
    return count;
}

extern "C" {

kern_return_t mach_port_allocate(mach_port_t task, mach_port_right_t right, mach_port_name_t* name) {
    if (task != mach_task_self())
        return KERN_INVALID_TASK;
    if (right != MACH_PORT_RIGHT_RECEIVE)
        return KERN_INVALID_VALUE;
    std::lock_guard const lock(platform::gMutex);
    Port* const port = platform::FindFree();
    if (!port)
        return KERN_NO_SPACE;
    sem_init(&port->arrivals, 0, 0);
    sem_init(&port->room, 0, platform::kQueueLimit);
    port->alive = true;
    port->name = *name = platform::NewPortName();
    return KERN_SUCCESS;
}

kern_return_t mach_port_insert_right(mach_port_t task, mach_port_name_t name, mach_port_t poly,
                                     mach_msg_type_name_t polyPoly) {
    if (task != mach_task_self())
        return KERN_INVALID_TASK;
    if (polyPoly != MACH_MSG_TYPE_MAKE_SEND && polyPoly != MACH_MSG_TYPE_COPY_SEND)
        return KERN_INVALID_VALUE;
    std::lock_guard const lock(platform::gMutex);
    Port* const port = FindHeld(name);
    if (!port || poly != name)
        return KERN_INVALID_NAME;
    if (!port->alive || (polyPoly == MACH_MSG_TYPE_COPY_SEND && port->sendRights == 0))
        return KERN_INVALID_RIGHT;
    ++port->sendRights;
    return KERN_SUCCESS;
}

kern_return_t mach_port_mod_refs(mach_port_t task, mach_port_name_t name, mach_port_right_t right,
                                 mach_port_delta_t delta) {
    if (task != mach_task_self())
        return KERN_INVALID_TASK;
    if (right > MACH_PORT_RIGHT_RECEIVE)
        return KERN_INVALID_VALUE;
    {
        std::lock_guard const lock(platform::gMutex);
        Port* const port = FindHeld(name);
        if (!port)
            return KERN_INVALID_NAME;
        if (right == MACH_PORT_RIGHT_SEND)
            return platform::AddSendRights(*port, delta);
        if (!port->alive)
            return KERN_INVALID_RIGHT;
        if (delta != -1)
            return delta == 0 ? KERN_SUCCESS : KERN_INVALID_VALUE;
        platform::Kill(*port);
    }
    platform::ForgetExceptionPort(name);
    return KERN_SUCCESS;
}

} // extern "C"
