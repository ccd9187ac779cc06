#include "xpc/codec.h"

#include <cstring>
#include <exception>
#include <limits>

namespace {

using Key = LXPCDictionaryKeyListable;
using ItemPtr = std::unique_ptr<LXPCDataListable>;

bool PointsToSomething(LXPCData const& oItem) {
    return oItem.nValue != 0 && oItem.nValue != -1;
}

void SetBool(xpc_object_t pTo, LXPCData const& oItem) {
    xpc_dictionary_set_bool(pTo, oItem.szName, oItem.nValue != 0);
}
void SetInt64(xpc_object_t pTo, LXPCData const& oItem) {
    xpc_dictionary_set_int64(pTo, oItem.szName, oItem.nValue);
}
void SetUInt64(xpc_object_t pTo, LXPCData const& oItem) {
    xpc_dictionary_set_uint64(pTo, oItem.szName, static_cast<std::uint64_t>(oItem.nValue));
}
void SetDouble(xpc_object_t pTo, LXPCData const& oItem) {
    xpc_dictionary_set_double(pTo, oItem.szName, oItem.dValue);
}
void SetDate(xpc_object_t pTo, LXPCData const& oItem) {
    xpc_dictionary_set_date(pTo, oItem.szName, oItem.nValue);
}
void SetData(xpc_object_t pTo, LXPCData const& oItem) {
    if (oItem.nSize == 0)
        xpc_dictionary_set_data(pTo, oItem.szName, "", 0);
    else if (PointsToSomething(oItem) && oItem.nSize <= std::numeric_limits<long>::max())
        xpc_dictionary_set_data(pTo, oItem.szName, LXPCPointer<void const*>(oItem.nValue), oItem.nSize);
}
void SetUUID(xpc_object_t pTo, LXPCData const& oItem) {
    if (PointsToSomething(oItem))
        xpc_dictionary_set_uuid(pTo, oItem.szName, LXPCPointer<std::uint8_t const*>(oItem.nValue));
}
void SetString(xpc_object_t pTo, LXPCData const& oItem) {
    if (PointsToSomething(oItem))
        xpc_dictionary_set_string(pTo, oItem.szName, LXPCPointer<char const*>(oItem.nValue));
}
void SetDescriptor(xpc_object_t pTo, LXPCData const& oItem) {
    xpc_dictionary_set_fd(pTo, oItem.szName, static_cast<int>(oItem.nValue)); // the low 32 bits
}
void SetObject(xpc_object_t pTo, LXPCData const& oItem) {
    if (PointsToSomething(oItem))
        xpc_dictionary_set_value(pTo, oItem.szName, LXPCPointer<xpc_object_t>(oItem.nValue));
}

ItemPtr GetBool(xpc_object_t pFrom, Key const& oKey) {
    return CreateXPCData(oKey, xpc_dictionary_get_bool(pFrom, oKey.szName) ? 1 : 0, 0);
}
ItemPtr GetInt64(xpc_object_t pFrom, Key const& oKey) {
    return CreateXPCData(oKey, xpc_dictionary_get_int64(pFrom, oKey.szName), 0);
}
ItemPtr GetUInt64(xpc_object_t pFrom, Key const& oKey) {
    return CreateXPCData(oKey, static_cast<long>(xpc_dictionary_get_uint64(pFrom, oKey.szName)), 0);
}
ItemPtr GetDouble(xpc_object_t pFrom, Key const& oKey) {
    return CreateXPCDataDouble(oKey, xpc_dictionary_get_double(pFrom, oKey.szName));
}
ItemPtr GetDate(xpc_object_t pFrom, Key const& oKey) {
    return CreateXPCData(oKey, xpc_dictionary_get_date(pFrom, oKey.szName), 0);
}
ItemPtr GetData(xpc_object_t pFrom, Key const& oKey) {
    std::size_t nSize = 0; // left alone when there is no such data
    void const* const pBytes = xpc_dictionary_get_data(pFrom, oKey.szName, &nSize);
    return CreateXPCData(oKey, LXPCValue(pBytes), nSize);
}
ItemPtr GetUUID(xpc_object_t pFrom, Key const& oKey) {
    return CreateXPCData(oKey, LXPCValue(xpc_dictionary_get_uuid(pFrom, oKey.szName)), 0);
}
ItemPtr GetString(xpc_object_t pFrom, Key const& oKey) {
    return CreateXPCData(oKey, LXPCValue(xpc_dictionary_get_string(pFrom, oKey.szName)), 0);
}
ItemPtr GetDescriptor(xpc_object_t pFrom, Key const& oKey) {
    ItemPtr pItem = CreateXPCData(oKey, -1, 0); // first, so that no descriptor is left without an item
    if (pItem)
        pItem->nValue = xpc_dictionary_dup_fd(pFrom, oKey.szName);
    return pItem;
}
ItemPtr GetObject(xpc_object_t pFrom, Key const& oKey) {
    return CreateXPCData(oKey, LXPCValue(xpc_dictionary_get_value(pFrom, oKey.szName)), 0);
}

struct TypeCodec {
    LXPCDataType nType;
    void (*pSet)(xpc_object_t pTo, LXPCData const& oItem);
    ItemPtr (*pGet)(xpc_object_t pFrom, Key const& oKey);
};

constexpr TypeCodec kTypes[] = {
    {LXPCDataType_Bool, SetBool, GetBool},
    {LXPCDataType_Int64, SetInt64, GetInt64},
    {LXPCDataType_UInt64, SetUInt64, GetUInt64},
    {LXPCDataType_Double, SetDouble, GetDouble},
    {LXPCDataType_Date, SetDate, GetDate},
    {LXPCDataType_Data, SetData, GetData},
    {LXPCDataType_UUID, SetUUID, GetUUID},
    {LXPCDataType_String, SetString, GetString},
    {LXPCDataType_FileDescriptor, SetDescriptor, GetDescriptor},
    {LXPCDataType_Object, SetObject, GetObject},
};

TypeCodec const* FindType(LXPCDataType nType) {
    for (TypeCodec const& oType : kTypes)
        if (oType.nType == nType)
            return &oType;
    return nullptr;
}

void SetItem(xpc_object_t pTo, LList<Key>& lKeys, LXPCData const& oItem) noexcept try {
    Key const* const pKey = lKeys.Find([&](Key const& oKey) { return std::strcmp(oKey.szName, oItem.szName) == 0; });
    if (TypeCodec const* const pType = pKey ? FindType(pKey->nType) : nullptr)
        pType->pSet(pTo, oItem);
} catch (std::exception const&) { // memory ran out
}

} // namespace

void SetXPCDictionary(xpc_object_t pDictionary, LList<LXPCDictionaryKeyListable>& lKeys,
                      LList<LXPCDataListable> const& lItems) noexcept {
    for (LXPCDataListable const& oItem : lItems)
        SetItem(pDictionary, lKeys, oItem);
}

void SetXPCDictionary(xpc_object_t pDictionary, LList<LXPCDictionaryKeyListable>& lKeys, LXPCData const* arItems,
                      unsigned long nCount) noexcept {
    while (nCount > 0)
        SetItem(pDictionary, lKeys, arItems[--nCount]);
}

void GetXPCDictionary(xpc_object_t pDictionary, LList<LXPCDictionaryKeyListable>& lKeys,
                      LList<LXPCDataListable>& lItems) noexcept {
    for (Key const& oKey : lKeys) {
        if (!xpc_dictionary_get_value(pDictionary, oKey.szName))
            continue;
        TypeCodec const* const pType = FindType(oKey.nType);
        ItemPtr pItem = pType ? pType->pGet(pDictionary, oKey) : nullptr;
        if (pItem)
            lItems.Insert(std::move(pItem));
    }
}
