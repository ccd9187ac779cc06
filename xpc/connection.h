// The record of one connection.
#pragma once

#include <xpc/xpc.h>

#include <cstdint>

class LXPCConnectionClient;

// Holds a connection's handle with the references that it owes for it. Deleting the record ends the connection. Without
// a handle every operation does nothing. No lock of its own: one thread at a time.
//
// Ending a connection tells the sink nothing of what it held back or of the end, with these exceptions: a request that
// is still without its answer gets an EvConnectionError (each request ends once, with either), and messages that were
// sent before are still reported sent.
class LXPCConnection {
public:
    LXPCConnection() noexcept = default;
    LXPCConnection(LXPCConnection const&) = delete;
    LXPCConnection& operator=(LXPCConnection const&) = delete;
    virtual ~LXPCConnection(); // Destroy()

    // Holds the handle, suspended as the platform creates it, with one reference that the caller had; a handle that the
    // record held before is ended. A handle is adopted once in its life, by one record.
    void Adopt(xpc_connection_t pCounted) noexcept;

    bool IsValid() const noexcept { return hConnection != kEmpty; }

    // Neither nests: two suspensions are ended by one Resume.
    void Resume() noexcept;
    void Suspend() noexcept;

    // One reference more or fewer. Release without one does nothing; the last one leaves the record without a handle.
    void Retain() noexcept;
    void Release() noexcept;

    // Ends the connection, which must not be suspended. Its handler is replaced first, by one that ignores every event.
    void Cancel() noexcept;

    // Ends the connection also when it is suspended, and drops one reference. It is resumed for that (a suspended one
    // can't be cancelled), but not before its handler has been replaced: what it held back is let go unseen.
    void Destroy() noexcept;

    xpc_connection_t Handle() const noexcept; // only of a record that has one

    static constexpr long kEmpty = -1;

    LXPCConnectionClient* pNext = nullptr; // in the owning client's list
    long hConnection = kEmpty;
    bool bSuspended = true;
    std::uint64_t nRetainCount = 0; // references that the record holds on the handle

private:
    void IgnoreEvents() noexcept;
};
