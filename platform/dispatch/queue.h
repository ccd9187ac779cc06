// Queues: the global ones hand blocks to the pool, a serial one lets the pool run its blocks one after the other, the
// main one keeps them for the process's first thread.
#pragma once

#include "platform/dispatch/object.h"

#include <deque>
#include <string>

namespace platform {

// Any thread.
class Queue final : public dispatch_queue_s {
public:
    enum class Kind { Global, Serial, Main };

    Queue(Kind eKind, char const* szLabel);

    void Async(dispatch_block_t oBlock);
    void Sync(dispatch_block_t const& oBlock);
    char const* Label() const { return szLabel.c_str(); }

    static Queue* From(dispatch_queue_t pQueue) { return static_cast<Queue*>(pQueue); }

private:
    void RunWaiting();
    void RunHere(dispatch_block_t const& oBlock);
    void HandToPool();

    DispatchHeader oHeader;
    Kind const eKind;
    std::string const szLabel;
    std::mutex mtx; // guards what follows
    std::deque<dispatch_block_t> lWaiting;
    bool bRunning = false;
};

} // namespace platform
