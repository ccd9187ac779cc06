#include "platform/xpc/values.h"

#include "platform/xpc/connection.h"
#include "platform/xpc/spare_memory.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace platform {
namespace {

template <class T>
void Delete(Object* pObject) {
    delete static_cast<T*>(pObject);
}

constexpr size_t kSmallestKept = 1024, kLargestKept = 16 * 1024;
constexpr bool IsWorthKeeping(size_t nRoom) noexcept {
    return nRoom >= kSmallestKept && nRoom <= kLargestKept;
}

// What is allocated for so many bytes: whole kilobytes, so that blocks of about one length serve each other.
size_t RoomFor(size_t nLength) noexcept {
    size_t const nNeeded = sizeof(Bytes) + nLength + 1;
    return nNeeded < kSmallestKept ? nNeeded : (nNeeded + 1023) / 1024 * 1024;
}

void* AllocateRoom(size_t nRoom) noexcept {
    return IsWorthKeeping(nRoom) ? AllocateSpare(Spare::Block, nRoom) : std::malloc(nRoom);
}

void FreeBytes(Object* pObject) {
    auto* const pBytes = static_cast<Bytes*>(pObject);
    size_t const nRoom = RoomFor(pBytes->nLength);
    pBytes->~Bytes();
    if (IsWorthKeeping(nRoom))
        FreeSpare(Spare::Block, pBytes, nRoom);
    else
        std::free(pBytes);
}

void Never(Object*) {}

} // namespace
} // namespace platform

using platform::WireType;
#define TYPE(name, text, wire, destroy)                                                                                \
    constinit const _xpc_type_s _xpc_type_##name {                                                                     \
        text, WireType::wire, platform::destroy                                                                        \
    }
TYPE(null, "null", Null, Never);
TYPE(bool, "bool", Bool, Never);
TYPE(int64, "int64", Int64, Delete<platform::Scalar<int64_t>>);
TYPE(uint64, "uint64", UInt64, Delete<platform::Scalar<uint64_t>>);
TYPE(double, "double", Double, Delete<platform::Scalar<double>>);
TYPE(date, "date", Date, Delete<platform::Scalar<int64_t>>);
TYPE(data, "data", Data, FreeBytes);
TYPE(string, "string", String, FreeBytes);
TYPE(uuid, "uuid", Uuid, Delete<platform::Uuid>);
TYPE(fd, "fd", FileDescriptor, Delete<platform::Descriptor>);
TYPE(endpoint, "endpoint", Endpoint, Delete<platform::Endpoint>);
TYPE(array, "array", Array, Delete<platform::Array>);
TYPE(dictionary, "dictionary", Dictionary, Delete<platform::Dictionary>);
TYPE(error, "error", None, Never);
TYPE(connection, "connection", None, Connection::LastReferenceGone);
#undef TYPE

constinit _xpc_error_s _xpc_error_connection_interrupted{"Connection interrupted"};
constinit _xpc_error_s _xpc_error_connection_invalid{"Connection invalid"};
constinit _xpc_error_s _xpc_error_termination_imminent{"Process termination imminent"};

namespace platform {

Ref<Bytes> Bytes::Make(xpc_type_t pType, void const* pBytes, size_t nLength) {
    constexpr size_t kAddressSpace = size_t{1} << 47; // a process has no more
    void* const pMemory = nLength >= kAddressSpace ? nullptr : AllocateRoom(RoomFor(nLength));
    if (!pMemory)
        throw std::bad_alloc();
    auto* const pObject = new (pMemory) Bytes(pType, nLength);
    auto* const pContents = reinterpret_cast<uint8_t*>(pObject + 1);
    if (nLength != 0)
        std::memcpy(pContents, pBytes, nLength);
    pContents[nLength] = 0;
    return Ref<Bytes>::Adopt(pObject);
}

Dictionary::Dictionary() : Object(XPC_TYPE_DICTIONARY) {}
Dictionary::~Dictionary() = default;

void* Dictionary::operator new(size_t nSize) {
    if (void* const pMemory = AllocateSpare(Spare::Dictionary, nSize))
        return pMemory;
    throw std::bad_alloc();
}

void Dictionary::operator delete(void* pMemory, size_t nSize) noexcept {
    FreeSpare(Spare::Dictionary, pMemory, nSize);
}

Object* Dictionary::Find(std::string_view szKey) const noexcept {
    Entry const* const pEntry = std::ranges::find(lEntries, szKey, &Entry::szKey);
    return pEntry == lEntries.end() ? nullptr : pEntry->pValue.Get();
}

void Dictionary::Set(std::string_view szKey, Ref<Object> pValue) {
    Entry* const pEntry = std::ranges::find(lEntries, szKey, &Entry::szKey);
    if (pEntry == lEntries.end())
        lEntries.push_back({std::string(szKey), std::move(pValue)});
    else
        pEntry->pValue = std::move(pValue);
}

void Dictionary::Remove(std::string_view szKey) {
    lEntries.truncate(std::ranges::remove(lEntries, szKey, &Entry::szKey).begin());
}

Ref<Object> MakeNull() noexcept {
    struct Null final : Object {
        Null() noexcept : Object(XPC_TYPE_NULL, kImmortal) {}
    };
    static Null& oNull = *new Null;
    return Ref<Object>::Retain(&oNull);
}

Ref<Object> MakeBool(bool bValue) noexcept {
    static Bool &oFalse = *new Bool(false), &oTrue = *new Bool(true);
    return Ref<Object>::Retain(bValue ? &oTrue : &oFalse);
}

Ref<Object> MakeInt64(int64_t nValue) {
    return Ref<Object>::Adopt(new Scalar<int64_t>(XPC_TYPE_INT64, nValue));
}
Ref<Object> MakeUInt64(uint64_t nValue) {
    return Ref<Object>::Adopt(new Scalar<uint64_t>(XPC_TYPE_UINT64, nValue));
}
Ref<Object> MakeDouble(double fValue) {
    return Ref<Object>::Adopt(new Scalar<double>(XPC_TYPE_DOUBLE, fValue));
}
Ref<Object> MakeDate(int64_t nValue) {
    return Ref<Object>::Adopt(new Scalar<int64_t>(XPC_TYPE_DATE, nValue));
}

} // namespace platform
