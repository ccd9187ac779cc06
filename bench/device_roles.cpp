#include "bench/device_roles.h"

#include "bench/measure.h"
#include "xpc/client_manager.h"
#include "xpc/helperlink/helper_keys.h"

#include <xpc/xpc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void Fail(char const* szWhat) {
    std::perror(szWhat);
    std::exit(1);
}

// The sequence number that a message's bytes begin with.
uint64_t SequenceOf(void const* pBytes) {
    uint64_t nSequence = 0;
    std::memcpy(&nSequence, pBytes, sizeof nSequence);
    return nSequence % SharedFigures::kArrivals;
}

class RecorderSink : public LXPCClientEventNotify {
public:
    explicit RecorderSink(SharedFigures* pToFill) : pFigures(pToFill) {}
    LXPCClient* pClient = nullptr;

    void EvConnectionError(long, LXPCErrorType) override {}
    void EvMessageSent(long) override {}
    void EvMessageReceived(long connection, long message, LXPCData const* items, unsigned long count) override {
        for (unsigned long n = 0; n < count; ++n)
            if (std::strcmp(items[n].szName, "AUDIO_DATA") == 0) {
                pFigures->arArrival_ns[SequenceOf(reinterpret_cast<void const*>(items[n].nValue))] = NowNs();
                pFigures->nArrived.fetch_add(1, std::memory_order_release);
            } else if (std::strcmp(items[n].szName, "START_RECORDING") == 0) {
                LList<LXPCDataListable> lAnswer;
                lAnswer.Insert(std::make_unique<LXPCDataListable>("START_RECORDING", LXPCDataType_Bool, 1));
                pClient->SendReply(connection, message, lAnswer);
            }
    }
    void EvReplyReceived(long, LXPCData const*, unsigned long) override {}

private:
    SharedFigures* pFigures;
};

} // namespace

SharedFigures* SharedFigures::Create(int& nDescriptor) {
    nDescriptor = memfd_create("figures", 0);
    if (nDescriptor < 0 || ftruncate(nDescriptor, sizeof(SharedFigures)) != 0)
        Fail("memory file");
    return Map(nDescriptor);
}

SharedFigures* SharedFigures::Map(int nDescriptor) {
    void* const pMemory = mmap(nullptr, sizeof(SharedFigures), PROT_READ | PROT_WRITE, MAP_SHARED, nDescriptor, 0);
    if (pMemory == MAP_FAILED)
        Fail("mmap");
    return static_cast<SharedFigures*>(pMemory);
}

RoleProcess::RoleProcess(std::string const& szRole, int nFiguresDescriptor, int nSocket) {
    std::string const szFigures = std::to_string(nFiguresDescriptor), szSocket = std::to_string(nSocket);
    nProcess = fork();
    if (nProcess < 0)
        Fail("fork");
    if (nProcess == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execl("/proc/self/exe", "bench_device", "--role", szRole.c_str(), szFigures.c_str(), szSocket.c_str(), nullptr);
        _exit(127);
    }
}

RoleProcess::~RoleProcess() {
    kill(nProcess, SIGKILL);
    waitpid(nProcess, nullptr, 0);
}

void RunRecorderRole(int nFiguresDescriptor) {
    auto* const pFigures = SharedFigures::Map(nFiguresDescriptor);
    auto* const pSink = new RecorderSink(pFigures);
    int const nClientId = LXPCClientManager::Create(pSink);
    LXPCClientManager::AddKeys(nClientId, arVADHelperRxKeys, false);
    LXPCClientManager::AddKeys(nClientId, arVADHelperTxKeys, true);
    pSink->pClient = LXPCClientManager::GetClient(nClientId);
    xpc_object_t const endpoint = LXPCClientManager::CreateEndPoint(nClientId, "Device", 0);
    if (endpoint == nullptr)
        Fail("endpoint");

    xpc_connection_t const listener = xpc_connection_create_mach_service("com.tarnwicksoftware.Lumora.VadHelper",
                                                                         nullptr, XPC_CONNECTION_MACH_SERVICE_LISTENER);
    xpc_connection_set_event_handler(listener, [endpoint](xpc_object_t peer) {
        if (xpc_get_type(peer) != XPC_TYPE_CONNECTION)
            Fail("the service's name is taken");
        auto const connection = static_cast<xpc_connection_t>(xpc_retain(peer));
        xpc_connection_set_event_handler(connection, [connection, endpoint](xpc_object_t event) {
            if (xpc_get_type(event) != XPC_TYPE_DICTIONARY)
                return;
            if (xpc_object_t const reply = xpc_dictionary_create_reply(event)) {
                xpc_dictionary_set_value(reply, "SEND_ENDPOINT", endpoint);
                xpc_connection_send_message(connection, reply);
                xpc_release(reply);
            }
        });
        xpc_connection_resume(connection);
    });
    xpc_connection_resume(listener);
    pFigures->bReady = true;
    for (;;)
        pause();
}

void RunReaderRole(int nFiguresDescriptor, int nSocket, bool bEcho) {
    auto* const pFigures = SharedFigures::Map(nFiguresDescriptor);
    pFigures->bReady = true;
    alignas(8) static char arBytes[65536];
    for (;;) {
        pollfd oPoll{nSocket, POLLIN, 0};
        if (bEcho)
            poll(&oPoll, 1, -1);
        ssize_t const nBytes = recv(nSocket, arBytes, sizeof arBytes, 0);
        if (nBytes <= 0)
            _exit(0);
        if (bEcho) {
            if (send(nSocket, arBytes, static_cast<size_t>(nBytes), MSG_NOSIGNAL) < 0)
                _exit(0);
            continue;
        }
        pFigures->arArrival_ns[SequenceOf(arBytes)] = NowNs();
        pFigures->nArrived.fetch_add(1, std::memory_order_release);
    }
}
