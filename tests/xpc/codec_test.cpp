#include "xpc/codec.h"

#include "base/file_descriptor.h"
#include "xpc/object.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <string>

namespace {

struct CodecTest : testing::Test {
    void Declare(char const* szName, LXPCDataType nType) {
        lKeys.Insert(std::make_unique<LXPCDictionaryKeyListable>(szName, nType));
    }
    void Add(char const* szName, long nValue, unsigned long nSize = 0, double dValue = 0.0) {
        lItems.Insert(std::make_unique<LXPCDataListable>(szName, LXPCDataType_None, nValue, nSize, dValue));
    }
    void Encode() { SetXPCDictionary(oMessage.Get(), lKeys, lItems); }
    std::string Decode() {
        lDecoded.Clear();
        GetXPCDictionary(oMessage.Get(), lKeys, lDecoded);
        std::string szNames;
        for (LXPCData const& oItem : lDecoded)
            szNames += oItem.szName + std::string(";");
        return szNames;
    }
    xpc_type_t TypeOf(char const* szName) { return xpc_get_type(xpc_dictionary_get_value(oMessage.Get(), szName)); }
    LXPCData const& Only() const { return *lDecoded.pHead; }

    LXPCObject oMessage{xpc_dictionary_create(nullptr, nullptr, 0)};
    LList<LXPCDictionaryKeyListable> lKeys;
    LList<LXPCDataListable> lItems, lDecoded;
};

} // namespace

TEST_F(CodecTest, EveryScalarIsWrittenByItsKeyAndReadsAsNothingUnderAnother) {
    LXPCObject const oText(xpc_string_create("inside"));
    struct Case {
        LXPCDataType nType;
        xpc_type_t nWire;
        long nValue, nRead;
        double dValue;
        long nNothing;
    } const arCases[] = {
        {LXPCDataType_Bool, XPC_TYPE_BOOL, 2, 1, 0, 0},
        {LXPCDataType_Bool, XPC_TYPE_BOOL, 0, 0, 0, 0},
        {LXPCDataType_Int64, XPC_TYPE_INT64, -5, -5, 0, 0},
        {LXPCDataType_UInt64, XPC_TYPE_UINT64, -1, -1, 0, 0},
        {LXPCDataType_Double, XPC_TYPE_DOUBLE, -1, -1, 0.25, -1},
        {LXPCDataType_Date, XPC_TYPE_DATE, -7, -7, 0, 0},
        {LXPCDataType_Object, XPC_TYPE_STRING, LXPCValue(oText.Get()), LXPCValue(oText.Get()), 0,
         LXPCValue(oText.Get())},
        {LXPCDataType_Data, XPC_TYPE_DATA, -1, 0, 0, 0}, // empty
        {LXPCDataType_UUID, nullptr, 0, 0, 0, 0},
        {LXPCDataType_FileDescriptor, nullptr, -1, 0, 0, -1},
    };
    for (Case const& oCase : arCases) {
        SCOPED_TRACE(oCase.nType);
        lKeys.Clear();
        lItems.Clear();
        xpc_dictionary_set_value(oMessage.Get(), "k", nullptr);
        Declare("k", oCase.nType);
        Add("k", oCase.nValue, 0, oCase.dValue);
        Encode();
        EXPECT_EQ(TypeOf("k"), oCase.nWire);
        EXPECT_EQ(Decode(), oCase.nWire ? "k;" : "");
        if (oCase.nWire) {
            EXPECT_EQ(Only().nType, oCase.nType);
            EXPECT_EQ(Only().dValue, oCase.dValue);
            if (oCase.nType != LXPCDataType_Data) {
                EXPECT_EQ(Only().nValue, oCase.nRead);
            }
        }
        xpc_dictionary_set_value(oMessage.Get(), "k", oText.Get());
        ASSERT_EQ(Decode(), "k;");
        EXPECT_EQ(Only().nValue, oCase.nNothing);
        EXPECT_EQ(Only().nSize, 0u);
        EXPECT_EQ(Only().dValue, 0.0);
    }
}

