// Host door: what a connection has had to give up or to hold back.
#pragma once

#include <xpc/xpc.h>

#include <cstdint>

struct XpcTraffic {
    uint64_t nDropped;     // messages, since the connection was made: its queue was full, or it broke before they left
    uint64_t nQueued;      // messages that wait for the peer to read
    uint64_t nQueuedBytes; // and the memory they hold
};

// Any thread.
XpcTraffic XpcConnectionTraffic(xpc_connection_t connection);
