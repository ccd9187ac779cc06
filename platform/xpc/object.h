// The root of all XPC objects: a type and a count.
#pragma once

#include <xpc/xpc.h>

#include <atomic>
#include <cstdint>
#include <utility>

namespace platform {

struct Object;

// How a value's type is written in a frame; part of the message format, never renumbered.
enum class WireType : uint8_t {
    None = 0, // never written
    Null = 1,
    Bool = 2,
    Int64 = 3,
    UInt64 = 4,
    Double = 5,
    Date = 6,
    Data = 7,
    String = 8,
    Uuid = 9,
    FileDescriptor = 10,
    Endpoint = 11,
    Array = 12,
    Dictionary = 13,
};

} // namespace platform

struct _xpc_type_s {
    char const* szName;
    platform::WireType eWire;
    void (*pDestroy)(platform::Object* pObject);
};

namespace platform {

// Any thread. The objects of this layer have no virtual functions, so that an xpc_object_t, a void*, is the address of
// the Object whatever its type.
struct Object {
    constexpr explicit Object(xpc_type_t pTypeOfObject, uint32_t nReferencesAtFirst = 1) noexcept
        : pType(pTypeOfObject), nReferences(nReferencesAtFirst) {}
    Object(Object const&) = delete;
    Object& operator=(Object const&) = delete;

    void Retain() noexcept { nReferences.fetch_add(1, std::memory_order_relaxed); }
    void Release() noexcept {
        if (nReferences.fetch_sub(1, std::memory_order_acq_rel) == 1)
            pType->pDestroy(this);
    }
    // One more reference unless the last one has gone already.
    bool TryRetain() noexcept {
        uint32_t n = nReferences.load(std::memory_order_relaxed);
        while (n != 0)
            if (nReferences.compare_exchange_weak(n, n + 1, std::memory_order_relaxed))
                return true;
        return false;
    }

    xpc_type_t const pType;
    std::atomic<uint32_t> nReferences;

protected:
    constexpr ~Object() = default;
};

// The count of objects that are never freed starts so high that it can't reach 0.
constexpr uint32_t kImmortal = 1u << 30;

// A counted pointer to an object.
template <class T>
class Ref {
public:
    Ref() noexcept = default;
    Ref(Ref const& oOther) noexcept : pObject(oOther.pObject) {
        if (pObject)
            pObject->Retain();
    }
    Ref(Ref&& oOther) noexcept : pObject(std::exchange(oOther.pObject, nullptr)) {}
    template <class Derived>
    Ref(Ref<Derived>&& oOther) noexcept : pObject(oOther.Detach()) {}
    Ref& operator=(Ref oOther) noexcept {
        std::swap(pObject, oOther.pObject);
        return *this;
    }
    ~Ref() {
        if (pObject)
            pObject->Release();
    }

    // Takes over a reference, or takes one more.
    static Ref Adopt(T* pObject) noexcept { return Ref(pObject); }
    static Ref Retain(T* pObject) noexcept {
        if (pObject)
            pObject->Retain();
        return Ref(pObject);
    }

    T* Get() const noexcept { return pObject; }
    T* operator->() const noexcept { return pObject; }
    T& operator*() const noexcept { return *pObject; }
    explicit operator bool() const noexcept { return pObject != nullptr; }
    T* Detach() noexcept { return std::exchange(pObject, nullptr); }

private:
    explicit Ref(T* pObjectToOwn) noexcept : pObject(pObjectToOwn) {}
    T* pObject = nullptr;
};

inline Object* ObjectOf(xpc_object_t pObject) noexcept {
    return static_cast<Object*>(pObject);
}

} // namespace platform

// The errors are objects of their own kind, told apart by address.
struct _xpc_error_s : platform::Object {
    constexpr explicit _xpc_error_s(char const* szWhat) noexcept
        : Object(XPC_TYPE_ERROR, platform::kImmortal), szDescription(szWhat) {}
    char const* const szDescription;
};
