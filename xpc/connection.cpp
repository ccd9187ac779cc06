#include "xpc/connection.h"

#include "xpc/code_hold.h"
#include "xpc/data.h"

LXPCConnection::~LXPCConnection() {
    Destroy();
}

xpc_connection_t LXPCConnection::Handle() const noexcept {
    return LXPCPointer<xpc_connection_t>(hConnection);
}

void LXPCConnection::Adopt(xpc_connection_t pCounted) noexcept {
    hConnection = LXPCValue(pCounted);
    nRetainCount = 1;
    LXPCCodeHold::Cover(pCounted);
}

void LXPCConnection::Resume() noexcept {
    if (!bSuspended)
        return;
    xpc_connection_resume(Handle());
    bSuspended = false;
}

void LXPCConnection::Suspend() noexcept {
    if (bSuspended)
        return;
    xpc_connection_suspend(Handle());
    bSuspended = true;
}

void LXPCConnection::Retain() noexcept {
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

void LXPCConnection::Cancel() noexcept {
    if (!IsValid())
        return;
    xpc_connection_set_event_handler(Handle(), [](xpc_object_t) {});
    xpc_connection_cancel(Handle());
}

void LXPCConnection::Destroy() noexcept {
    if (!IsValid())
        return;
    Resume();
    Cancel();
    Release();
}
