#include "platform/testing/ports.h"
#include "tests/harness/child_process.h"
#include "tests/harness/faults.h"
#include "tests/harness/leak_check.h"
#include "tests/harness/temporary_folder.h"
#include "tests/harness/thread_state.h"
#include "tests/xpc/recording_sink.h"
#include "xpc/helperlink/helper_keys.h"

#include <atomic>
#include <csetjmp>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

// The bundle, as a host loads it. Closing it runs its clean-ups.
struct Bundle {
    Bundle() : pBundle(dlopen(LUMORA_STARTUP_BUNDLE, RTLD_NOW | RTLD_LOCAL)) { EXPECT_TRUE(pBundle) << dlerror(); }
    ~Bundle() {
        dlclose(pBundle);
        EXPECT_FALSE(dlopen(LUMORA_STARTUP_BUNDLE, RTLD_NOW | RTLD_NOLOAD)) << "the bundle is still loaded";
    }
    template <class Function>
    Function* Find(char const* szName) {
        return reinterpret_cast<Function*>(dlsym(pBundle, szName));
    }
    void* const pBundle;
};

enum class With { Nothing, Bundle, BundleOfThePast };

// How a process ends that does this, with the bundle loaded or not.
int StatusOf(void (*pDo)(), With nWith) {
    ChildProcess oChild([&](auto const&) {
        dup2(open("/dev/null", O_WRONLY), STDERR_FILENO); // a sanitizer's report
        std::optional<Bundle> oBundle;
        if (nWith != With::Nothing)
            oBundle.emplace();
        if (nWith == With::Bundle) { // so that each fault finds the thread there, and nothing locked by it
            while (PlatformReceivers() == 0)
                std::this_thread::yield();
            AwaitOthersAsleep();
        }
        if (nWith == With::BundleOfThePast)
            oBundle.reset();
        pDo();
        return 0;
    });
    return oChild.WaitStatus();
}

void OnAlternateStack(void (*pDo)()) {
    static char arStack[1 << 16];
    stack_t const oStack{arStack, 0, sizeof arStack};
    sigaltstack(&oStack, nullptr);
    pDo();
}

template <void (*pDo)()>
void OnAThread() {
    std::thread(pDo).join();
}

template <void (*pDo)()>
void OnTwoThreads() {
    static std::atomic<int> nThere{0};
    auto const oTogether = [] {
        for (++nThere; nThere < 2;)
            ;
        pDo();
    };
    std::thread oOther(oTogether);
    oTogether();
    oOther.join();
}

void SetHandler(int nSignal, void (*pHandler)(int, siginfo_t*, void*), int nFlags = 0) {
    struct sigaction oAction {};
    oAction.sa_sigaction = pHandler;
    oAction.sa_flags = SA_SIGINFO | nFlags;
    sigaction(nSignal, &oAction, nullptr);
}

sigjmp_buf gBack;

// A host that lives with its faults, the second as the first.
void Recover() {
    SetHandler(SIGSEGV, [](int, siginfo_t* pInfo, void*) {
        siglongjmp(gBack, pInfo->si_addr == reinterpret_cast<void*>(16) ? 1 : 9);
    });
    for (int n = 0; n < 2; ++n)
        if (int const nHow = sigsetjmp(gBack, 1); nHow == 0)
            FaultUnmapped();
        else if (nHow != 1)
            _exit(9);
    _exit(5);
}

// A host that hands on what it replaced.
struct sigaction gReplaced;
void HandOn(int nSignal) {
    struct sigaction oAction {};
    oAction.sa_flags = SA_SIGINFO | SA_ONSTACK;
    oAction.sa_sigaction = [](int nSent, siginfo_t* pInfo, void* pContext) {
        if (gReplaced.sa_flags & SA_SIGINFO)
            gReplaced.sa_sigaction(nSent, pInfo, pContext);
        else
            signal(nSent, SIG_DFL);
    };
    sigaction(nSignal, &oAction, &gReplaced);
}

// Its handler is over ours of the first load, and under ours of the second.
template <void (*pDo)()>
void HandOnAcrossLoads() {
    signal(SIGFPE, SIG_DFL);
    std::optional<Bundle> oBundle(std::in_place);
    HandOn(SIGFPE);
    oBundle.reset();
    oBundle.emplace();
    pDo();
}

// On the bundle's own thread, as no other takes the signal.
void ExitOnHandlerThread() {
    SetHandler(SIGSEGV, [](int, siginfo_t*, void*) { std::exit(12); });
    sigset_t oBlocked;
    sigfillset(&oBlocked);
    pthread_sigmask(SIG_SETMASK, &oBlocked, nullptr);
    kill(getpid(), SIGSEGV);
    for (;;)
        pause();
}

