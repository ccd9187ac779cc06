// What the XPC stand-in costs over the bare socket beneath it: a block of audio sent from an IO thread, its way to
// another process, and a question and its answer. Each figure is measured by turns with its yardstick, which moves the
// same bytes over the same kind of socket.
#include "bench/measure.h"
#include "tests/harness/temporary_folder.h"

#include <xpc/xpc.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

constexpr size_t kBlock = 4096;
constexpr char kName[] = "com.tarnwicksoftware.Lumora.Bench";
constexpr int kBareSocket = 3; // in the child

// A block whose first eight bytes say when it was sent.
struct Block {
    alignas(8) char aBytes[kBlock] = {};
    void Stamp() {
        uint64_t const nNow = NowNs();
        std::memcpy(aBytes, &nNow, sizeof nNow);
    }
    static uint64_t Age(void const* pBytes) {
        uint64_t nSent;
        std::memcpy(&nSent, pBytes, sizeof nSent);
        return NowNs() - nSent;
    }
};

using Times = std::vector<uint64_t>; // nanoseconds

Row RowOf(std::string szWhat, Times& lOurs, Times& lBare, double fShare, double fAtMost) {
    return {std::move(szWhat), static_cast<double>(Percentile(lOurs, fShare)) / 1000,
            static_cast<double>(Percentile(lBare, fShare)) / 1000, "µs", fAtMost};
}

