// The unit of every message: a named, typed value, and the key that declares its name and type.
#pragma once

#include "base/fixed_text.h"
#include "base/list.h"

#include <cstddef>
#include <cstdint>
#include <memory>

// What a value is on the wire, and which field of an item holds it.
enum LXPCDataType : std::uint32_t {
    LXPCDataType_None = 0,           // ends a key table; never written or read
    LXPCDataType_Bool = 1,           // nValue, non-zero is true
    LXPCDataType_Int64 = 2,          // nValue, signed
    LXPCDataType_UInt64 = 3,         // nValue, unsigned
    LXPCDataType_Double = 4,         // dValue
    LXPCDataType_Date = 5,           // nValue, a signed count (the OS's: nanoseconds since 1970)
    LXPCDataType_Data = 6,           // nValue points to the bytes, nSize is their count
    LXPCDataType_UUID = 7,           // nValue points to the 16 bytes
    LXPCDataType_String = 8,         // nValue points to NUL-terminated characters
    LXPCDataType_FileDescriptor = 9, // the low 32 bits of nValue, a signed int
    LXPCDataType_Object = 10,        // nValue is the object: any, used for endpoints
};

// Handles, objects and buffers cross this library's interfaces as 64-bit values. These two are the only casts.
template <class Pointer>
Pointer LXPCPointer(long nValue) noexcept {
    return reinterpret_cast<Pointer>(nValue);
}
template <class T>
long LXPCValue(T* pValue) noexcept {
    return reinterpret_cast<long>(pValue);
}

// Declares a name that one side may send or accept, and the type that it is written and read with. Tables of keys are
// plain arrays that end with an empty name.
struct LXPCDictionaryKey {
    constexpr LXPCDictionaryKey() noexcept = default;
    LXPCDictionaryKey(char const* szKeyName, LXPCDataType nKeyType) noexcept : nType(nKeyType) {
        LCopyFixed(szName, szKeyName);
    }

    char szName[kLNameSize] = {}; // a longer name is cut to its first 259 characters
    LXPCDataType nType = LXPCDataType_None;
};

struct LXPCDictionaryKeyListable : LXPCDictionaryKey {
    using LXPCDictionaryKey::LXPCDictionaryKey;
    explicit LXPCDictionaryKeyListable(LXPCDictionaryKey const& oKey) noexcept
        : LXPCDictionaryKey(oKey.szName, oKey.nType) {} // cut, where a caller's own table filled the name to its end
    // A copy would be in the list by half.
    LXPCDictionaryKeyListable(LXPCDictionaryKeyListable const&) = delete;
    LXPCDictionaryKeyListable& operator=(LXPCDictionaryKeyListable const&) = delete;

    LXPCDictionaryKeyListable* pNext = nullptr;
};

// One named value. Owns nothing: a copy shares what nValue points to, and deleting an item frees or closes nothing.
//
// To send, the caller keeps what nValue points to until the call returns; the message takes its own copy of bytes,
// strings and UUIDs, duplicates a descriptor and retains an object. nType is ignored: the declared key's type rules.
//
// As received, nType is the key's. Bytes, strings, UUIDs and objects lie inside the message and live only as long as
// the call that hands the item over (an object worth keeping is retained by the receiver); a descriptor is a new one,
// which the receiver closes. An entry of another type than its key declares reads as 0, false, 0.0, null or -1.
struct LXPCData {
    LXPCData() noexcept { szName[0] = '\0'; }
    LXPCData(char const* szItemName, LXPCDataType nItemType, long nItemValue = -1, unsigned long nItemSize = 0,
             double dItemValue = 0.0) noexcept
        : nType(nItemType), nValue(nItemValue), nSize(nItemSize), dValue(dItemValue) {
        LCopyFixed(szName, szItemName);
    }
    LXPCData(LXPCData const& oOther) noexcept
        : LXPCData(oOther.szName, oOther.nType, oOther.nValue, oOther.nSize, oOther.dValue) {}
    LXPCData& operator=(LXPCData const& oOther) noexcept;

    char szName[kLNameSize]; // NUL-terminated, cut to 259 characters; what stands behind the NUL means nothing
    LXPCDataType nType = LXPCDataType_None;
    long nValue = -1;
    unsigned long nSize = 0; // bytes, for data only
    double dValue = 0.0;     // for doubles only
};

struct LXPCDataListable : LXPCData {
    using LXPCData::LXPCData;
    explicit LXPCDataListable(LXPCData const& oData) noexcept : LXPCData(oData) {}
    // As for keys.
    LXPCDataListable(LXPCDataListable const&) = delete;
    LXPCDataListable& operator=(LXPCDataListable const&) = delete;

    LXPCDataListable* pNext = nullptr;
};

// New items under a key's name and type; the caller owns them. Null when memory has run out.
std::unique_ptr<LXPCDataListable> CreateXPCData(LXPCDictionaryKeyListable const& oKey, long nValue,
                                                unsigned long nSize) noexcept;
std::unique_ptr<LXPCDataListable> CreateXPCDataDouble(LXPCDictionaryKeyListable const& oKey, double dValue) noexcept;

// Items travel as a list and as an array. This is a list's array: copies in the list's order. When memory has run out
// it is not complete, and must not be used.
struct LXPCDataArray {
    explicit LXPCDataArray(LList<LXPCDataListable> const& lItems) noexcept;

    bool IsComplete() const noexcept { return nCount == 0 || arItems; }

    unsigned long nCount = 0;
    std::unique_ptr<LXPCData[]> arItems; // null when there are none
};
