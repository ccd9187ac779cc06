#include "xpc/connection.h"

#include "xpc/code_hold.h"
#include "xpc/data.h"

#include <exception>

LXPCConnection::~LXPCConnection() {
    Destroy();
}

xpc_connection_t LXPCConnection::Handle() const noexcept {
    return LXPCPointer<xpc_connection_t>(hConnection);
}

void LXPCConnection::Adopt(xpc_connection_t pCounted) noexcept {
    Destroy();
    hConnection = LXPCValue(pCounted);
    nRetainCount = 1;
    bSuspended = true;
    LXPCCodeHold::Cover(pCounted);
}

void LXPCConnection::Resume() noexcept try {
    if (!IsValid() || !bSuspended)
        return;
    bSuspended = false;
    xpc_connection_resume(Handle());
} catch (std::exception const&) { // memory ran out: nothing comes over this connection
}

void LXPCConnection::Suspend() noexcept {
    if (!IsValid() || bSuspended)
        return;
    xpc_connection_suspend(Handle());
    bSuspended = true;
}

void LXPCConnection::Retain() noexcept {
    if (!IsValid())
        return;
    xpc_retain(Handle());
    ++nRetainCount;
}

void LXPCConnection::Release() noexcept {
    if (nRetainCount == 0)
        return;
    xpc_release(Handle());
    if (--nRetainCount == 0)
        hConnection = kEmpty;
}

void LXPCConnection::IgnoreEvents() noexcept try {
    xpc_connection_set_event_handler(Handle(), [](xpc_object_t) {});
} catch (std::exception const&) { // memory ran out: the sink may hear of the end
}

void LXPCConnection::Cancel() noexcept {
    if (!IsValid())
        return;
    IgnoreEvents();
    xpc_connection_cancel(Handle());
}

void LXPCConnection::Destroy() noexcept {
    if (!IsValid())
        return;
    IgnoreEvents();
    Resume();
    xpc_connection_cancel(Handle());
    Release();
}
