// Where plug-ins reach a recorder: an endpoint, and the connections that come through it.
#pragma once

#include "tools/process/event_line.h"
#include "tools/roles/audio_intake.h"
#include "xpc/object.h"

#include <functional>
#include <memory>

// Audio goes to the intake straight from each connection's thread. A connection is forgotten when its other end goes,
// so that a recorder may run for weeks and be connected to any number of times. Any thread.
class PlugInConnections {
public:
    // oReport gets an event line for each volume change, on the connections' threads. Throws Failure(Service) when no
    // endpoint can be made.
    PlugInConnections(AudioIntake& oReceiving, std::function<void(EventLine const&)> oReport);
    ~PlugInConnections(); // nothing goes to the intake any more
    PlugInConnections(PlugInConnections const&) = delete;
    PlugInConnections& operator=(PlugInConnections const&) = delete;

    // To be given to whoever may send; stays this object's.
    xpc_object_t EndPoint() const noexcept { return oEndPoint.Get(); }

private:
    class Core;
    std::shared_ptr<Core> pCore; // shared with the listener's handler
    LXPCObject oEndPoint;
};
