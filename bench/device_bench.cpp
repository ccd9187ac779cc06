// What the device's road costs, beside the bare system calls that it can't do without: prints the table of
// docs/performance.md. This process is the audio server; the recorder is another role of this program.
#include "bench/device_roles.h"
#include "bench/measure.h"
#include "platform/host/clock.h"
#include "xpc/client_manager.h"
#include "xpc/helperlink/helper_keys.h"

#include <CoreAudio/AudioServerPlugIn.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
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

// The service folder of this run, removed at its end.
class ServiceFolder {
public:
    ServiceFolder() {
        char szTemplate[] = "/tmp/lumora-bench-XXXXXX";
        if (mkdtemp(szTemplate) == nullptr)
            Fail("can't make a folder under /tmp");
        szPath = szTemplate;
        setenv("XDG_RUNTIME_DIR", szTemplate, 1);
    }
    ~ServiceFolder() { std::filesystem::remove_all(szPath); }

private:
    std::string szPath;
};

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

struct RoadFigures {
    double fFlatOut_us = 0, fPaced_us = 0, fLatencyMedian_us = 0, fLatency99_us = 0, fCpu_ms = 0;
};

double Us(uint64_t nNs) {
    return static_cast<double>(nNs) / 1000.0;
}

// Bursts of 32 with the reader catching up in between, so that neither side measures a full socket.
template <class Sender>
double FlatOut(Sender& oSender, SharedFigures& oFigures, int nBursts) {
    std::vector<uint64_t> lSamples;
    for (int nBurst = 0; nBurst < nBursts; ++nBurst) {
        uint64_t const nGoal = oFigures.nArrived.load() + 32;
        for (uint64_t n = 0; n < 32; ++n)
            lSamples.push_back(oSender.Write(n));
        WaitUntil([&] { return oFigures.nArrived.load() >= nGoal; }, "the reader to catch up");
    }
    return Us(Percentile(lSamples, 0.5));
}

template <class Sender>
void Paced(Sender& oSender, SharedFigures& oFigures, pid_t nReader, uint64_t nSeconds, RoadFigures& oResult) {
    std::vector<uint64_t> lSends, lLatencies, lSent_ns;
    uint64_t const nCycles = nSeconds * 1'000'000'000 / kCycle_ns;
    uint64_t const nGoal = oFigures.nArrived.load() + nCycles;
    lSent_ns.reserve(nCycles);
    lSends.reserve(nCycles);
    uint64_t const nCpu = CpuTimeNs(getpid()) + CpuTimeNs(nReader);
    uint64_t nNext = NowNs();
    for (uint64_t n = 0; n < nCycles; ++n) {
        SleepUntilNs(nNext += kCycle_ns);
        lSends.push_back(oSender.Write(n));
        lSent_ns.push_back(oSender.SentNs());
    }
    uint64_t const nCpuUsed = CpuTimeNs(getpid()) + CpuTimeNs(nReader) - nCpu;
    WaitUntil([&] { return oFigures.nArrived.load() >= nGoal; }, "the last cycle to arrive");
    for (uint64_t n = 0; n < nCycles; ++n)
        lLatencies.push_back(oFigures.arArrival_ns[n] - lSent_ns[n]);
    oResult.fPaced_us = Us(Percentile(lSends, 0.5));
    oResult.fLatencyMedian_us = Us(Percentile(lLatencies, 0.5));
    oResult.fLatency99_us = Us(Percentile(lLatencies, 0.99));
    oResult.fCpu_ms = static_cast<double>(nCpuUsed) / 1e6 / static_cast<double>(nSeconds);
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

int Run(bool bQuick) {
    ServiceFolder const oFolder;
    int nFigures = -1;
    SharedFigures* const pFigures = SharedFigures::Create(nFigures);
    int const nBursts = bQuick ? 100 : 2000;
    uint64_t const nSeconds = bQuick ? 2 : 20;

    RoadFigures oBare, oOurs;
    std::printf("bare socket ...\n");
    {
        BareSocket oSocket("reader", nFigures);
        WaitUntil([&] { return pFigures->bReady.load(); }, "the reader");
        oBare.fFlatOut_us = FlatOut(oSocket, *pFigures, nBursts);
        Paced(oSocket, *pFigures, oSocket.Reader(), nSeconds, oBare);
    }
    double fBareRound_us = 0;
    {
        BareSocket oSocket("echo", nFigures);
        std::vector<uint64_t> lSamples;
        for (int n = 0; n < (bQuick ? 2000 : 50000); ++n)
            lSamples.push_back(oSocket.PingPong(128));
        fBareRound_us = Us(Percentile(lSamples, 0.5));
    }

    pFigures->bReady = false;
    RoleProcess oRecorder("recorder", nFigures);
    WaitUntil([&] { return pFigures->bReady.load(); }, "the recorder");
    Device oDevice;
    oDevice.Start();
    std::printf("device ...\n");
    oOurs.fFlatOut_us = FlatOut(oDevice, *pFigures, nBursts);
    CycleSender oCycles{oDevice};
    Paced(oCycles, *pFigures, oRecorder.Id(), nSeconds, oOurs);
    double const fRound_us = RoundTrips().MedianUs(bQuick ? 2000 : 50000);
    double const fGet_ns = oDevice.GetUInt32Ns();
    std::printf("stopped recorder ...\n");
    uint64_t nGrownKiB = 0;
    double const fLongest_ms = LongestWithStoppedRecorderMs(oDevice, oRecorder.Id(), bQuick ? 3 : 60, nGrownKiB);
    oDevice.Stop();

    return PrintRows({
               {"DoIOOperation(WriteMix, 512 frames), back to back, median", oOurs.fFlatOut_us, oBare.fFlatOut_us, "µs",
                1.5},
               {"the same, paced at 86 a second, median", oOurs.fPaced_us, oBare.fPaced_us, "µs", 1.5},
               {"from that call to the recorder's handler, paced, median", oOurs.fLatencyMedian_us,
                oBare.fLatencyMedian_us, "µs", 1.5},
               {"the same, 99th percentile", oOurs.fLatency99_us, oBare.fLatency99_us, "µs", 1.5},
               {"CPU of server and recorder per second of audio, paced", oOurs.fCpu_ms, oBare.fCpu_ms, "ms", 1.5},
               {"message with reply, round trip, median", fRound_us, fBareRound_us, "µs", 2.0},
               {"GetPropertyData of a UInt32", fGet_ns, 0, "ns", 50},
               {"recorder stopped: longest DoIOOperation at 20 × speed", fLongest_ms, 0, "ms", 1},
               {"recorder stopped: memory grown by", static_cast<double>(nGrownKiB) / 1024, 0, "MiB", 16},
           })
               ? 0
               : 1;
}

} // namespace

int main(int nArguments, char** ppArguments) {
    std::string const szFirst = nArguments > 1 ? ppArguments[1] : "";
    if (szFirst == "--role" && nArguments == 5) {
        std::string const szRole = ppArguments[2];
        int const nFigures = std::atoi(ppArguments[3]), nSocket = std::atoi(ppArguments[4]);
        if (szRole == "recorder")
            RunRecorderRole(nFigures);
        RunReaderRole(nFigures, nSocket, szRole == "echo");
    }
    if (szFirst != "" && szFirst != "--quick") {
        std::fprintf(stderr, "usage: bench_device [--quick]\n");
        return 2;
    }
    return Run(szFirst == "--quick");
}