bool BareSend(int nSocket, void const* pBytes, size_t nBytes) {
    iovec oPart{const_cast<void*>(pBytes), nBytes};
    msghdr oMessage{};
    oMessage.msg_iov = &oPart;
    oMessage.msg_iovlen = 1;
    return ::sendmsg(nSocket, &oMessage, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
}

ssize_t BareReceive(int nSocket, void* pBytes, size_t nBytes) {
    pollfd oEntry{nSocket, POLLIN, 0};
    ::poll(&oEntry, 1, -1);
    return ::recv(nSocket, pBytes, nBytes, 0);
}

// Sender and reader each keep a processor: whether a wake crosses from one to the other changes a figure more than
// anything measured here, and the yardstick must not win or lose by it.

// As many as one packet brings back; a run back to back makes more, and needs none.
void Note(Times& lAges, void const* pBlock) {
    constexpr size_t kMost = 8192;
    if (lAges.size() < kMost)
        lAges.push_back(Block::Age(pBlock));
}

// The child. Bare: a block is timed, eight bytes are sent back as they are, four bring the ages. XPC: the same.
void ServeBare() {
    Times lAges;
    alignas(8) char aBytes[kBlock];
    for (ssize_t n; (n = BareReceive(kBareSocket, aBytes, sizeof aBytes)) > 0;) {
        if (n == ssize_t(kBlock))
            Note(lAges, aBytes);
        else if (n == 8)
            BareSend(kBareSocket, aBytes, 8);
        else {
            BareSend(kBareSocket, lAges.data(), lAges.size() * sizeof lAges[0]);
            lAges.clear();
        }
    }
    std::_Exit(0); // the parent is done
}

void ServeXpc() {
    static Times lAges; // the peer's thread
    xpc_connection_t const pListener =
        xpc_connection_create_mach_service(kName, nullptr, XPC_CONNECTION_MACH_SERVICE_LISTENER);
    xpc_connection_set_event_handler(pListener, [](xpc_object_t pNew) {
        if (xpc_get_type(pNew) != XPC_TYPE_CONNECTION)
            return;
        auto const pPeer = static_cast<xpc_connection_t>(pNew);
        xpc_connection_set_event_handler(pPeer, [pPeer](xpc_object_t pEvent) {
            if (xpc_get_type(pEvent) != XPC_TYPE_DICTIONARY)
                return;
            if (void const* const pBlock = xpc_dictionary_get_data(pEvent, "AUDIO_DATA", nullptr))
                return Note(lAges, pBlock);
            xpc_object_t const pReply = xpc_dictionary_create_reply(pEvent);
            if (xpc_dictionary_get_bool(pEvent, "AGES")) {
                xpc_dictionary_set_data(pReply, "AGES", lAges.data(), lAges.size() * sizeof lAges[0]);
                lAges.clear();
            } else {
                xpc_dictionary_set_int64(pReply, "PONG", xpc_dictionary_get_int64(pEvent, "PING"));
            }
            xpc_connection_send_message(pPeer, pReply);
            xpc_release(pReply);
        });
        xpc_connection_resume(pPeer);
    });
    xpc_connection_resume(pListener);
    BareSend(kBareSocket, "r", 1); // ready
    ServeBare();
}

class Bench {
public:
    Bench(char const* szProgram, bool bQuick) : nScale(bQuick ? 1 : 10) {
        int aPair[2];
        ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, aPair);
        posix_spawn_file_actions_t oActions;
        posix_spawn_file_actions_init(&oActions);
        posix_spawn_file_actions_adddup2(&oActions, aPair[1], kBareSocket);
        std::string szOwn(szProgram), szServe("serve");
        char* aArguments[] = {szOwn.data(), szServe.data(), nullptr};
        ::posix_spawn(&nChild, szProgram, &oActions, nullptr, aArguments, environ);
        posix_spawn_file_actions_destroy(&oActions);
        ::close(aPair[1]);
        nBare = aPair[0];
        char cReady;
        BareReceive(nBare, &cReady, 1);
        pConnection = xpc_connection_create_mach_service(kName, nullptr, 0);
        xpc_connection_set_event_handler(pConnection, [](xpc_object_t) {});
        xpc_connection_resume(pConnection);
    }
    ~Bench() {
        xpc_connection_cancel(pConnection);
        xpc_release(pConnection);
        ::close(nBare);
        ::waitpid(nChild, nullptr, 0);
    }

    // Bursts short enough for the socket's buffer, the reader awake and at work beside them.
    void BackToBack() {
        Times lBare, lOurs;
        for (int nBurst = 0; nBurst < 100 * nScale; ++nBurst) {
            TimeBurst(lBare, [&] { SendBare(); });
            TimeBurst(lOurs, [&] { SendOurs(); });
        }
        lRows.push_back(RowOf("dictionary, send and barrier of 4096 bytes, back to back", lOurs, lBare, 0.5, 1.3));
        TakeAgesBare();
        TakeAgesOurs();
    }

    // As an IO thread does, at cycles of 512 frames.
    void Paced() {
        Times lBare, lOurs;
        timespec const oCycle{0, 11'610'000};
        for (int n = 0; n < 60 * nScale; ++n) {
            ::nanosleep(&oCycle, nullptr);
            Time(lBare, [&] { SendBare(); });
            ::nanosleep(&oCycle, nullptr);
            Time(lOurs, [&] { SendOurs(); });
        }
        lRows.push_back(RowOf("the same, 86 a second", lOurs, lBare, 0.5, 1.3));
        lBare = TakeAgesBare();
        lOurs = TakeAgesOurs();
        lRows.push_back(RowOf("until the other process's handler has it, median", lOurs, lBare, 0.5, 1.3));
        lRows.push_back(RowOf("the same, 99 of 100", lOurs, lBare, 0.99, 2));
    }

    void RoundTrip() {
        Times lBare, lOurs;
        for (int n = 0; n < 2 * nScale; ++n) {
            PingPongBare(lBare, 1000);
            PingPongOurs(lOurs, 1000);
        }
        lRows.push_back(RowOf("question and answer", lOurs, lBare, 0.5, 2));
    }

    std::vector<Row> lRows;

private:
    template <class Work>
    static void Time(Times& lTimes, Work&& oWork) {
        uint64_t const nStart = NowNs();
        oWork();
        lTimes.push_back(NowNs() - nStart);
    }

    template <class Work>
    void TimeBurst(Times& lTimes, Work&& oWork) {
        constexpr int kSends = 32;
        uint64_t const nStart = NowNs();
        for (int n = 0; n < kSends; ++n)
            oWork();
        lTimes.push_back((NowNs() - nStart) / kSends);
        ::usleep(1000);
    }

    void SendBare() {
        oBlock.Stamp();
        BareSend(nBare, oBlock.aBytes, kBlock);
    }

    void SendOurs() {
        oBlock.Stamp();
        xpc_object_t const pMessage = xpc_dictionary_create(nullptr, nullptr, 0);
        xpc_dictionary_set_data(pMessage, "AUDIO_DATA", oBlock.aBytes, kBlock);
        xpc_connection_send_message(pConnection, pMessage);
        xpc_connection_send_barrier(pConnection, [this] { nSent.fetch_add(1, std::memory_order_relaxed); });
        xpc_release(pMessage);
    }

    Times TakeAgesBare() {
        Times lAges(65536 / sizeof(uint64_t) * 2);
        BareSend(nBare, "ages", 4);
        ssize_t const nBytes = BareReceive(nBare, lAges.data(), lAges.size() * sizeof lAges[0]);
        lAges.resize(nBytes < 0 ? 0 : size_t(nBytes) / sizeof lAges[0]);
        return lAges;
    }

    Times TakeAgesOurs() {
        xpc_object_t const pMessage = xpc_dictionary_create(nullptr, nullptr, 0);
        xpc_dictionary_set_bool(pMessage, "AGES", true);
        xpc_object_t const pReply = xpc_connection_send_message_with_reply_sync(pConnection, pMessage);
        xpc_release(pMessage);
        size_t nBytes = 0;
        auto const* const pAges = static_cast<uint64_t const*>(xpc_dictionary_get_data(pReply, "AGES", &nBytes));
        Times lAges(pAges, pAges + nBytes / sizeof(uint64_t));
        xpc_release(pReply);
        return lAges;
    }

    // Both ends poll, as a connection's thread does.
    void PingPongBare(Times& lTimes, int nTrips) {
        int64_t nAnswer;
        for (int64_t n = 0; n < nTrips; ++n)
            Time(lTimes, [&] {
                BareSend(nBare, &n, sizeof n);
                BareReceive(nBare, &nAnswer, sizeof nAnswer);
            });
    }

    // Each answer's handler asks the next question.
    void PingPongOurs(Times& lTimes, int nTrips) {
        dispatch_semaphore_t const pDone = dispatch_semaphore_create(0);
        Ask(lTimes, nTrips, pDone);
        dispatch_semaphore_wait(pDone, DISPATCH_TIME_FOREVER);
        dispatch_release(pDone);
    }

    void Ask(Times& lTimes, int nLeft, dispatch_semaphore_t pDone) {
        if (nLeft == 0) {
            dispatch_semaphore_signal(pDone);
            return;
        }
        uint64_t const nStart = NowNs();
        xpc_object_t const pQuestion = xpc_dictionary_create(nullptr, nullptr, 0);
        xpc_dictionary_set_int64(pQuestion, "PING", nLeft);
        xpc_connection_send_message_with_reply(pConnection, pQuestion, nullptr,
                                               [this, &lTimes, nLeft, pDone, nStart](xpc_object_t) {
                                                   lTimes.push_back(NowNs() - nStart);
                                                   Ask(lTimes, nLeft - 1, pDone);
                                               });
        xpc_release(pQuestion);
    }

    int const nScale;
    pid_t nChild = 0;
    int nBare = -1;
    xpc_connection_t pConnection = nullptr;
    Block oBlock;
    std::atomic<uint64_t> nSent{0};
};

} // namespace

int main(int nArguments, char** ppArguments) {
    std::string const szArgument(nArguments > 1 ? ppArguments[1] : "");
    StayOnProcessor(szArgument == "serve" ? 1 : 0);
    if (szArgument == "serve")
        ServeXpc();
    bool const bQuick = IsQuickRun(nArguments, ppArguments);
    TemporaryFolder const oServices;
    setenv("XDG_RUNTIME_DIR", oServices.Path().c_str(), 1);
    Bench oBench("/proc/self/exe", bQuick);
    oBench.BackToBack();
    oBench.Paced();
    oBench.RoundTrip();
    return PrintRows(oBench.lRows) ? 0 : 1;
}
