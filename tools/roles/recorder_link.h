// A recorder's connections: to the helper, which tells plug-ins of it, and from the plug-ins that play to it (see
// plugin_connections.h).
#pragma once

#include "base/mutex.h"
#include "tools/process/condition.h"
#include "tools/process/event_line.h"
#include "tools/roles/plugin_connections.h"
#include "xpc/client.h"

#include <chrono>
#include <functional>

// Any thread.
class RecorderLink : private LXPCClientEventNotify {
public:
    // oReport gets an event line for each volume change, and when the helper has come to know this recorder or has
    // gone; it is called on the connections' threads. Throws Failure(Service) when no endpoint can be made.
    RecorderLink(AudioIntake& oReceiving, std::function<void(EventLine const&)> oReport);
    ~RecorderLink() override;

    // Offers the endpoint to the helper when it does not know it (or has not answered for two seconds); to be called
    // every now and then. Returns at once: the answer comes later, as an event.
    void KeepRegistered() EXCLUDES(mtx);

    bool IsRegistered() EXCLUDES(mtx);

    // Takes the endpoint back, and waits at most nPatience for the helper to have heard it.
    void Unregister(std::chrono::milliseconds nPatience) EXCLUDES(mtx);

private:
    enum class State { Unknown, Asked, Registered, Withdrawing };

    void EvConnectionError(long nConnection, LXPCErrorType nType) override;
    void EvMessageSent(long) override {}
    void EvMessageReceived(long, long, LXPCData const*, unsigned long) override {}
    void EvReplyReceived(long nConnection, LXPCData const* arItems, unsigned long nCount) override;

    void Send(LXPCData const& oItem);
    void SetState(State nNew) EXCLUDES(mtx);

    std::function<void(EventLine const&)> oReporter;
    PlugInConnections oPlugIns;
    LMutex mtx;
    Condition oChanged;
    State nState GUARDED_BY(mtx) = State::Unknown;
    std::chrono::steady_clock::time_point oAskedAt GUARDED_BY(mtx);
    LXPCClient oClient; // last: its calls of this sink end before anything else goes
};