TEST_F(CodecTest, BytesStringsAndUUIDsAreCopiedAndDescriptorsDuplicated) {
    Declare("data", LXPCDataType_Data);
    Declare("string", LXPCDataType_String);
    Declare("uuid", LXPCDataType_UUID);
    Declare("fd", LXPCDataType_FileDescriptor);
    char szBytes[] = "a\0b", szText[] = "text", arUUID[] = "0123456789abcdef";
    LFileDescriptor oSent(open("/dev/null", O_RDONLY | O_CLOEXEC));
    Add("data", LXPCValue(szBytes), 3);
    Add("string", LXPCValue(szText));
    Add("uuid", LXPCValue(arUUID));
    Add("fd", long{oSent.Get()} | 0x7700000000); // only the low 32 bits count
    Encode();
    szBytes[0] = szText[0] = arUUID[0] = '!';
    oSent.Reset();
    ASSERT_EQ(Decode(), "data;string;uuid;fd;"); // in the order of declaration
    LXPCDataListable const *pData = lDecoded.pHead, *pString = pData->pNext, *pUUID = pString->pNext;
    EXPECT_EQ(std::string(LXPCPointer<char const*>(pData->nValue), pData->nSize), std::string("a\0b", 3));
    EXPECT_STREQ(LXPCPointer<char const*>(pString->nValue), "text");
    EXPECT_EQ(std::memcmp(LXPCPointer<char const*>(pUUID->nValue), "0123456789abcdef", 16), 0);
    LFileDescriptor const oReceived(static_cast<int>(pUUID->pNext->nValue));
    ASSERT_EQ(pUUID->pNext->nValue, oReceived.Get());
    lDecoded.Clear();
    EXPECT_NE(fcntl(oReceived.Get(), F_GETFD), -1); // the receiver's
}

TEST_F(CodecTest, WhatPointsToNothingOrFitsNoMemoryIsNotWritten) {
    for (unsigned nType : {0u, 6u, 7u, 8u, 10u, 11u})
        Declare(std::to_string(nType).c_str(), static_cast<LXPCDataType>(nType));
    char szByte[] = "x";
    for (long const nValue : {0L, -1L})
        for (char const* szName : {"0", "6", "7", "8", "10", "11"})
            Add(szName, nValue, 8);
    for (unsigned long const nSize : {~0ul, 1ul << 62})
        Add("6", LXPCValue(szByte), nSize);
    Encode();
    EXPECT_EQ(xpc_dictionary_get_count(oMessage.Get()), 0u);
    xpc_dictionary_set_int64(oMessage.Get(), "0", 1);
    xpc_dictionary_set_int64(oMessage.Get(), "11", 1);
    EXPECT_EQ(Decode(), "");
}

TEST_F(CodecTest, OnlyDeclaredNamesPassAndTheNewestDeclarationRules) {
    Declare("twice", LXPCDataType_Int64);
    Declare("twice", LXPCDataType_Bool);
    Declare("a", LXPCDataType_Int64);
    Add("a", 1);
    Add("a", 2); // in front, so written first
    Add("A", 3);
    Add("undeclared", 4);
    Add("twice", 5);
    Encode();
    xpc_dictionary_set_int64(oMessage.Get(), "undeclared", 1);
    EXPECT_EQ(xpc_dictionary_get_count(oMessage.Get()), 3u);
    EXPECT_EQ(xpc_dictionary_get_int64(oMessage.Get(), "a"), 1);
    EXPECT_EQ(TypeOf("twice"), XPC_TYPE_BOOL);
    EXPECT_EQ(Decode(), "twice;twice;a;");
    LXPCData const arItems[] = {{"a", LXPCDataType_None, 4}, {"a", LXPCDataType_None, 5}};
    SetXPCDictionary(oMessage.Get(), lKeys, arItems, 2); // the last one is written first
    EXPECT_EQ(xpc_dictionary_get_int64(oMessage.Get(), "a"), 4);
}

TEST(Items, AreCutAt259AndKeepTheirOrderInAnArray) {
    std::string const szLong(300, 'n');
    LXPCDictionaryKeyListable const oKey(szLong.c_str(), LXPCDataType_Double);
    LList<LXPCDataListable> lItems;
    lItems.Insert(std::make_unique<LXPCDataListable>());
    lItems.Insert(CreateXPCDataDouble(oKey, 0.5));
    lItems.Insert(CreateXPCData(oKey, 2, 22));
    LXPCDataArray const oArray(lItems);
    ASSERT_EQ(oArray.nCount, 3u);
    LXPCData const* pItem = oArray.arItems.get();
    for (LXPCData const& oCase : {LXPCData(oKey.szName, oKey.nType, 2, 22), {oKey.szName, oKey.nType, -1, 0, 0.5}, {}}) {
        EXPECT_STREQ(pItem->szName, oCase.szName);
        EXPECT_EQ(pItem->nType, oCase.nType);
        EXPECT_EQ(pItem->nValue, oCase.nValue);
        EXPECT_EQ(pItem->nSize, oCase.nSize);
        EXPECT_EQ(pItem++->dValue, oCase.dValue);
    }
    EXPECT_EQ(oArray.arItems[0].szName, szLong.substr(0, 259));
    LXPCDictionaryKey oFull;
    szLong.copy(oFull.szName, sizeof oFull.szName); // no room for its end
    EXPECT_EQ(LXPCDictionaryKeyListable(oFull).szName, szLong.substr(0, 259));
}
