#include "xpc/connection.h"

#include "xpc/code_hold.h"
#include "xpc/data.h"

#include <memory>
#include <new>

LXPCConnection::~LXPCConnection() {
    Destroy();
}

xpc_connection_t LXPCConnection::Handle() const noexcept {
    return LXPCPointer<xpc_connection_t>(hConnection);
}

void LXPCConnection::Adopt(xpc_connection_t pCounted) noexcept {
    hConnection = LXPCValue(pCounted);
    nRetainCount = 1;
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

void LXPCConnection::Cancel() noexcept try {
    if (!IsValid())
        return;
    // The platform calls this handler once more, later: until then the code may not go away.
    auto const pHold = std::make_shared<LXPCCodeHold>();
    xpc_connection_set_event_handler(Handle(), [pHold](xpc_object_t) {});
    xpc_connection_cancel(Handle());
} catch (std::bad_alloc const&) {
    xpc_connection_cancel(Handle()); // ended all the same; the handler before it then reports that
}

void LXPCConnection::Destroy() noexcept {
    if (!IsValid())
        return;
    Resume();
    Cancel();
    Release();
}
