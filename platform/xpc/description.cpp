// Objects in words, and whether two are the same.
#include "platform/xpc/connection.h"
#include "platform/xpc/values.h"

#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace platform {
namespace {

[[gnu::format(printf, 2, 3)]] void AppendF(std::string& szTo, char const* szFormat, ...) {
    char szText[160];
    va_list lArguments;
    va_start(lArguments, szFormat);
    std::vsnprintf(szText, sizeof szText, szFormat, lArguments);
    va_end(lArguments);
    szTo += szText;
}

void Describe(std::string& szTo, Object& oObject, size_t nIndent);

void DescribeData(std::string& szTo, Bytes const& oData) {
    AppendF(szTo, "length = %zu bytes, contents = 0x", oData.nLength);
    constexpr size_t kShown = 32;
    for (size_t n = 0; n < oData.nLength && n < kShown; ++n)
        AppendF(szTo, "%02x", oData.Contents()[n]);
    if (oData.nLength > kShown)
        szTo += "...";
}

void DescribeEntries(std::string& szTo, Dictionary const& oDictionary, size_t nIndent) {
    AppendF(szTo, "count = %zu, contents =\n", oDictionary.lEntries.size());
    for (auto const& [szKey, pValue] : oDictionary.lEntries) {
        szTo.append(nIndent + 1, '\t').append("\"").append(szKey).append("\" => ");
        Describe(szTo, *pValue, nIndent + 1);
        szTo += '\n';
    }
    szTo.append(nIndent, '\t');
}

void DescribeItems(std::string& szTo, Array const& oArray, size_t nIndent) {
    AppendF(szTo, "count = %zu, contents =\n", oArray.lItems.size());
    for (size_t n = 0; n < oArray.lItems.size(); ++n) {
        szTo.append(nIndent + 1, '\t');
        AppendF(szTo, "%zu: ", n);
        Describe(szTo, *oArray.lItems[n], nIndent + 1);
        szTo += '\n';
    }
    szTo.append(nIndent, '\t');
}

void DescribeUuid(std::string& szTo, Uuid const& oUuid) {
    for (size_t n = 0; n < sizeof oUuid.aBytes; ++n)
        AppendF(szTo, n == 4 || n == 6 || n == 8 || n == 10 ? "-%02X" : "%02X", oUuid.aBytes[n]);
}

void DescribeOther(std::string& szTo, Object& oObject) {
    if (oObject.pType == XPC_TYPE_ERROR)
        szTo.append("contents = \"").append(static_cast<_xpc_error_s&>(oObject).szDescription).append("\"");
    else if (oObject.pType == XPC_TYPE_CONNECTION)
        if (char const* const szName = static_cast<Connection&>(oObject).Name())
            szTo.append("name = ").append(szName);
}

void DescribeContents(std::string& szTo, Object& oObject, size_t nIndent) {
    switch (oObject.pType->eWire) {
    case WireType::None: return DescribeOther(szTo, oObject);
    case WireType::Null: return;
    case WireType::Bool: szTo += static_cast<Bool&>(oObject).bValue ? "true" : "false"; return;
    case WireType::Int64:
    case WireType::Date: return AppendF(szTo, "%" PRId64, static_cast<Scalar<int64_t>&>(oObject).oValue);
    case WireType::UInt64: return AppendF(szTo, "%" PRIu64, static_cast<Scalar<uint64_t>&>(oObject).oValue);
    case WireType::Double: return AppendF(szTo, "%.17g", static_cast<Scalar<double>&>(oObject).oValue);
    case WireType::Data: return DescribeData(szTo, static_cast<Bytes&>(oObject));
    case WireType::String: szTo.append("\"").append(static_cast<Bytes&>(oObject).Text()).append("\""); return;
    case WireType::Uuid: return DescribeUuid(szTo, static_cast<Uuid&>(oObject));
    case WireType::FileDescriptor: return AppendF(szTo, "fd = %d", static_cast<Descriptor&>(oObject).oFile.Get());
    case WireType::Endpoint: return;
    case WireType::Array: return DescribeItems(szTo, static_cast<Array&>(oObject), nIndent);
    case WireType::Dictionary: return DescribeEntries(szTo, static_cast<Dictionary&>(oObject), nIndent);
    }
}

void Describe(std::string& szTo, Object& oObject, size_t nIndent) {
    AppendF(szTo, "<%s: %p> { ", oObject.pType->szName, static_cast<void*>(&oObject));
    DescribeContents(szTo, oObject, nIndent);
    szTo += " }";
}

bool AreEqual(Object& oFirst, Object& oSecond);

bool AreEqual(Dictionary const& oFirst, Dictionary const& oSecond) {
    if (oFirst.lEntries.size() != oSecond.lEntries.size())
        return false;
    for (auto const& [szKey, pValue] : oFirst.lEntries) {
        Object* const pOther = oSecond.Find(szKey);
        if (!pOther || !AreEqual(*pValue, *pOther))
            return false;
    }
    return true;
}

bool AreEqual(Array const& oFirst, Array const& oSecond) {
    if (oFirst.lItems.size() != oSecond.lItems.size())
        return false;
    for (size_t n = 0; n < oFirst.lItems.size(); ++n)
        if (!AreEqual(*oFirst.lItems[n], *oSecond.lItems[n]))
            return false;
    return true;
}

template <class T>
bool SameScalar(Object& oFirst, Object& oSecond) {
    return static_cast<Scalar<T>&>(oFirst).oValue == static_cast<Scalar<T>&>(oSecond).oValue;
}

bool AreEqual(Object& oFirst, Object& oSecond) {
    if (&oFirst == &oSecond || oFirst.pType != oSecond.pType)
        return &oFirst == &oSecond;
    switch (oFirst.pType->eWire) {
    case WireType::Int64:
    case WireType::Date: return SameScalar<int64_t>(oFirst, oSecond);
    case WireType::UInt64: return SameScalar<uint64_t>(oFirst, oSecond);
    case WireType::Double: return SameScalar<double>(oFirst, oSecond);
    case WireType::Data:
    case WireType::String: {
        auto const &oOne = static_cast<Bytes&>(oFirst), &oTwo = static_cast<Bytes&>(oSecond);
        return oOne.nLength == oTwo.nLength && std::memcmp(oOne.Contents(), oTwo.Contents(), oOne.nLength) == 0;
    }
    case WireType::Uuid: return std::memcmp(xpc_uuid_get_bytes(&oFirst), xpc_uuid_get_bytes(&oSecond), 16) == 0;
    case WireType::Array: return AreEqual(static_cast<Array&>(oFirst), static_cast<Array&>(oSecond));
    case WireType::Dictionary: return AreEqual(static_cast<Dictionary&>(oFirst), static_cast<Dictionary&>(oSecond));
    default: return false;
    }
}

} // namespace
} // namespace platform

char* xpc_copy_description(xpc_object_t object) {
    std::string szText;
    platform::Describe(szText, *platform::ObjectOf(object), 0);
    return ::strdup(szText.c_str());
}

bool xpc_equal(xpc_object_t object1, xpc_object_t object2) {
    return platform::AreEqual(*platform::ObjectOf(object1), *platform::ObjectOf(object2));
}
