#include "platform/xpc/outgoing.h"

#include <algorithm>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <utility>

namespace platform {

// A file's pages do not count against the socket's buffer, so a reader that stopped would never fill it.
SendResult Outgoing::SendLarge(int nSocket, OutgoingPacket const& oPacket, size_t nCost) {
    int nUnread = 0;
    if (nLargeInSocket != 0 && ::ioctl(nSocket, SIOCOUTQ, &nUnread) == 0 && nUnread == 0)
        nLargeInSocket = 0;
    if (nLargeInSocket != 0 && nLargeInSocket + nCost > kMaxQueuedBytes)
        return SendResult::NoBuffers;
    SendResult const eResult = SendPacket(nSocket, oPacket);
    if (eResult == SendResult::Sent)
        nLargeInSocket += nCost;
    return eResult;
}

SendResult Outgoing::SendNow(int nSocket, FrameWriter& oFrame) {
    OutgoingPacket oPacket;
    oFrame.Fill(oPacket);
    if (oFrame.IsLarge())
        return SendLarge(nSocket, oPacket, oFrame.Cost());
    SendResult const eResult = SendPacket(nSocket, oPacket);
    return eResult == SendResult::TooBig && oFrame.MoveBodyToFile() ? SendNow(nSocket, oFrame) : eResult;
}

Outgoing::Verdict Outgoing::Send(int nSocket, FrameWriter& oFrame) {
    if (nSocket >= 0 && !lQueue.empty())
        Flush(nSocket, kFlushPerSend);
    if (nSocket >= 0 && lQueue.empty()) {
        SendResult const eResult = SendNow(nSocket, oFrame);
        if (eResult == SendResult::Sent)
            return Verdict::Sent;
        bStarved = eResult == SendResult::NoBuffers;
        if (eResult == SendResult::Broken)
            return Verdict::Broken;
        if (eResult == SendResult::TooBig || eResult == SendResult::Refused)
            return Verdict::Dropped;
    }
    if (nQueuedBytes != 0 && nQueuedBytes + oFrame.Cost() > kMaxQueuedBytes)
        return Verdict::Dropped;
    lQueue.push_back(oFrame.Keep());
    nQueuedBytes += lQueue.back().nCost;
    ++nEverQueued;
    return Verdict::Queued;
}

void Outgoing::Pop() {
    nQueuedBytes -= lQueue.front().nCost;
    lQueue.pop_front();
    ++nEverLeft;
}

SendResult Outgoing::Flush(int nSocket, size_t nMost) {
    bStarved = false;
    for (; nMost != 0 && !lQueue.empty(); --nMost) {
        auto const& oFrame = lQueue.front();
        OutgoingPacket oPacket;
        oFrame.Fill(oPacket);
        SendResult const eResult =
            oFrame.oBodyFile ? SendLarge(nSocket, oPacket, oFrame.nCost) : SendPacket(nSocket, oPacket);
        bStarved = eResult == SendResult::NoBuffers;
        if (eResult == SendResult::Blocked || eResult == SendResult::NoBuffers)
            return eResult;
        if (eResult == SendResult::Broken) {
            DropAll();
            return eResult;
        }
        if (eResult != SendResult::Sent)
            ++nDropped;
        Pop();
    }
    return SendResult::Sent;
}

void Outgoing::DropAll() {
    nDropped += lQueue.size();
    lQueue.clear();
    nQueuedBytes = 0;
    nLargeInSocket = 0;
    nEverLeft = nEverQueued;
    bStarved = false;
}

bool Outgoing::AddBarrier(dispatch_block_t&& oBarrier) {
    lBarriers.push_back({nEverQueued, std::move(oBarrier)});
    if (lBarriers.size() - nForced <= kMaxWaitingBarriers)
        return false;
    nForced += kForcedAtOnce;
    return true;
}

std::vector<dispatch_block_t> Outgoing::TakeDueBarriers() {
    std::vector<dispatch_block_t> lDue;
    auto const itForced = lBarriers.begin() + static_cast<ptrdiff_t>(std::exchange(nForced, 0));
    auto const itEnd = std::find_if(itForced, lBarriers.end(),
                                    [this](Barrier const& oBarrier) { return oBarrier.nAfter > nEverLeft; });
    for (auto it = lBarriers.begin(); it != itEnd; ++it)
        lDue.push_back(std::move(it->oBlock));
    lBarriers.erase(lBarriers.begin(), itEnd);
    return lDue;
}

} // namespace platform
