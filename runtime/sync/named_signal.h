// Events by name, for one process to wake another: a socket file in the user's "Library/Application Support" folder.
//
// A name is a file name, or a path of folders and a file name, below that folder. Names that are empty, that would
// lead out of the folder (absolute, or with an empty part, "." or "..") or whose path is longer than a socket's address
// takes (104 bytes) are refused: the object then does nothing and waits are false at once.
#pragma once

#include "base/file_descriptor.h"

#include <cstddef>
#include <sys/socket.h>
#include <sys/un.h>

// The address of a name.
class LSignalName {
public:
    static constexpr std::size_t kMaxPath = 104;

    explicit LSignalName(char const* szName) noexcept;

    // False when the name was refused, or the user has no such folder.
    bool IsValid() const noexcept { return szPath[0] != '\0'; }
    char const* GetPath() const noexcept { return szPath; } // "" when not valid

    // Makes the folders that are missing. No report: where one can't be made, Bind fails.
    void MakeFolder() const noexcept;

    bool Bind(int hSocket) const noexcept;
    bool Connect(int hSocket) const noexcept;

    // Tells the waiter of this name, if there is one: connects, writes one byte, closes. Never blocks, no report.
    void Signal() const noexcept;

    // A new stream socket, non-blocking and closed on exec; not open when there is none to be had.
    static LFileDescriptor MakeSocket() noexcept;

private:
    sockaddr_un oAddress{};
    char szPath[kMaxPath + 1] = ""; // the same with the NUL that an address may lack
};

// The end that is woken. One waiter a name: a later one, of this process or another, takes the name over, and the file
// that it finds there goes. One thread at a time.
class LSignalObjectNamedWaiter {
public:
    explicit LSignalObjectNamedWaiter(char const* szName) noexcept;

    // Closes the sockets and removes the socket file, unless the name has been taken over.
    ~LSignalObjectNamedWaiter();
    LSignalObjectNamedWaiter(LSignalObjectNamedWaiter const&) = delete;
    LSignalObjectNamedWaiter& operator=(LSignalObjectNamedWaiter const&) = delete;

    // True when a signal came within the timeout (milliseconds) or was waiting already. Each signal ends one wait; the
    // signals that come while nobody waits are kept, up to about five.
    bool WaitSignal(unsigned int nTimeout) noexcept;

    // Reads away what the last signal sent. Signals that nobody waited for yet stay.
    void Reset() noexcept;

    // False when the name could not be had: waits are then false at once.
    bool IsListening() const noexcept { return hListening.IsOpen(); }

private:
    bool IsFileMine() const noexcept;

    LSignalName oName;
    LFileDescriptor hListening;
    LFileDescriptor hAccepted; // the connection that the last signal came over
    dev_t nFileDevice = 0;     // which file the listening socket made
    ino_t nFileNumber = 0;
};

// The end that wakes. Any thread.
class LSignalObjectNamedSignaller {
public:
    explicit LSignalObjectNamedSignaller(char const* szName) noexcept : oName(szName) {}
    void Signal() noexcept { oName.Signal(); }

private:
    LSignalName oName;
};

// A signaller that also ends the name: its destructor removes the socket file, whoever listens there. One thread at a
// time.
class LSignalObjectNamed {
public:
    explicit LSignalObjectNamed(char const* szName) noexcept : oName(szName) {}
    ~LSignalObjectNamed();
    LSignalObjectNamed(LSignalObjectNamed const&) = delete;
    LSignalObjectNamed& operator=(LSignalObjectNamed const&) = delete;

    void Signal() noexcept { oName.Signal(); }

    // Reads away what came over its socket, if it has one.
    void Reset() noexcept;

protected:
    LFileDescriptor hSocket; // for a derived class that takes a connection of its own; none of the above opens it

private:
    LSignalName oName;
};
