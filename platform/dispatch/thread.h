// How the platform starts its own threads.
#pragma once

#include <functional>

namespace platform {

// Starts a detached thread with all of the process's asynchronous signals blocked: they are the program's own threads'
// to take. The name shows in debuggers, cut to 15 characters. False when the machine has no
// thread or no memory left.
bool StartThread(char const* szName, std::function<void()> oBody);

} // namespace platform