// Signals that were only sent, with the default, an ignoring and a counting host.
void SendToDefault() {
    raise(SIGFPE);
}
void SendToIgnoring() {
    signal(SIGSEGV, SIG_IGN);
    kill(getpid(), SIGSEGV);
    _exit(6);
}

// The child inherits the dispositions, but not the thread.
void FaultInFork() {
    pid_t const nChild = fork();
    if (nChild == 0) {
        FaultUnmapped();
        _exit(0);
    }
    int nStatus = 0;
    waitpid(nChild, &nStatus, 0);
    _exit(WIFSIGNALED(nStatus) ? 100 + WTERMSIG(nStatus) : WEXITSTATUS(nStatus));
}

// Runs the bundle's clean-ups without the bundle's thread.
void ExitInFork() {
    pid_t const nChild = fork();
    if (nChild == 0)
        std::exit(7);
    int nStatus = 0;
    waitpid(nChild, &nStatus, 0);
    _exit(WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : 99);
}

} // namespace

// Hosts here end the process in a signal's handler, on any thread and with others running; the thread sanitizer would
// put a status of its own in place of theirs.
extern "C" [[gnu::visibility("default")]] char const* __tsan_default_options() {
    return "report_thread_leaks=0:report_signal_unsafe=0";
}

TEST(Startup, FillsTheKeyTablesAndTheRegistryBeforeAnyCall) {
    Bundle oBundle;
    std::string arNames[2];
    for (bool bReceive : {false, true}) {
        auto const* pKey = oBundle.Find<LXPCDictionaryKey const*(bool)>("BundleKeys")(bReceive);
        for (; pKey->szName[0]; ++pKey)
            arNames[bReceive] += pKey->szName + (":" + std::to_string(pKey->nType)) + " ";
        EXPECT_EQ(pKey->nType, LXPCDataType_None);
    }
    EXPECT_EQ(arNames[0], "NEW_ENDPOINT:10 CLOSE_ENDPOINT:1 REQUEST_ENDPOINT:1 AUDIO_DATA:6 LOAD_DRIVER:8 "
                          "START_RECORDING:1 STOP_RECORDING:1 VOLUME_CHANGED:4 ");
    EXPECT_EQ(arNames[1], "NEW_ENDPOINT_REPLY:1 CLOSE_ENDPOINT_REPLY:1 SEND_ENDPOINT:10 AUDIO_DATA:6 "
                          "LOAD_DRIVER_REPLY:1 START_RECORDING:1 STOP_RECORDING:1 VOLUME_CHANGED:4 ");
    RecordingSink oSink;
    EXPECT_EQ(oBundle.Find<int(LXPCClientEventNotify*)>("BundleCreateClient")(&oSink), 1);
}

TEST(Startup, LeavesEveryEndOfTheProcessAsItIsWithoutTheBundle) {
    struct {
        char const* szWhat;
        void (*pDo)();
    } const arRows[] = {
        {"no page", FaultUnmapped},
        {"no address", FaultNonCanonical},
        {"read-only page", FaultReadOnly},
        {"beyond a file", FaultBeyondFile},
        {"instruction", FaultInstruction},
        {"division", FaultDivision},
        {"stack", FaultStack},
        {"stack, with another to stand on", [] { OnAlternateStack(FaultStack); }},
        {"on a thread", OnAThread<FaultUnmapped>},
        {"on a thread, division", OnAThread<FaultDivision>},
        {"on a thread, stack", OnAThread<FaultStack>},
        {"on two at once", OnTwoThreads<FaultUnmapped>},
        {"on two at once, instruction", OnTwoThreads<FaultInstruction>},
        {"sent", SendToDefault},
        {"sent and ignored", SendToIgnoring},
        {"ignored", [] { signal(SIGSEGV, SIG_IGN), FaultUnmapped(); }},
        {"recovered from", Recover},
        {"handed on", [] { HandOn(SIGSEGV), FaultUnmapped(); }},
        {"in a forked child", FaultInFork},
        {"exit in a forked child", ExitInFork},
    };
    for (auto const& oRow : arRows) {
        int const nPlain = StatusOf(oRow.pDo, With::Nothing);
        EXPECT_NE(nPlain, 0) << oRow.szWhat;
        EXPECT_EQ(StatusOf(oRow.pDo, With::Bundle), nPlain) << oRow.szWhat;
        EXPECT_EQ(StatusOf(oRow.pDo, With::BundleOfThePast), nPlain) << oRow.szWhat;
    }
    for (auto const pDo : {HandOnAcrossLoads<FaultDivision>, HandOnAcrossLoads<SendToDefault>})
        EXPECT_EQ(StatusOf(pDo, With::Nothing), SIGFPE);
    EXPECT_EQ(WEXITSTATUS(StatusOf(ExitOnHandlerThread, With::Bundle)), 12);
    // A host that was there first, and recovers.
    for (With const nWith : {With::Nothing, With::Bundle}) {
        SetHandler(
            SIGSEGV, [](int, siginfo_t*, void*) { _exit(8); }, SA_NODEFER);
        for (auto const pDo : {FaultUnmapped, +[] { raise(SIGSEGV), _exit(0); }})
            EXPECT_EQ(WEXITSTATUS(StatusOf(pDo, nWith)), 8);
        signal(SIGSEGV, SIG_DFL);
    }
}

