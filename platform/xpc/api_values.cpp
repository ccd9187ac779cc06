// The C calls on values, arrays and dictionaries.
#include "platform/xpc/connection.h"
#include "platform/xpc/values.h"

using namespace platform;

namespace {

template <class T>
T ScalarOf(xpc_object_t pObject, xpc_type_t pType) {
    auto* const pScalar = As<Scalar<T>>(pObject, pType);
    return pScalar ? pScalar->oValue : T();
}

bool BoolOf(xpc_object_t pObject) {
    auto* const pBool = As<Bool>(pObject, XPC_TYPE_BOOL);
    return pBool && pBool->bValue;
}

Bytes* BytesOf(xpc_object_t pObject, xpc_type_t pType) {
    return As<Bytes>(pObject, pType);
}

uint8_t const* UuidOf(xpc_object_t pObject) {
    auto* const pUuid = As<Uuid>(pObject, XPC_TYPE_UUID);
    return pUuid ? pUuid->aBytes : nullptr;
}

int DuplicateOf(xpc_object_t pObject) {
    auto* const pDescriptor = As<Descriptor>(pObject, XPC_TYPE_FD);
    return pDescriptor ? gSystemCalls.duplicate.load()(pDescriptor->oFile.Get()) : -1;
}

Ref<Object> MakeDescriptor(int nDescriptor) {
    FileDescriptor oCopy = FileDescriptor::Duplicate(nDescriptor);
    return oCopy ? Ref<Object>::Adopt(new Descriptor(std::move(oCopy))) : Ref<Object>();
}

Ref<Object> MakeText(char const* szText) {
    return Bytes::Make(XPC_TYPE_STRING, szText, std::strlen(szText));
}

Object* ValueOf(xpc_object_t pDictionary, char const* szKey) {
    Dictionary const* const p = AsDictionary(pDictionary);
    return p && szKey ? p->Find(szKey) : nullptr;
}

void Set(xpc_object_t pDictionary, char const* szKey, Ref<Object> pValue) {
    if (auto* const p = AsDictionary(pDictionary); p && szKey && pValue)
        p->Set(szKey, std::move(pValue));
}

} // namespace

xpc_object_t xpc_retain(xpc_object_t object) {
    ObjectOf(object)->Retain();
    return object;
}

void xpc_release(xpc_object_t object) {
    ObjectOf(object)->Release();
}
xpc_type_t xpc_get_type(xpc_object_t object) {
    return object ? ObjectOf(object)->pType : nullptr;
}
char const* xpc_type_get_name(xpc_type_t type) {
    return type->szName;
}

xpc_object_t xpc_null_create(void) {
    return MakeNull().Detach();
}
xpc_object_t xpc_bool_create(bool value) {
    return MakeBool(value).Detach();
}
bool xpc_bool_get_value(xpc_object_t object) {
    return BoolOf(object);
}
xpc_object_t xpc_int64_create(int64_t value) {
    return MakeInt64(value).Detach();
}
int64_t xpc_int64_get_value(xpc_object_t object) {
    return ScalarOf<int64_t>(object, XPC_TYPE_INT64);
}
xpc_object_t xpc_uint64_create(uint64_t value) {
    return MakeUInt64(value).Detach();
}
uint64_t xpc_uint64_get_value(xpc_object_t object) {
    return ScalarOf<uint64_t>(object, XPC_TYPE_UINT64);
}
xpc_object_t xpc_double_create(double value) {
    return MakeDouble(value).Detach();
}
double xpc_double_get_value(xpc_object_t object) {
    return ScalarOf<double>(object, XPC_TYPE_DOUBLE);
}
xpc_object_t xpc_date_create(int64_t interval) {
    return MakeDate(interval).Detach();
}
int64_t xpc_date_get_value(xpc_object_t object) {
    return ScalarOf<int64_t>(object, XPC_TYPE_DATE);
}

xpc_object_t xpc_data_create(void const* bytes, size_t length) {
    return Bytes::Make(XPC_TYPE_DATA, bytes, length).Detach();
}

