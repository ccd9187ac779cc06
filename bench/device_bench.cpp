// What the device's road costs, beside the bare system calls that it can't do without: prints the table of
// docs/performance.md. This process is the audio server; the recorder is another role of this program.
#include "bench/device_roles.h"
#include "bench/measure.h"
#include "platform/host/clock.h"
#include "tests/harness/temporary_folder.h"
#include "xpc/client_manager.h"
#include "xpc/helperlink/helper_keys.h"

#include <CoreAudio/AudioServerPlugIn.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <memory>
#include <mutex>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr UInt32 kFrames = 512;
constexpr size_t kBytes = kFrames * 8;
constexpr uint64_t kCycle_ns = 1'000'000'000ull * kFrames / 44100;
// Whether a wake crosses from one processor to another changes the figures more than anything measured here, so both
// sides send on the one and read on the other.
constexpr int kSenderProcessor = 0, kReaderProcessor = 1;
constexpr AudioObjectID kDevice = 3, kStream = 8, kVolume = 9;

[[noreturn]] void Fail(std::string const& szWhat) {
    std::fprintf(stderr, "bench_device: %s\n", szWhat.c_str());
    std::exit(1);
}

// Waits for a condition that another process or thread brings about.
void WaitUntil(std::function<bool()> const& isTrue, char const* szWhat, uint64_t nSeconds = 10) {
    for (uint64_t const nEnd = NowNs() + nSeconds * 1'000'000'000; !isTrue(); SleepUntilNs(NowNs() + 200'000))
        if (NowNs() > nEnd)
            Fail(std::string("gave up waiting for ") + szWhat);
}

// The bundle, loaded and initialised as a server does it.
class Device {
public:
    Device() {
        void* const pLibrary = dlopen(LUMORA_BUNDLE "/Contents/MacOS/LumoraVirtualAudioDevice", RTLD_NOW | RTLD_LOCAL);
        if (pLibrary == nullptr)
            Fail(dlerror());
        auto const create =
            reinterpret_cast<void* (*)(CFAllocatorRef, CFUUIDRef)>(dlsym(pLibrary, "LVirtualAudioDevice_Create"));
        isConnected = reinterpret_cast<bool (*)()>(dlsym(pLibrary, "LVADServerIsConnectionValid"));
        driver = static_cast<AudioServerPlugInDriverRef>(create(nullptr, kAudioServerPlugInTypeUUID));
        oHost.PropertiesChanged = [](AudioServerPlugInHostRef, AudioObjectID, UInt32,
                                     AudioObjectPropertyAddress const*) { return OSStatus{0}; };
        oHost.CopyFromStorage = [](AudioServerPlugInHostRef, CFStringRef, CFPropertyListRef* pData) {
            *pData = nullptr;
            return OSStatus{0};
        };
        oHost.WriteToStorage = [](AudioServerPlugInHostRef, CFStringRef, CFPropertyListRef) { return OSStatus{0}; };
        oHost.DeleteFromStorage = [](AudioServerPlugInHostRef, CFStringRef) { return OSStatus{0}; };
        oHost.RequestDeviceConfigurationChange = [](AudioServerPlugInHostRef, AudioObjectID, UInt64, void*) {
            return OSStatus{0};
        };
        if ((*driver)->Initialize(driver, &oHost) != 0)
            Fail("Initialize failed");
    }

    void Start() {
        WaitUntil([&] { return isConnected(); }, "the recorder's endpoint");
        (*driver)->StartIO(driver, kDevice, 1);
    }
    void Stop() { (*driver)->StopIO(driver, kDevice, 1); }

    // One whole cycle as the IO thread does it; the time that DoIOOperation took, in nanoseconds.
    uint64_t Cycle(uint64_t nSequence) {
        Float64 fSample = 0;
        UInt64 nHost = 0, nSeed = 0;
        (*driver)->GetZeroTimeStamp(driver, kDevice, 1, &fSample, &nHost, &nSeed);
        (*driver)->BeginIOOperation(driver, kDevice, 1, kAudioServerPlugInIOOperationWriteMix, kFrames, &oCycle);
        uint64_t const nTook = Write(nSequence);
        (*driver)->EndIOOperation(driver, kDevice, 1, kAudioServerPlugInIOOperationWriteMix, kFrames, &oCycle);
        return nTook;
    }
    uint64_t Write(uint64_t nSequence) {
        std::memcpy(arBuffer, &nSequence, sizeof nSequence);
        uint64_t const nStart = NowNs();
        (*driver)->DoIOOperation(driver, kDevice, kStream, 1, kAudioServerPlugInIOOperationWriteMix, kFrames, &oCycle,
                                 arBuffer, nullptr);
        nSent_ns = nStart;
        return NowNs() - nStart;
    }
    uint64_t SentNs() const { return nSent_ns; }

