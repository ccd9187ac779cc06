#include "platform/testing/quiesce.h"

#include "platform/dispatch/pool.h"

void PlatformQuiesce() {
    auto const oDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    platform::ThreadPool::Shared().Quiesce(oDeadline);
}