size_t xpc_data_get_length(xpc_object_t object) {
    Bytes const* const p = BytesOf(object, XPC_TYPE_DATA);
    return p ? p->nLength : 0;
}

void const* xpc_data_get_bytes_ptr(xpc_object_t object) {
    Bytes const* const p = BytesOf(object, XPC_TYPE_DATA);
    return p ? p->Contents() : nullptr;
}

xpc_object_t xpc_string_create(char const* string) {
    return string ? MakeText(string).Detach() : nullptr;
}

size_t xpc_string_get_length(xpc_object_t object) {
    Bytes const* const p = BytesOf(object, XPC_TYPE_STRING);
    return p ? p->nLength : 0;
}

char const* xpc_string_get_string_ptr(xpc_object_t object) {
    Bytes const* const p = BytesOf(object, XPC_TYPE_STRING);
    return p ? p->Text() : nullptr;
}

xpc_object_t xpc_uuid_create(uuid_t const uuid) {
    return new Uuid(uuid);
}
uint8_t const* xpc_uuid_get_bytes(xpc_object_t object) {
    return UuidOf(object);
}
xpc_object_t xpc_fd_create(int fd) {
    return MakeDescriptor(fd).Detach();
}
int xpc_fd_dup(xpc_object_t object) {
    return DuplicateOf(object);
}

xpc_object_t xpc_array_create(xpc_object_t const* objects, size_t count) {
    auto* const pArray = new Array;
    for (size_t n = 0; n < count; ++n)
        pArray->lItems.push_back(Ref<Object>::Retain(ObjectOf(objects[n])));
    return pArray;
}

void xpc_array_set_value(xpc_object_t array, size_t index, xpc_object_t value) {
    auto* const pArray = AsArray(array);
    if (!pArray || !value)
        return;
    if (index == XPC_ARRAY_APPEND)
        pArray->lItems.push_back(Ref<Object>::Retain(ObjectOf(value)));
    else if (index < pArray->lItems.size())
        pArray->lItems[index] = Ref<Object>::Retain(ObjectOf(value));
}

void xpc_array_append_value(xpc_object_t array, xpc_object_t value) {
    xpc_array_set_value(array, XPC_ARRAY_APPEND, value);
}

size_t xpc_array_get_count(xpc_object_t array) {
    auto* const pArray = AsArray(array);
    return pArray ? pArray->lItems.size() : 0;
}

xpc_object_t xpc_array_get_value(xpc_object_t array, size_t index) {
    auto* const pArray = AsArray(array);
    return pArray && index < pArray->lItems.size() ? pArray->lItems[index].Get() : nullptr;
}

xpc_object_t xpc_dictionary_create(char const* const* keys, xpc_object_t const* values, size_t count) {
    auto* const pDictionary = new Dictionary;
    for (size_t n = 0; n < count; ++n)
        Set(pDictionary, keys[n], Ref<Object>::Retain(ObjectOf(values[n])));
    return pDictionary;
}

xpc_object_t xpc_dictionary_create_reply(xpc_object_t original) {
    auto* const pMessage = AsDictionary(original);
    if (!pMessage || pMessage->bIsReply || !pMessage->pTicket)
        return nullptr;
    auto* const pReply = new Dictionary;
    pReply->pTicket = std::move(pMessage->pTicket);
    pReply->bIsReply = true;
    return pReply;
}

void xpc_dictionary_set_value(xpc_object_t dictionary, char const* key, xpc_object_t value) {
    auto* const pDictionary = AsDictionary(dictionary);
    if (pDictionary && key && !value)
        pDictionary->Remove(key);
    else
        Set(dictionary, key, Ref<Object>::Retain(ObjectOf(value)));
}

void xpc_dictionary_set_bool(xpc_object_t dictionary, char const* key, bool value) {
    Set(dictionary, key, MakeBool(value));
}

void xpc_dictionary_set_int64(xpc_object_t dictionary, char const* key, int64_t value) {
    Set(dictionary, key, MakeInt64(value));
}

void xpc_dictionary_set_uint64(xpc_object_t dictionary, char const* key, uint64_t value) {
    Set(dictionary, key, MakeUInt64(value));
}