    double GetUInt32Ns() {
        AudioObjectPropertyAddress const oAddress{kAudioObjectPropertyClass, kAudioObjectPropertyScopeGlobal, 0};
        constexpr int kCalls = 5'000'000;
        UInt32 nValue = 0, nSize = 0, nSum = 0;
        uint64_t const nStart = NowNs();
        for (int n = 0; n < kCalls; ++n) {
            (*driver)->GetPropertyData(driver, kVolume, 1, &oAddress, 0, nullptr, sizeof nValue, &nSize, &nValue);
            nSum += nValue;
        }
        double const fEach = static_cast<double>(NowNs() - nStart) / kCalls;
        return nSum == 1 ? 0 : fEach;
    }

private:
    AudioServerPlugInHostInterface oHost{};
    AudioServerPlugInDriverRef driver = nullptr;
    bool (*isConnected)() = nullptr;
    AudioServerPlugInIOCycleInfo oCycle{};
    uint64_t nSent_ns = 0;
    alignas(64) char arBuffer[kBytes] = {};
};

// The yardstick: the same bytes over the same kind of socket, sent with the bare call.
class BareSocket {
public:
    BareSocket(char const* szRole, int nFigures) {
        if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, arSockets) != 0)
            Fail("socketpair");
        int const nSize = 1 << 20;
        setsockopt(arSockets[0], SOL_SOCKET, SO_SNDBUF, &nSize, sizeof nSize);
        pReader = std::make_unique<RoleProcess>(szRole, nFigures, arSockets[1]);
        close(arSockets[1]);
    }
    ~BareSocket() { close(arSockets[0]); }
    pid_t Reader() const { return pReader->Id(); }

    uint64_t Write(uint64_t nSequence) {
        std::memcpy(arBuffer, &nSequence, sizeof nSequence);
        uint64_t const nStart = NowNs();
        iovec oBytes{arBuffer, kBytes};
        msghdr oMessage{};
        oMessage.msg_iov = &oBytes;
        oMessage.msg_iovlen = 1;
        if (sendmsg(arSockets[0], &oMessage, MSG_DONTWAIT | MSG_NOSIGNAL) < 0)
            Fail("bare sendmsg");
        nSent_ns = nStart;
        return NowNs() - nStart;
    }
    uint64_t SentNs() const { return nSent_ns; }

    uint64_t PingPong(size_t nBytes) {
        uint64_t const nStart = NowNs();
        send(arSockets[0], arBuffer, nBytes, MSG_NOSIGNAL);
        pollfd oPoll{arSockets[0], POLLIN, 0};
        poll(&oPoll, 1, -1);
        recv(arSockets[0], arBuffer, kBytes, 0);
        return NowNs() - nStart;
    }

private:
    int arSockets[2] = {-1, -1};
    std::unique_ptr<RoleProcess> pReader;
    uint64_t nSent_ns = 0;
    alignas(64) char arBuffer[kBytes] = {};
};

// One side's samples over all of its turns.
struct RoadSamples {
    std::vector<uint64_t> lFlatOut_ns, lPaced_ns, lLatency_ns;
    uint64_t nCpu_ns = 0, nPaced_ns = 0;
};

double Us(uint64_t nNs) {
    return static_cast<double>(nNs) / 1000.0;
}

// Bursts of 32 with the reader catching up in between, so that neither side measures a full socket.
template <class Sender>
void FlatOut(Sender& oSender, SharedFigures& oFigures, int nBursts, RoadSamples& oSamples) {
    for (int nBurst = 0; nBurst < nBursts; ++nBurst) {
        uint64_t const nGoal = oFigures.nArrived.load() + 32;
        for (uint64_t n = 0; n < 32; ++n)
            oSamples.lFlatOut_ns.push_back(oSender.Write(n));
        WaitUntil([&] { return oFigures.nArrived.load() >= nGoal; }, "the reader to catch up");
    }
}

