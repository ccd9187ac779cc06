// What a connection has yet to do for its senders: frames that the socket had no room for, and barriers.
#pragma once

#include "platform/host/xpc_inspection.h"
#include "platform/xpc/encoder.h"

#include <deque>

namespace platform {

// No lock of its own: the connection's guards it.
class Outgoing {
public:
    enum class Verdict {
        Sent,
        Queued,  // goes out later, in its turn
        Dropped, // no room in the queue, or the kernel won't have it
        Broken,  // nobody is there any more
    };

    // Sends the frame at once when nothing is in front of it, else queues it; nSocket -1: nobody to send to yet.
    // At most three system calls.
    Verdict Send(int nSocket, FrameWriter& oFrame);

    // Sends from the queue's front until it is empty or `nMost` frames are out.
    SendResult Flush(int nSocket, size_t nMost = SIZE_MAX);

    // Forgets the queue; whoever waits behind it waits no more.
    void DropAll();

    // Runs once everything queued by now has left. Due at once when nothing is. Behind a peer that does not read, only
    // so many wait; when there are more, the oldest become due although their messages are still here: true then.
    bool AddBarrier(dispatch_block_t&& oBarrier);
    bool HasBarriers() const { return !lBarriers.empty(); }
    size_t CountBarriers() const { return lBarriers.size(); }
    bool HasDueBarrier() const { return nForced != 0 || (!lBarriers.empty() && lBarriers.front().nAfter <= nEverLeft); }
    // The due ones, in order.
    std::vector<dispatch_block_t> TakeDueBarriers();

    bool IsEmpty() const { return lQueue.empty(); }
    // The kernel had no room for its own records: POLLOUT would not wait for that.
    bool IsStarved() const { return bStarved; }
    void CountDropped(uint64_t nMessages) { nDropped += nMessages; }
    XpcTraffic Traffic() const { return {nDropped, lQueue.size(), nQueuedBytes}; }

private:
    static constexpr size_t kMaxQueuedBytes = 4 * 1024 * 1024;
    static constexpr size_t kMaxWaitingBarriers = 4096;
    static constexpr size_t kForcedAtOnce = 1024; // many at a time, so that the thread is woken seldom
    static constexpr size_t kFlushPerSend = 2;    // keeps a sender's cost bounded, and the queue still shrinks

    struct Barrier {
        uint64_t nAfter;
        dispatch_block_t oBlock;
    };

    SendResult SendNow(int nSocket, FrameWriter& oFrame);
    SendResult SendLarge(int nSocket, OutgoingPacket const& oPacket, size_t nCost);
    void Pop();

    std::deque<FrameWriter::Kept> lQueue;
    std::deque<Barrier> lBarriers; // in order; grows without moving, in a sender's time
    size_t nForced = 0;            // of the oldest
    size_t nQueuedBytes = 0;
    size_t nLargeInSocket = 0; // bytes in memory files that the peer may not have read yet
    uint64_t nEverQueued = 0, nEverLeft = 0;
    uint64_t nDropped = 0;
    bool bStarved = false;
};

} // namespace platform