void xpc_dictionary_set_double(xpc_object_t dictionary, char const* key, double value) {
    Set(dictionary, key, MakeDouble(value));
}

void xpc_dictionary_set_date(xpc_object_t dictionary, char const* key, int64_t value) {
    Set(dictionary, key, MakeDate(value));
}

void xpc_dictionary_set_data(xpc_object_t dictionary, char const* key, void const* bytes, size_t length) {
    if (!bytes && length != 0)
        return;
    try {
        Set(dictionary, key, Bytes::Make(XPC_TYPE_DATA, bytes, length));
    } catch (std::bad_alloc const&) { // there are not that many bytes
    }
}

void xpc_dictionary_set_string(xpc_object_t dictionary, char const* key, char const* string) {
    if (string)
        Set(dictionary, key, MakeText(string));
}

void xpc_dictionary_set_uuid(xpc_object_t dictionary, char const* key, uuid_t const uuid) {
    if (uuid)
        Set(dictionary, key, Ref<Object>::Adopt(new Uuid(uuid)));
}

void xpc_dictionary_set_fd(xpc_object_t dictionary, char const* key, int fd) {
    Set(dictionary, key, MakeDescriptor(fd));
}

xpc_object_t xpc_dictionary_get_value(xpc_object_t dictionary, char const* key) {
    return ValueOf(dictionary, key);
}

size_t xpc_dictionary_get_count(xpc_object_t dictionary) {
    Dictionary const* const p = AsDictionary(dictionary);
    return p ? p->lEntries.size() : 0;
}

bool xpc_dictionary_apply(xpc_object_t dictionary, xpc_dictionary_applier_t applier) {
    if (Dictionary const* const p = AsDictionary(dictionary))
        for (auto const& [szKey, pValue] : p->lEntries)
            if (!applier(szKey.c_str(), pValue.Get()))
                return false;
    return true;
}

bool xpc_dictionary_get_bool(xpc_object_t dictionary, char const* key) {
    return BoolOf(ValueOf(dictionary, key));
}

int64_t xpc_dictionary_get_int64(xpc_object_t dictionary, char const* key) {
    return xpc_int64_get_value(ValueOf(dictionary, key));
}

uint64_t xpc_dictionary_get_uint64(xpc_object_t dictionary, char const* key) {
    return xpc_uint64_get_value(ValueOf(dictionary, key));
}

double xpc_dictionary_get_double(xpc_object_t dictionary, char const* key) {
    return xpc_double_get_value(ValueOf(dictionary, key));
}

int64_t xpc_dictionary_get_date(xpc_object_t dictionary, char const* key) {
    return xpc_date_get_value(ValueOf(dictionary, key));
}

void const* xpc_dictionary_get_data(xpc_object_t dictionary, char const* key, size_t* length) {
    Bytes const* const p = BytesOf(ValueOf(dictionary, key), XPC_TYPE_DATA);
    if (p && length)
        *length = p->nLength;
    return p ? p->Contents() : nullptr;
}

char const* xpc_dictionary_get_string(xpc_object_t dictionary, char const* key) {
    if (xpc_get_type(dictionary) == XPC_TYPE_ERROR)
        return key && std::strcmp(key, XPC_ERROR_KEY_DESCRIPTION) == 0
                   ? static_cast<_xpc_error_s*>(ObjectOf(dictionary))->szDescription
                   : nullptr;
    return xpc_string_get_string_ptr(ValueOf(dictionary, key));
}

uint8_t const* xpc_dictionary_get_uuid(xpc_object_t dictionary, char const* key) {
    return UuidOf(ValueOf(dictionary, key));
}

int xpc_dictionary_dup_fd(xpc_object_t dictionary, char const* key) {
    return DuplicateOf(ValueOf(dictionary, key));
}

xpc_connection_t xpc_dictionary_get_remote_connection(xpc_object_t dictionary) {
    Dictionary const* const p = AsDictionary(dictionary);
    return p ? HandleOf(p->pRemote.Get()) : nullptr;
}
