#include "runtime/diagnostics/debug_thread.h"

#include "base/fixed_text.h"

#include <algorithm>
#include <pthread.h>

constinit LRecursiveMutex loDebugThreads;
constinit std::array<LDebugThreadData, kLDebugThreads> gDebugThreadData;
constinit std::atomic<std::uint64_t> gnDebugThreads{0};
constinit std::atomic<std::uint32_t> gwDebugCurrentCommand{0};
constinit std::atomic<std::uint32_t> gwDebugLastCommand{0};

namespace {

// The same number as mach_thread_self's, without the reference that a caller of that has to give back.
mach_port_t OwnId() noexcept {
    return pthread_mach_thread_np(pthread_self());
}

// The first entry in use, or once used, that bears the ID; null when none does.
LDebugThreadData* Find(mach_port_t dwId) noexcept {
    LDebugThreadData* const pEnd = gDebugThreadData.data() + gnDebugThreads.load(std::memory_order_acquire);
    LDebugThreadData* const pFound = std::find_if(gDebugThreadData.data(), pEnd, [dwId](LDebugThreadData const& oData) {
        return oData.dwThreadId.load(std::memory_order_acquire) == dwId;
    });
    return pFound == pEnd ? nullptr : pFound;
}

// An entry that look-ups pass over; null when all are taken.
LDebugThreadData* Reserve() noexcept {
    LScopedLock const oLock(loDebugThreads);
    LDebugThreadData* pEntry = Find(kLDebugThreadFree);
    if (!pEntry) {
        std::uint64_t const nThreads = gnDebugThreads.load(std::memory_order_relaxed);
        if (nThreads == kLDebugThreads)
            return nullptr;
        pEntry = &gDebugThreadData[nThreads];
        gnDebugThreads.store(nThreads + 1, std::memory_order_release); // free until the next line, so nobody's
    }
    pEntry->dwThreadId.store(kLDebugThreadReserved, std::memory_order_relaxed);
    return pEntry;
}

void SetName(LDebugThreadData& oData, char const* szName) noexcept {
    constexpr std::size_t kLongest = 4;
    LFixedWriter(oData.szName, kLongest + 1).Add(szName ? szName : "");
}

} // namespace

void LDebugThreadDataStartThread(char const* szName) noexcept {
    LDebugThreadData* const pEntry = Reserve();
    if (!pEntry)
        return;
    mach_port_t const dwId = OwnId();
    if (szName)
        SetName(*pEntry, szName);
    else
        LFixedWriter(pEntry->szName).AddNumber(dwId % 10000, 4);
    pEntry->szLastDialog[0] = '\0';
    pEntry->dwThreadId.store(dwId, std::memory_order_release);
}

void LDebugThreadDataStopThread() noexcept {
    LScopedLock const oLock(loDebugThreads);
    LDebugThreadData* const pEntry = LDebugThreadFindData();
    if (!pEntry)
        return;
    pEntry->dwThreadId.store(kLDebugThreadFree, std::memory_order_release);
    std::uint64_t nThreads = gnDebugThreads.load(std::memory_order_relaxed);
    while (nThreads > 0 &&
           gDebugThreadData[nThreads - 1].dwThreadId.load(std::memory_order_relaxed) == kLDebugThreadFree)
        --nThreads;
    gnDebugThreads.store(nThreads, std::memory_order_release);
}

LDebugThreadData* LDebugThreadFindData() noexcept {
    return Find(OwnId());
}

void LDebugThreadSetName(char const* szName) noexcept {
    if (LDebugThreadData* const pEntry = LDebugThreadFindData())
        SetName(*pEntry, szName);
}

void LDebugThreadGetName(char* szOut) noexcept {
    if (!szOut)
        return;
    LDebugThreadData const* const pEntry = LDebugThreadFindData();
    LFixedWriter(szOut, sizeof pEntry->szName).Add(pEntry ? pEntry->szName : "");
}

void LDebugThreadSetLastDialog(char const* szText) noexcept {
    LDebugThreadData* const pEntry = LDebugThreadFindData();
    if (!pEntry)
        return;
    mach_port_t const dwId = pEntry->dwThreadId.load(std::memory_order_relaxed);
    LFixedWriter(pEntry->szLastDialog)
        .Add(szText ? szText : "")
        .AddNumber(dwId % 10)
        .AddNumber(dwId % 100 / 10)
        .AddNumber(dwId % 1000 / 100);
}

bool LIsMainThread() noexcept {
    return pthread_main_np() != 0;
}
