// The broker between recorders and plug-ins, as a mach service of this user's.
#pragma once

#include "tools/process/event_line.h"

#include <functional>
#include <memory>

// A recorder gives it its endpoint (NEW_ENDPOINT) and takes it back (CLOSE_ENDPOINT); the newest recorder counts, and
// when it dies or takes its endpoint back, the one before it that is still there. A plug-in asks for it (REQUEST_ENDPOINT): it gets the endpoint in the reply, or an empty
// reply and the endpoint as a message when a recorder comes. Every plug-in that has ever asked is sent each new
// endpoint, which is how a recorder that was started again is found.
//
// Serves on the connections' own threads from construction to destruction. Any thread.
class HelperService {
public:
    // oReport gets an event line for what happened (see helper_command.h); oLost is called when the service cannot be
    // served, or no longer. Both are called on the connections' threads.
    HelperService(std::function<void(EventLine const&)> oReport, std::function<void()> oLost);
    ~HelperService();
    HelperService(HelperService const&) = delete;
    HelperService& operator=(HelperService const&) = delete;

    // The process that whoever connects to the service's name now reaches; 0 when there is none, or when it does not
    // answer within two seconds. Asks the service itself.
    static pid_t ServingProcess();

private:
    class Core;
    std::shared_ptr<Core> pCore; // shared with the listener's handler
};
