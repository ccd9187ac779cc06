// The owner of one reference to an object of the platform's.
#pragma once

#include <xpc/xpc.h>

#include <utility>

// Releases its reference when it is destroyed; moves, never copies. One thread at a time.
class LXPCObject {
public:
    constexpr LXPCObject() noexcept = default;
    // Takes over a reference that the caller has (from a call named create, or xpc_retain); null is no object.
    explicit LXPCObject(xpc_object_t pCounted) noexcept : pObject(pCounted) {}
    LXPCObject(LXPCObject&& oOther) noexcept : pObject(std::exchange(oOther.pObject, nullptr)) {}
    LXPCObject& operator=(LXPCObject&& oOther) noexcept {
        LXPCObject oTaken(std::move(oOther));
        std::swap(pObject, oTaken.pObject);
        return *this;
    }
    ~LXPCObject() {
        if (pObject)
            xpc_release(pObject);
    }

    // One more reference, of its own; null stays null.
    static LXPCObject Retained(xpc_object_t pObject) noexcept {
        return LXPCObject(pObject ? xpc_retain(pObject) : nullptr);
    }

    explicit operator bool() const noexcept { return pObject != nullptr; }
    xpc_object_t Get() const noexcept { return pObject; }

    // Gives the reference away; the caller releases it.
    [[nodiscard]] xpc_object_t Detach() noexcept { return std::exchange(pObject, nullptr); }

private:
    xpc_object_t pObject = nullptr;
};
