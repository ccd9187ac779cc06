#include "runtime/sync/signal_object.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

// The kernel orders a write to a pipe before the poll that sees it, but the language does not know that: a signaller
// releases the slot of its descriptor and a waiter acquires it. Two events may share a slot.
struct alignas(64) OrderSlot {
    std::atomic<unsigned int> nSignals{0};
};
constinit OrderSlot arOrder[64];

std::atomic<unsigned int>& OrderOf(int hRead) noexcept {
    return arOrder[static_cast<unsigned int>(hRead) % std::size(arOrder)].nSignals;
}

pollfd Watch(LSignalObjectRef oSignal) noexcept {
    return {oSignal.GetReadEnd(), POLLIN, 0};
}

template <class... Refs>
bool WaitForAny(unsigned int nTimeout, Refs... oSignals) noexcept {
    pollfd arEntries[] = {Watch(oSignals)...};
    return LPoll(arEntries, sizeof...(oSignals), nTimeout);
}

void SetFlags(int hEnd) noexcept {
    fcntl(hEnd, F_SETFL, fcntl(hEnd, F_GETFL) | O_NONBLOCK);
    fcntl(hEnd, F_SETFD, fcntl(hEnd, F_GETFD) | FD_CLOEXEC);
}

} // namespace

bool LPoll(pollfd* pEntries, nfds_t nCount, unsigned int nTimeout) noexcept {
    // poll would wait for nothing, with no limit perhaps.
    if (std::all_of(pEntries, pEntries + nCount, [](pollfd const& oEntry) { return oEntry.fd < 0; }))
        return false;
    LDeadline const oDeadline(nTimeout);
    int nReady = poll(pEntries, nCount, oDeadline.PollTimeout());
    while (nReady == 0 ? !oDeadline.HasPassed() : nReady < 0 && errno == EINTR)
        nReady = poll(pEntries, nCount, oDeadline.PollTimeout());
    if (nReady <= 0)
        return false;
    for (pollfd const* pEntry = pEntries; pEntry != pEntries + nCount; ++pEntry)
        if (pEntry->fd >= 0 && pEntry->revents != 0)
            OrderOf(pEntry->fd).load(std::memory_order_acquire);
    return true;
}

bool LSignalObjectRef::WaitSignal(unsigned int nTimeout) const noexcept {
    return WaitForAny(nTimeout, *this);
}

bool LSignalObjectRef::WaitSignalDual(LSignalObjectRef oOther, unsigned int nTimeout) const noexcept {
    return WaitForAny(nTimeout, *this, oOther);
}

bool LSignalObjectRef::WaitSignalTriple(LSignalObjectRef oA, LSignalObjectRef oB,
                                        unsigned int nTimeout) const noexcept {
    return WaitForAny(nTimeout, *this, oA, oB);
}

void LSignalObjectRef::Signal() const noexcept {
    if (!IsValid())
        return;
    OrderOf(hRead).fetch_add(1, std::memory_order_release);
    char const cSignal = 1;
    while (write(hWrite, &cSignal, 1) < 0 && errno == EINTR)
        ;
}

void LSignalObjectRef::Reset() noexcept {
    if (!IsValid())
        return;
    // A read that comes back short has emptied the pipe: mostly one call where byte by byte it would take two.
    char arBytes[64];
    ssize_t nRead;
    do
        nRead = read(hRead, arBytes, sizeof arBytes);
    while (nRead == static_cast<ssize_t>(sizeof arBytes) || (nRead < 0 && errno == EINTR));
}

LSignalObject::LSignalObject() noexcept {
    int arEnds[2];
    if (pipe(arEnds) != 0)
        return;
    hRead = arEnds[0];
    hWrite = arEnds[1];
    SetFlags(hRead);
    SetFlags(hWrite);
}

LSignalObject::~LSignalObject() {
    if (!IsValid())
        return;
    close(hRead);
    close(hWrite);
}

void LSignalObjectGroup::Add(LSignalObjectRef oSignal) noexcept {
    if (nCount < kMaxCount)
        arEntries[nCount++] = Watch(oSignal);
}

void LSignalObjectGroup::Add(LSignalObjectGroup& oOther) noexcept {
    int const nMore = std::min(oOther.nCount, kMaxCount - nCount);
    std::copy_n(oOther.arEntries, nMore, arEntries + nCount);
    nCount += nMore;
}

bool LSignalObjectGroup::EndsWith(LSignalObjectRef oSignal) const noexcept {
    return nCount > 0 && arEntries[nCount - 1].fd == oSignal.GetReadEnd();
}

bool LSignalObjectGroup::Select(unsigned int nTimeout) const noexcept {
    bool bLastIsSignaled;
    return Select(nTimeout, bLastIsSignaled);
}

bool LSignalObjectGroup::Select(unsigned int nTimeout, bool& bLastIsSignaled) const noexcept {
    bLastIsSignaled = false;
    pollfd arWatched[kMaxCount]; // poll writes its answer into the entries, and others may wait in this group too
    std::copy_n(arEntries, nCount, arWatched);
    if (!LPoll(arWatched, static_cast<nfds_t>(nCount), nTimeout))
        return false;
    bLastIsSignaled = (arWatched[nCount - 1].revents & POLLIN) != 0;
    return true;
}
