// What the platform still holds of this library's code.
#pragma once

#include <xpc/xpc.h>

// A handler that has been given to the platform is called, and destroyed, later and on a thread of the platform's:
// behind a cancelled connection a last error and late notices still come. Before the code goes away (the bundle is
// unloaded) all of them must be gone, and the threads that ran them must be out of the code.
//
// Every handler of ours belongs to a connection: to itself, to a reply or to a barrier. The platform frees a connection
// when it has destroyed all three, and then it is the platform's own code that counts the connection out, so that
// nobody is in this code any more.
class LXPCCodeHold {
public:
    // From here on connections can be covered. At load, before any other thread.
    static void Start() noexcept;

    // Counts the connection until it is freed; before Start and after the end, or when Start found no memory, it does
    // nothing. Once for each connection: takes its context and its finalizer. Any thread.
    static void Cover(xpc_connection_t pConnection) noexcept;

    // Waits until no covered connection is left, at most `nTimeout_ms` milliseconds: true when none is. At unload, when
    // nobody but handlers that are still running can cover one more.
    static bool EndWhenNone(unsigned nTimeout_ms) noexcept;
};