// The child has the event that is being told, but not the thread that tells it.
TEST(Startup, LetsAForkedChildEndWhileTheLinkIsBusy) {
    std::promise<void> oEntered, oLeave;
    std::shared_future<void> const oMayLeave = oLeave.get_future();
    RecordingSink oSink;
    std::optional<Bundle> oBundle(std::in_place); // its end waits for the event
    oSink.SetInside([&, bFirst = true](SinkEvent const&) mutable {
        if (std::exchange(bFirst, false))
            oEntered.set_value();
        oMayLeave.wait();
    });
    int const nClient = oBundle->Find<int(LXPCClientEventNotify*)>("BundleCreateClient")(&oSink);
    EXPECT_TRUE(oBundle->Find<bool(int, char const*)>("BundleConnect")(nClient, "org.example.nobody"));
    oEntered.get_future().wait(); // that there is no such service
    pid_t const nChild = fork();
    if (nChild == 0) {
        alarm(60); // it would wait for good
        oBundle.reset();
        _exit(7); // leaks would be looked for on the threads that it does not have
    }
    int nStatus = 0;
    waitpid(nChild, &nStatus, 0);
    EXPECT_EQ(WEXITSTATUS(nStatus), 7);
    oLeave.set_value();
}

// As in a host that becomes a daemon between the load and its first use.
TEST(Startup, EndsTheClientsThatAForkedChildHasMade) {
    RecordingSink oSink;
    std::optional<Bundle> oBundle(std::in_place);
    auto* const pCreate = oBundle->Find<int(LXPCClientEventNotify*)>("BundleCreateClient");
    pid_t const nChild = fork();
    if (nChild == 0) {
        pCreate(&oSink);
        oBundle.reset();
        _exit(oSink.bEnabled ? 1 : 7);
    }
    int nStatus = 0;
    waitpid(nChild, &nStatus, 0);
    EXPECT_EQ(WEXITSTATUS(nStatus), 7);
}

TEST(Startup, LeavesNothingBehindAHundredTimes) {
    TemporaryFolder const oHome;
    setenv("HOME", oHome.Path().c_str(), 1);
    setenv("LOGNAME", "alice", 1);
    unsetenv("XDG_CACHE_HOME");
    auto const Files = [&] {
        std::vector<std::string> lFiles;
        for (auto const& oEntry : fs::recursive_directory_iterator(oHome.Path()))
            if (oEntry.is_regular_file())
                lFiles.push_back(oEntry.path());
        return lFiles;
    };
    std::string const szBefore = Dispositions();
    std::vector<std::string> lBefore;
    for (int n = 0; n < 100; ++n) {
        {
            Bundle oBundle;
            EXPECT_NE(Dispositions(), szBefore);
            EXPECT_EQ(PlatformPorts(), 1);
            EXPECT_TRUE(Files().empty());
        }
        EXPECT_EQ(Dispositions(), szBefore);
        EXPECT_EQ(PlatformPorts(), 0);
        // Threads are counted after the test: the kernel lists one for a while that has been joined.
        auto const lNow = ProcessCounts::Now().lDescriptors;
        if (n == 0)
            lBefore = lNow;
        EXPECT_EQ(lNow, lBefore);
    }
    // The run-lock file goes, whoever made it; a handler that somebody has set meanwhile stays.
    fs::path const oRunLock = oHome / "Library/Caches/_LumoraVADPlugin_rl_alice";
    {
        Bundle oBundle;
        std::ofstream(oRunLock) << "somebody's";
        ASSERT_TRUE(fs::exists(oRunLock));
        signal(SIGILL, SIG_IGN);
    }
    EXPECT_FALSE(fs::exists(oRunLock));
    EXPECT_EQ(signal(SIGILL, SIG_DFL), SIG_IGN);
}
