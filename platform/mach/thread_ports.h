// The calling thread's port, for a signal handler.
#pragma once

#include <mach/port.h>

#include <mutex>

namespace platform {

// The port's name, without a reference; a thread that had none until now has this one from here on. Takes no lock and
// no memory.
mach_port_name_t OwnThreadName() noexcept;

std::mutex& ThreadPortsMutex() noexcept; // for a fork

} // namespace platform
