// Mach services as sockets in a folder that only this user can enter.
#pragma once

#include "platform/xpc/file_descriptor.h"

#include <string>
#include <sys/types.h>

namespace platform {

// A name that can be served: not empty, no '/', no dot in front, at most 80 bytes.
bool IsServiceName(std::string const& szName) noexcept;

enum class ConnectResult {
    Connected,
    Busy,    // somebody serves the name, with more callers waiting than fit: worth a try in a while
    Refused, // nobody serves it, somebody else's user does, or the folder can't be used
};

// Connects to whoever serves the name. Never blocks. Any thread.
ConnectResult ConnectToService(std::string const& szName, FileDescriptor& oSocket) noexcept;

// A name being served: a listening socket in the folder. Any thread, one at a time.
class ServedName {
public:
    ServedName() = default;
    ServedName(ServedName&&) noexcept = default;
    ~ServedName() { Withdraw(); }

    // Takes the name. The socket of a server that died is taken over; a name that is being served is left alone, and
    // false is the answer, as for a folder or a name that can't be used.
    bool Serve(std::string const& szNameToServe);

    // Closes the socket and removes the name, unless somebody else has it by now.
    void Withdraw() noexcept;

    int Socket() const noexcept { return oSocket.Get(); }

private:
    std::string szName;
    FileDescriptor oSocket;
    dev_t nDevice = 0;
    ino_t nInode = 0;
};

// The process and user at the other end of a socket; false when the kernel does not say.
struct PeerCredentials {
    pid_t nProcess = 0;
    uid_t nUser = static_cast<uid_t>(-1);

    bool Read(int nSocket) noexcept;
};

} // namespace platform