// As in a server: a cycle every 11.6 ms, for so many cycles.
template <class Sender>
void Paced(Sender& oSender, SharedFigures& oFigures, pid_t nReader, uint64_t nCycles, RoadSamples& oSamples) {
    std::vector<uint64_t> lSent_ns;
    lSent_ns.reserve(nCycles);
    uint64_t const nGoal = oFigures.nArrived.load() + nCycles;
    uint64_t const nCpu = CpuTimeNs(getpid()) + CpuTimeNs(nReader), nStart = NowNs();
    uint64_t nNext = nStart;
    for (uint64_t n = 0; n < nCycles; ++n) {
        SleepUntilNs(nNext += kCycle_ns);
        oSamples.lPaced_ns.push_back(oSender.Write(n));
        lSent_ns.push_back(oSender.SentNs());
    }
    WaitUntil([&] { return oFigures.nArrived.load() >= nGoal; }, "the last cycle to arrive");
    oSamples.nCpu_ns += CpuTimeNs(getpid()) + CpuTimeNs(nReader) - nCpu;
    oSamples.nPaced_ns += NowNs() - nStart;
    for (uint64_t n = 0; n < nCycles; ++n)
        oSamples.lLatency_ns.push_back(oFigures.arArrival_ns[n] - lSent_ns[n]);
}

// The whole cycle counts for the paced figures, DoIOOperation alone for the call.
struct CycleSender {
    Device& oDevice;
    uint64_t Write(uint64_t n) { return oDevice.Cycle(n); }
    uint64_t SentNs() const { return oDevice.SentNs(); }
};

// Requests whose answers send the next request, from the reply handler itself.
class RoundTrips : public LXPCClientEventNotify {
public:
    double MedianUs(size_t nRounds) {
        nLeft = nRounds;
        nClientId = LXPCClientManager::Create(this);
        LXPCClientManager::Connect(nClientId, "com.tarnwicksoftware.Lumora.VadHelper", 0, true);
        LXPCClientManager::AddKeys(nClientId, arVADHelperTxKeys, false);
        LXPCClientManager::AddKeys(nClientId, arVADHelperRxKeys, true);
        Send("REQUEST_ENDPOINT", "com.tarnwicksoftware.Lumora.VadHelper", 0);
        std::unique_lock oLock(mtx);
        cond.wait(oLock, [&] { return nLeft == 0; });
        oLock.unlock();
        LXPCClientManager::Destroy(nClientId);
        return Us(Percentile(lSamples, 0.5));
    }

    void EvConnectionError(long, LXPCErrorType) override {}
    void EvMessageSent(long) override {}
    void EvMessageReceived(long, long, LXPCData const*, unsigned long) override {}
    void EvReplyReceived(long, LXPCData const* items, unsigned long count) override {
        uint64_t const nNow = NowNs();
        if (count == 1 && std::strcmp(items[0].szName, "SEND_ENDPOINT") == 0) {
            LXPCClientManager::ConnectEndPoint(nClientId, "Bench", 1, reinterpret_cast<xpc_object_t>(items[0].nValue));
        } else {
            lSamples.push_back(nNow - nSent_ns);
            std::lock_guard oLock(mtx);
            if (--nLeft == 0) {
                cond.notify_one();
                return;
            }
        }
        nSent_ns = NowNs();
        Send("START_RECORDING", "Bench", 1);
    }

private:
    void Send(char const* szKey, char const* szConnection, unsigned long nInstance) {
        LList<LXPCDataListable> lItems;
        lItems.Insert(std::make_unique<LXPCDataListable>(szKey, LXPCDataType_Bool, 1));
        LXPCClientManager::SendMessage(nClientId, szConnection, nInstance, lItems, true);
    }

    int nClientId = 0;
    uint64_t nSent_ns = 0;
    std::vector<uint64_t> lSamples;
    std::mutex mtx;
    std::condition_variable cond;
    size_t nLeft = 0;
};

// Plays `nSeconds` at 20 times speed to a recorder that doesn't run; the longest call in milliseconds.
double LongestWithStoppedRecorderMs(Device& oDevice, pid_t nRecorder, uint64_t nSeconds, uint64_t& nGrownKiB) {
    kill(nRecorder, SIGSTOP);
    uint64_t const nBefore = ResidentKiB(getpid());
    uint64_t nLongest = 0, nNext = NowNs();
    for (uint64_t nEnd = nNext + nSeconds * 1'000'000'000; nNext < nEnd;) {
        SleepUntilNs(nNext += kCycle_ns / 20);
        nLongest = std::max(nLongest, oDevice.Cycle(0));
    }
    nGrownKiB = ResidentKiB(getpid()) - std::min(nBefore, ResidentKiB(getpid()));
    kill(nRecorder, SIGCONT);
    return static_cast<double>(nLongest) / 1e6;
}

Row RowOf(char const* szWhat, std::vector<uint64_t>& lOurs, std::vector<uint64_t>& lBare, double fShare,
          double fAtMost) {
    return {szWhat, Us(Percentile(lOurs, fShare)), Us(Percentile(lBare, fShare)), "µs", fAtMost};
}

