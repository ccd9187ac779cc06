#include "platform/testing/quiesce.h"

#include "platform/dispatch/pool.h"
#include "platform/xpc/connection.h"

// Connections first: what they do at their end may be handed to the pool. And once more after it, whose blocks may have
// ended connections.
void PlatformQuiesce() {
    auto const oDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    platform::WaitForEndedConnections(oDeadline);
    platform::ThreadPool::Shared().Quiesce(oDeadline);
    platform::WaitForEndedConnections(oDeadline);
}
