// The values that a message is made of. Values never change once made, but for arrays and dictionaries, which one
// thread at a time may change.
#pragma once

#include "platform/xpc/few.h"
#include "platform/xpc/file_descriptor.h"
#include "platform/xpc/object.h"

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

class Connection;
class ReplyTicket;

// Int64, UInt64, Double, Date.
template <class T>
struct Scalar final : Object {
    Scalar(xpc_type_t pTypeOfScalar, T oValueOfScalar) noexcept : Object(pTypeOfScalar), oValue(oValueOfScalar) {}
    T const oValue;
};

struct Bool final : Object {
    explicit Bool(bool bValueOfBool) noexcept : Object(XPC_TYPE_BOOL, kImmortal), bValue(bValueOfBool) {}
    bool const bValue;
};

// Data or a string: the bytes lie behind the object, in one allocation, with a NUL after the last.
struct Bytes final : Object {
    static Ref<Bytes> Make(xpc_type_t pType, void const* pBytes, size_t nLength);

    uint8_t const* Contents() const noexcept { return reinterpret_cast<uint8_t const*>(this + 1); }
    char const* Text() const noexcept { return reinterpret_cast<char const*>(this + 1); }

    size_t const nLength;

private:
    Bytes(xpc_type_t pTypeOfBytes, size_t nLengthOfBytes) noexcept : Object(pTypeOfBytes), nLength(nLengthOfBytes) {}
};

struct Uuid final : Object {
    explicit Uuid(void const* pBytes) noexcept : Object(XPC_TYPE_UUID) { std::memcpy(aBytes, pBytes, sizeof aBytes); }
    uint8_t aBytes[16];
};

struct Descriptor final : Object {
    explicit Descriptor(FileDescriptor oFileToOwn) noexcept : Object(XPC_TYPE_FD), oFile(std::move(oFileToOwn)) {}
    FileDescriptor const oFile;
};

// The right to connect to a listener: the sending end of its private socket pair.
struct Endpoint final : Object {
    explicit Endpoint(FileDescriptor oDoorToOwn) noexcept : Object(XPC_TYPE_ENDPOINT), oDoor(std::move(oDoorToOwn)) {}
    FileDescriptor const oDoor;
};

struct Array final : Object {
    Array() noexcept : Object(XPC_TYPE_ARRAY) {}
    std::vector<Ref<Object>> lItems;
};

struct Dictionary final : Object {
    struct Entry {
        std::string szKey;
        Ref<Object> pValue;
    };

    Dictionary();
    ~Dictionary(); // a message that still owes an answer tells its sender that none comes
    // A cycle of audio makes and frees one: each thread keeps the memory of its last.
    static void* operator new(size_t nSize);
    static void operator delete(void* pMemory, size_t nSize) noexcept;

    Object* Find(std::string_view szKey) const noexcept;
    void Set(std::string_view szKey, Ref<Object> pValue);
    void Remove(std::string_view szKey);

    Few<Entry, 2> lEntries;  // in the order first set; a search beats a table
    Ref<Connection> pRemote; // of a received message or reply: what it came over
    // Of a received message: the answer that it still owes, if one is wanted. Of a reply: the right to send it.
    std::unique_ptr<ReplyTicket> pTicket;
    bool bIsReply = false;
};

Ref<Object> MakeNull() noexcept;
Ref<Object> MakeBool(bool bValue) noexcept;
Ref<Object> MakeInt64(int64_t nValue);
Ref<Object> MakeUInt64(uint64_t nValue);
Ref<Object> MakeDouble(double fValue);
Ref<Object> MakeDate(int64_t nValue);

// The object as the wanted type; null for another type and for null.
template <class T>
T* As(xpc_object_t pObject, xpc_type_t pType) noexcept {
    Object* const p = ObjectOf(pObject);
    return p && p->pType == pType ? static_cast<T*>(p) : nullptr;
}
inline Dictionary* AsDictionary(xpc_object_t p) noexcept {
    return As<Dictionary>(p, XPC_TYPE_DICTIONARY);
}
inline Array* AsArray(xpc_object_t p) noexcept {
    return As<Array>(p, XPC_TYPE_ARRAY);
}

} // namespace platform
