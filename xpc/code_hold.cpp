#include "xpc/code_hold.h"

#include <cstdint>
#include <exception>
#include <utility>

namespace {

constinit dispatch_group_t pCovered = nullptr; // entered once for each covered connection

} // namespace

void LXPCCodeHold::Start() noexcept try {
    if (!pCovered)
        pCovered = dispatch_group_create();
} catch (std::exception const&) {
}

void LXPCCodeHold::Cover(xpc_connection_t pConnection) noexcept {
    if (!pCovered)
        return;
    dispatch_group_enter(pCovered);
    xpc_connection_set_context(pConnection, pCovered);
    // Not a function of ours that calls this one: it would be the code that must not be running any more.
    xpc_connection_set_finalizer_f(pConnection, reinterpret_cast<xpc_finalizer_t>(dispatch_group_leave));
}

// A listener's handler may still cover a peer, to turn it away; the listener itself is counted meanwhile.
bool LXPCCodeHold::EndWhenNone(unsigned nTimeout_ms) noexcept {
    if (!pCovered)
        return true;
    bool const bNone =
        dispatch_group_wait(pCovered, dispatch_time(DISPATCH_TIME_NOW, std::int64_t{nTimeout_ms} * 1000000)) == 0;
    dispatch_release(std::exchange(pCovered, nullptr)); // where it is still entered, it keeps itself
    return bNone;
}
