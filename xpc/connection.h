// The record of one connection.
#pragma once

#include <xpc/xpc.h>

#include <cstdint>

class LXPCConnectionClient;

// Holds a connection's handle with the references that it owes for it. A handle that it is given is suspended, as the
// platform creates them. Deleting the record ends the connection. No lock of its own: one thread at a time.
class LXPCConnection {
public:
    LXPCConnection() noexcept = default;
    LXPCConnection(LXPCConnection const&) = delete;
    LXPCConnection& operator=(LXPCConnection const&) = delete;
    virtual ~LXPCConnection(); // Destroy()

    // Holds the handle from here on, with one reference that the caller had. Only for a record without a handle.
    void Adopt(xpc_connection_t pCounted) noexcept;

    bool IsValid() const noexcept { return hConnection != kEmpty; }

    // Neither nests: two suspensions are ended by one Resume.
    void Resume() noexcept;
    void Suspend() noexcept;

    // One reference more or fewer. Release without one does nothing; the last one leaves the record without a handle.
    void Retain() noexcept;
    void Release() noexcept;

    // Ends the connection. Its handler is replaced first, so that nobody is told.
    void Cancel() noexcept;

    // Resumes the connection when suspended (a suspended one can't be cancelled), cancels it, drops one reference.
    void Destroy() noexcept;

    xpc_connection_t Handle() const noexcept;

    static constexpr long kEmpty = -1;

    LXPCConnectionClient* pNext = nullptr; // in the owning client's list
    long hConnection = kEmpty;
    bool bSuspended = true;
    std::uint64_t nRetainCount = 0; // references that the record holds on the handle
};
