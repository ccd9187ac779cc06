// What events, locks, threads and notifications cost, beside the bare calls that they can't do without: prints the
// table "Threads, signals and locks" of docs/performance.md.
#include "bench/measure.h"
#include "runtime/notify/queued_notify_data.h"
#include "runtime/sync/signal_object.h"
#include "runtime/sync/system_lock.h"
#include "runtime/threads/thread.h"

#include <CoreFoundation/CFRunLoop.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <functional>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kBurst = 10'000, kPayload = 64;

// A pipe as a careful caller of the bare calls has it.
struct Pipe {
    int arEnds[2];

    Pipe() {
        if (pipe2(arEnds, O_NONBLOCK | O_CLOEXEC) != 0)
            std::abort();
    }
    ~Pipe() {
        close(arEnds[0]);
        close(arEnds[1]);
    }
    void Write() const {
        char const cByte = 1;
        if (write(arEnds[1], &cByte, 1) != 1)
            std::abort();
    }
    void PollAndRead() const {
        pollfd oEntry{arEnds[0], POLLIN, 0};
        char cByte;
        if (poll(&oEntry, 1, -1) != 1 || read(arEnds[0], &cByte, 1) != 1)
            std::abort();
    }
};

// Each runs its operation so often and gives the nanoseconds of one.
using Measure = std::function<double(int nTimes)>;

double PerTime(uint64_t nBegin, int nTimes) {
    return static_cast<double>(NowNs() - nBegin) / nTimes;
}

double SignalWaitReset(int nTimes) {
    LSignalObject oSignal;
    uint64_t const nBegin = NowNs();
    for (int n = 0; n < nTimes; ++n) {
        oSignal.Signal();
        oSignal.WaitSignal(kLNoTimeout);
        oSignal.Reset();
    }
    return PerTime(nBegin, nTimes);
}

double BarePipe(int nTimes) {
    Pipe const oPipe;
    uint64_t const nBegin = NowNs();
    for (int n = 0; n < nTimes; ++n) {
        oPipe.Write();
        oPipe.PollAndRead();
    }
    return PerTime(nBegin, nTimes);
}

// Two threads that wake each other in turn.
template <class Wake, class Wait>
double PingPong(int nTimes, Wake const& oWake, Wait const& oWait) {
    std::thread oOther([&] {
        for (int n = 0; n < nTimes; ++n) {
            oWait(0);
            oWake(1);
        }
    });
    uint64_t const nBegin = NowNs();
    for (int n = 0; n < nTimes; ++n) {
        oWake(0);
        oWait(1);
    }
    double const fOneWay = PerTime(nBegin, 2 * nTimes);
    oOther.join();
    return fOneWay;
}

double SignalWake(int nTimes) {
    LSignalObject arSignals[2];
    return PingPong(
        nTimes, [&](int n) { arSignals[n].Signal(); },
        [&](int n) {
            arSignals[n].WaitSignal(kLNoTimeout);
            arSignals[n].Reset();
        });
}

double BareWake(int nTimes) {
    Pipe const arPipes[2];
    return PingPong(
        nTimes, [&](int n) { arPipes[n].Write(); }, [&](int n) { arPipes[n].PollAndRead(); });
}

std::string LockName() {
    return "lumora bench " + std::to_string(getpid());
}

double SystemLock(int nTimes) {
    LSystemLockMutex oLock(LockName().c_str());
    uint64_t const nBegin = NowNs();
    for (int n = 0; n < nTimes; ++n) {
        if (!oLock.Lock(0))
            std::abort();
        oLock.Unlock();
    }
    double const fEach = PerTime(nBegin, nTimes);
    semctl(semget(LSystemLockMutex::KeyFromName(LockName().c_str()), 0, 0), 0, IPC_RMID);
    return fEach;
}

double BareSemaphore(int nTimes) {
    int const nSet = semget(IPC_PRIVATE, 1, IPC_CREAT | 0600);
    sembuf oTake{0, -1, IPC_NOWAIT | SEM_UNDO}, oGive{0, +1, SEM_UNDO};
    if (semop(nSet, &oGive, 1) != 0)
        std::abort();
    uint64_t const nBegin = NowNs();
    for (int n = 0; n < nTimes; ++n)
        if (semop(nSet, &oTake, 1) != 0 || semop(nSet, &oGive, 1) != 0)
            std::abort();
    double const fEach = PerTime(nBegin, nTimes);
    semctl(nSet, 0, IPC_RMID);
    return fEach;
}

double ThreadRuns(int nTimes) {
    struct Empty : LThread {
        void ThreadProc() override {}
    } oThread;
    uint64_t const nBegin = NowNs();
    for (int n = 0; n < nTimes; ++n) {
        oThread.Start(31);
        oThread.GetEnded().WaitSignal(kLNoTimeout);
    }
    return PerTime(nBegin, nTimes);
}

