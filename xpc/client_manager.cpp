#include "xpc/client_manager.h"

#include "xpc/code_hold.h"

#include <atomic>
#include <exception>
#include <unistd.h>

constinit LRecursiveMutex LXPCClientManager::mtxClients;
constinit LImmortal<LList<LXPCClientListable>> LXPCClientManager::lClients;
constinit LImmortal<LList<LXPCClientListable>> LXPCClientManager::lLeaving;
constinit long LXPCClientManager::nClientCount = 0;

namespace {
constinit std::atomic<pid_t> nProcess{0}; // that has loaded, or made the newest client
}

int LXPCClientManager::Create(LXPCClientEventNotify* pSink) noexcept try {
    auto pClient = std::make_unique<LXPCClientListable>(pSink);
    LScopedLock const oLock(mtxClients);
    int const nId = static_cast<int>(++nClientCount);
    pClient->nClientId = nId;
    lClients->Insert(std::move(pClient));
    nProcess = getpid();
    return nId;
} catch (std::exception const&) {
    return 0;
}

LXPCClient* LXPCClientManager::GetClient(int nId) noexcept {
    LScopedLock const oLock(mtxClients);
    return lClients->Find([nId](LXPCClientListable const& oClient) { return oClient.nClientId == nId; });
}

std::unique_ptr<LXPCClientListable> LXPCClientManager::Unlink(int nId) noexcept {
    LScopedLock const oLock(mtxClients);
    return lClients->Unlink([nId](LXPCClientListable const& oClient) { return oClient.nClientId == nId; });
}

std::unique_ptr<LXPCClientListable> LXPCClientManager::UnlinkFirst() noexcept {
    LScopedLock const oLock(mtxClients);
    return lClients->UnlinkFirst();
}

// Deleted without the mutex: deleting waits for sink calls, and those may want it.
void LXPCClientManager::Destroy(int nId) noexcept {
    Unlink(nId);
}

void LXPCClientManager::DestroyAll() noexcept {
    LList<LXPCClientListable> lEnding;
    {
        LScopedLock const oLock(mtxClients);
        lEnding.TakeAll(*lClients);
        nClientCount = 0;
    }
    for (LXPCClientListable& oClient : lEnding)
        oClient.StopEvents();
    for (LXPCClientListable& oClient : lEnding)
        oClient.DisconnectAll();
}

bool LXPCClientManager::Connect(int nId, char const* szName, unsigned long nInstance, bool bMachService) noexcept {
    LXPCClient* const pClient = GetClient(nId);
    return pClient && pClient->Connect(szName, nInstance, bMachService);
}

bool LXPCClientManager::ConnectEndPoint(int nId, char const* szName, unsigned long nInstance,
                                        xpc_object_t pEndPoint) noexcept {
    LXPCClient* const pClient = GetClient(nId);
    return pClient && pClient->ConnectEndPoint(szName, nInstance, pEndPoint);
}

xpc_object_t LXPCClientManager::CreateEndPoint(int nId, char const* szName, unsigned long nInstance) noexcept {
    LXPCClient* const pClient = GetClient(nId);
    return pClient ? pClient->CreateEndPoint(szName, nInstance) : nullptr;
}

void LXPCClientManager::Disconnect(int nId, char const* szName, unsigned long nInstance) noexcept {
    if (LXPCClient* const pClient = GetClient(nId))
        pClient->Disconnect(szName, nInstance);
}

void LXPCClientManager::Suspend(int nId, char const* szName, unsigned long nInstance) noexcept {
    if (LXPCClient* const pClient = GetClient(nId))
        pClient->Suspend(szName, nInstance);
}

void LXPCClientManager::Resume(int nId, char const* szName, unsigned long nInstance) noexcept {
    if (LXPCClient* const pClient = GetClient(nId))
        pClient->Resume(szName, nInstance);
}

bool LXPCClientManager::IsConnectionValid(int nId, char const* szName, unsigned long nInstance) noexcept {
    LXPCClient* const pClient = GetClient(nId);
    return pClient && pClient->IsConnectionValid(szName, nInstance);
}

void LXPCClientManager::AddKey(int nId, char const* szName, LXPCDataType nType, bool bReceive) noexcept {
    if (LXPCClient* const pClient = GetClient(nId))
        pClient->AddKey(szName, nType, bReceive);
}

void LXPCClientManager::AddKeys(int nId, LXPCDictionaryKey const* arTable, bool bReceive) noexcept {
    for (; arTable && arTable->szName[0]; ++arTable)
        AddKey(nId, arTable->szName, arTable->nType, bReceive);
}

void LXPCClientManager::SendMessage(int nId, char const* szName, unsigned long nInstance,
                                    LList<LXPCDataListable> const& lItems, bool bWantReply) noexcept {
    LXPCDataArray const oArray(lItems);
    if (oArray.IsComplete())
        SendMessage(nId, szName, nInstance, oArray.arItems.get(), oArray.nCount, bWantReply);
}

void LXPCClientManager::SendMessage(int nId, char const* szName, unsigned long nInstance, LXPCData const* arItems,
                                    unsigned long nCount, bool bWantReply) noexcept {
    if (LXPCClient* const pClient = GetClient(nId))
        pClient->SendMessage(szName, nInstance, arItems, nCount, bWantReply);
}

// No other thread is there, and the mutex is not yet.
void LXPCClientManager::StartList() noexcept NO_THREAD_SAFETY_ANALYSIS {
    lClients->Clear();
    nClientCount = 0;
    nProcess = getpid();
    LXPCCodeHold::Start();
}

bool LXPCClientManager::IsOwn() noexcept {
    return nProcess == getpid();
}

void LXPCClientManager::StartMutex() noexcept {
    mtxClients.Create();
}

void LXPCClientManager::EndMutex() noexcept {
    while (std::unique_ptr<LXPCClientListable> pClient = UnlinkFirst()) {
        pClient->StopEvents();
        lLeaving->Insert(std::move(pClient));
    }
    mtxClients.Destroy();
}

// No sink runs any more; what is waited for are threads of the platform's with a few lines left to run. One that is
// still there after ten seconds is stopped or starved. Going on then may crash, if the code goes away and that thread
// comes back; waiting for good would surely hang the host, and all sound of the machine, on a thread that may never run
// again. And when the process ends the code does not go away, so nothing is lost.
void LXPCClientManager::EndList() noexcept {
    constexpr unsigned kLongest_ms = 10000;
    lLeaving->Clear();
    LXPCCodeHold::EndWhenNone(kLongest_ms);
}