double CpuMsPerSecond(RoadSamples const& oSamples) {
    return static_cast<double>(oSamples.nCpu_ns) / static_cast<double>(oSamples.nPaced_ns) * 1000;
}

double BareRoundTripUs(int nFigures, int nRounds) {
    BareSocket oSocket("echo", nFigures);
    std::vector<uint64_t> lSamples;
    for (int n = 0; n < nRounds; ++n)
        lSamples.push_back(oSocket.PingPong(128));
    return Us(Percentile(lSamples, 0.5));
}

int Run(bool bQuick) {
    TemporaryFolder const oServices;
    setenv("XDG_RUNTIME_DIR", oServices.Path().c_str(), 1);
    int nBareFigures = -1, nFigures = -1;
    SharedFigures* const pBareFigures = SharedFigures::Create(nBareFigures);
    SharedFigures* const pFigures = SharedFigures::Create(nFigures);
    int const nTurns = bQuick ? 2 : 10, nRounds = bQuick ? 2000 : 50000;

    RoleProcess oRecorder("recorder", nFigures);
    BareSocket oSocket("reader", nBareFigures);
    WaitUntil([&] { return pFigures->bReady.load() && pBareFigures->bReady.load(); }, "the readers");
    Device oDevice;
    StayOnProcessor(kSenderProcessor);
    bool const bRealTime = AskForRealTime();
    oDevice.Start();
    std::printf("sender %s real-time priority, sender and reader on a processor each, by turns ...\n",
                bRealTime ? "at" : "without");
    RoadSamples oBare, oOurs;
    CycleSender oCycles{oDevice};
    for (int nTurn = 0; nTurn < nTurns; ++nTurn) {
        FlatOut(oSocket, *pBareFigures, 100, oBare);
        FlatOut(oDevice, *pFigures, 100, oOurs);
        Paced(oSocket, *pBareFigures, oSocket.Reader(), 172, oBare);
        Paced(oCycles, *pFigures, oRecorder.Id(), 172, oOurs);
    }
    double const fBareRound_us = BareRoundTripUs(nBareFigures, nRounds);
    double const fRound_us = RoundTrips().MedianUs(static_cast<size_t>(nRounds));
    double const fGet_ns = oDevice.GetUInt32Ns();
    std::printf("stopped recorder ...\n");
    uint64_t nGrownKiB = 0;
    double const fLongest_ms = LongestWithStoppedRecorderMs(oDevice, oRecorder.Id(), bQuick ? 3 : 60, nGrownKiB);
    oDevice.Stop();

    bool const bAll = PrintRows({
        RowOf("DoIOOperation(WriteMix, 512 frames), back to back, median", oOurs.lFlatOut_ns, oBare.lFlatOut_ns, 0.5,
              1.5),
        RowOf("the same, paced at 86 a second, median", oOurs.lPaced_ns, oBare.lPaced_ns, 0.5, 1.5),
        RowOf("from that call to the recorder's handler, paced, median", oOurs.lLatency_ns, oBare.lLatency_ns, 0.5,
              1.5),
        RowOf("the same, 99th percentile", oOurs.lLatency_ns, oBare.lLatency_ns, 0.99, 1.5),
        {"CPU of server and recorder per second of audio, paced", CpuMsPerSecond(oOurs), CpuMsPerSecond(oBare), "ms",
         1.5},
        {"message with reply, round trip, median", fRound_us, fBareRound_us, "µs", 2.0},
        {"GetPropertyData of a UInt32", fGet_ns, 0, "ns", 50},
        {"recorder stopped: longest DoIOOperation at 20 × speed", fLongest_ms, 0, "ms", 1},
        {"recorder stopped: memory grown by", static_cast<double>(nGrownKiB) / 1024, 0, "MiB", 16},
    });
    return bAll ? 0 : 1;
}

} // namespace

int main(int nArguments, char** ppArguments) {
    std::string const szFirst = nArguments > 1 ? ppArguments[1] : "";
    if (szFirst == "--role" && nArguments == 5) {
        std::string const szRole = ppArguments[2];
        int const nFigures = std::atoi(ppArguments[3]), nSocket = std::atoi(ppArguments[4]);
        StayOnProcessor(kReaderProcessor);
        if (szRole == "recorder")
            RunRecorderRole(nFigures);
        RunReaderRole(nFigures, nSocket, szRole == "echo");
    }
    return Run(IsQuickRun(nArguments, ppArguments));
}
