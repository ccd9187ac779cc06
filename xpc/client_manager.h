// The process-wide registry of clients.
#pragma once

#include "base/immortal.h"
#include "base/mutex.h"
#include "xpc/client.h"

// A client under its number.
class LXPCClientListable : public LXPCClient {
public:
    using LXPCClient::LXPCClient;

    int nClientId = 0; // given with the place in the list
    LXPCClientListable* pNext = nullptr;
};

// Keeps clients under integer IDs, 1, 2, 3 and so on, and offers every operation of a client by ID; with an unknown ID
// it does nothing and returns false or null. Any thread, between load and unload (below); nothing throws.
//
// The registry's mutex is held for looking up and linking only, and never while a sink is called, a client's lock is
// taken or anything is waited for. Where the driver's state mutex is held too, that one was taken first. A client must
// not be destroyed while another thread uses it through its ID or pointer; the sinks of the client itself may.
class LXPCClientManager {
public:
    // The new client's ID; 0, which no client has, when memory has run out.
    static int Create(LXPCClientEventNotify* pSink) noexcept;

    // The client, the registry's; null when there is none.
    static LXPCClient* GetClient(int nId) noexcept;

    // Destroys the client; the sink is called no more when it returns, unless it is called from that sink (see
    // LXPCGate).
    static void Destroy(int nId) noexcept;
    // The same with every client: first all connections end, then the clients. IDs start at 1 again.
    static void DestroyAll() noexcept;

    // As the operations of LXPCClient and LXPCBase. A null table holds nothing.
    static bool Connect(int nId, char const* szName, unsigned long nInstance, bool bMachService) noexcept;
    static bool ConnectEndPoint(int nId, char const* szName, unsigned long nInstance, xpc_object_t pEndPoint) noexcept;
    static xpc_object_t CreateEndPoint(int nId, char const* szName, unsigned long nInstance) noexcept;
    static void Disconnect(int nId, char const* szName, unsigned long nInstance) noexcept;
    static void Suspend(int nId, char const* szName, unsigned long nInstance) noexcept;
    static void Resume(int nId, char const* szName, unsigned long nInstance) noexcept;
    static bool IsConnectionValid(int nId, char const* szName, unsigned long nInstance) noexcept;
    static void AddKey(int nId, char const* szName, LXPCDataType nType, bool bReceive) noexcept;
    static void AddKeys(int nId, LXPCDictionaryKey const* arTable, bool bReceive) noexcept;
    static void SendMessage(int nId, char const* szName, unsigned long nInstance, LList<LXPCDataListable> const& lItems,
                            bool bWantReply) noexcept;
    static void SendMessage(int nId, char const* szName, unsigned long nInstance, LXPCData const* arItems,
                            unsigned long nCount, bool bWantReply) noexcept;

    // Load and unload, in this order, on the loading and the unloading thread while no other thread calls in.
    static void StartList() noexcept;
    static void StartMutex() noexcept;
    // Takes the clients out of the registry, those too that sinks create meanwhile, and waits for their sink calls,
    // which may want the mutex; then destroys it.
    static void EndMutex() noexcept;
    // Deletes the clients and waits, at most ten seconds, until the platform has let go of their handlers: those are
    // code that is about to go away.
    static void EndList() noexcept;

    // Whether this process is the one that loaded, or has made a client since. A forked child, whose registry is a
    // copy, must leave the two ends out otherwise: it has none of the threads that they wait for. Any thread.
    static bool IsOwn() noexcept;

private:
    static std::unique_ptr<LXPCClientListable> Unlink(int nId) noexcept;
    static std::unique_ptr<LXPCClientListable> UnlinkFirst() noexcept;

    static constinit LRecursiveMutex mtxClients;
    static constinit LImmortal<LList<LXPCClientListable>> lClients GUARDED_BY(mtxClients); // newest first
    static constinit LImmortal<LList<LXPCClientListable>> lLeaving;                        // between the two ends
    static constinit long nClientCount GUARDED_BY(mtxClients);                             // the last ID given
};