double BareThreads(int nTimes) {
    Pipe oPipe;
    uint64_t const nBegin = NowNs();
    for (int n = 0; n < nTimes; ++n) {
        pthread_t hThread;
        auto const pBody = [](void* pPipe) -> void* {
            static_cast<Pipe*>(pPipe)->Write();
            return nullptr;
        };
        if (pthread_create(&hThread, nullptr, pBody, &oPipe) != 0)
            std::abort();
        pthread_detach(hThread);
        oPipe.PollAndRead();
    }
    return PerTime(nBegin, nTimes);
}

// A burst posted on a thread of its own and delivered here, from the first post to the last delivery.
double Notifications(int) {
    struct Handler : LQueuedNotifyDataHandler {
        ~Handler() { QueuedNotifyDataHandlerDestroy(); }
        void EvQueuedNotifyData(unsigned int, void const* pData, unsigned long nLength) override {
            nSum += static_cast<unsigned char const*>(pData)[nLength - 1];
            if (++nDelivered == kBurst)
                CFRunLoopStop(CFRunLoopGetMain());
        }
        int nDelivered = 0;
        unsigned long nSum = 0;
    } oHandler;
    LQueuedNotifyDataSender oSender(&oHandler);
    uint64_t const nBegin = NowNs();
    std::thread oPoster([&] {
        char arBytes[kPayload];
        for (int n = 0; n < kBurst; ++n) {
            std::memset(arBytes, n, sizeof arBytes);
            oSender.NotifyData(7, arBytes, sizeof arBytes);
        }
    });
    CFRunLoopRun();
    double const fEach = PerTime(nBegin, kBurst);
    oPoster.join();
    return fEach;
}

double BareQueue(int) {
    struct Item {
        unsigned int nCode;
        std::vector<char> lBytes; // the poster's own copy
    };
    std::mutex mtx;
    std::deque<Item> lItems;
    int const hEvent = eventfd(0, EFD_CLOEXEC);
    uint64_t const nBegin = NowNs();
    std::thread oPoster([&] {
        char arBytes[kPayload];
        for (int n = 0; n < kBurst; ++n) {
            std::memset(arBytes, n, sizeof arBytes);
            {
                std::lock_guard const oLock(mtx);
                lItems.push_back({7, std::vector<char>(arBytes, arBytes + sizeof arBytes)});
            }
            eventfd_write(hEvent, 1);
        }
    });
    unsigned long nSum = 0;
    for (int nDelivered = 0; nDelivered < kBurst;) {
        eventfd_t nPosted;
        eventfd_read(hEvent, &nPosted);
        for (; nPosted > 0; --nPosted, ++nDelivered) {
            std::unique_lock oLock(mtx);
            Item const oItem = std::move(lItems.front());
            lItems.pop_front();
            oLock.unlock();
            nSum += static_cast<unsigned char>(oItem.lBytes.back());
        }
    }
    double const fEach = PerTime(nBegin, kBurst);
    oPoster.join();
    close(hEvent);
    return nSum > 0 ? fEach : 0;
}

// Ours and the yardstick by turns, so that what else the machine does meets both; the medians of the rounds.
Row Compare(char const* szWhat, Measure const& oOurs, Measure const& oYardstick, int nTimes, double fAtMost,
            int nRounds) {
    std::vector<double> lOurs, lYardstick;
    for (int n = 0; n < nRounds; ++n) {
        lYardstick.push_back(oYardstick(nTimes));
        lOurs.push_back(oOurs(nTimes));
    }
    auto const oMedian = [](std::vector<double>& l) {
        std::nth_element(l.begin(), l.begin() + static_cast<long>(l.size() / 2), l.end());
        return l[l.size() / 2];
    };
    return {szWhat, oMedian(lOurs) / 1000, oMedian(lYardstick) / 1000, "µs", fAtMost};
}

} // namespace

int main(int nArguments, char** ppArguments) {
    bool const bQuick = IsQuickRun(nArguments, ppArguments);
    int const nRounds = bQuick ? 15 : 41, nTimes = bQuick ? 5'000 : 20'000;
    return PrintRows({
               Compare("event: signal, wait, reset; beside write, poll, read of a pipe", SignalWaitReset, BarePipe,
                       nTimes, 1.2, nRounds),
               Compare("event: wake of a waiting thread, one way; beside a bare pipe", SignalWake, BareWake, nTimes / 4,
                       1.2, nRounds),
               Compare("system lock, free: lock and unlock; beside two bare semop", SystemLock, BareSemaphore, nTimes,
                       1.2, nRounds),
               Compare("thread: start, end, restart; beside create, detach and a pipe's wake", ThreadRuns, BareThreads,
                       nTimes / 20, 2, nRounds),
               Compare("notification of 64 bytes, each of a burst of 10,000; beside deque, mutex, eventfd",
                       Notifications, BareQueue, 1, 2, nRounds),
           })
               ? 0
               : 1;
}
