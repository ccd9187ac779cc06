// What the platform still holds of this library's code.
#pragma once

#include <xpc/xpc.h>

// A handler that has been given to the platform is called, and destroyed, later and on a thread of the platform's:
// behind a cancelled connection a last error and late notices still come. Before the code goes away (the bundle is
// unloaded) all of them must be gone, and the threads that ran them must be out of the code. Any thread.
//
// A connection that is covered counts until the platform frees it, which is after it has destroyed its handlers; it is
// the platform's own code that then counts it out, so nobody is in this code any more. An LXPCCodeHold is for what the
// handlers share: the platform may hand a reply's handler to another thread, where it outlives its connection.
class LXPCCodeHold {
public:
    LXPCCodeHold() noexcept;
    ~LXPCCodeHold();
    LXPCCodeHold(LXPCCodeHold const&) = delete;
    LXPCCodeHold& operator=(LXPCCodeHold const&) = delete;

    // Counts the connection from now until it is freed. Takes its context and its finalizer.
    static void Cover(xpc_connection_t pConnection) noexcept;

    // Waits until there is neither hold nor covered connection, at most `nTimeout_ms` milliseconds for each: true when
    // there is none. Not from a handler.
    static bool WaitForNone(unsigned nTimeout_ms) noexcept;
};
