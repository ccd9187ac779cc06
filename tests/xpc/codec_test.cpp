#include "xpc/codec.h"

#include "base/file_descriptor.h"
#include "xpc/object.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <string>

namespace {

uint8_t const kUUID[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

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
    xpc_type_t TypeOf(char const* szName) {
        xpc_object_t const pValue = xpc_dictionary_get_value(oMessage.Get(), szName);
        return pValue ? xpc_get_type(pValue) : nullptr;
    }
    LXPCData const& Only() const { return *lDecoded.pHead; }

    LXPCObject oMessage{xpc_dictionary_create(nullptr, nullptr, 0)};
    LList<LXPCDictionaryKeyListable> lKeys;
    LList<LXPCDataListable> lItems, lDecoded;
};

} // namespace

TEST_F(CodecTest, EveryTypeIsWrittenByItsKeyAndReadBack) {
    LXPCObject const oObject(xpc_string_create("inside"));
    struct Case {
        LXPCDataType nType;
        xpc_type_t nWire;
        long nValue, nRead;
        unsigned long nSize;
        double dValue;
    } const arCases[] = {
        {LXPCDataType_Bool, XPC_TYPE_BOOL, 2, 1, 0, 0},
        {LXPCDataType_Bool, XPC_TYPE_BOOL, 0, 0, 0, 0},
        {LXPCDataType_Int64, XPC_TYPE_INT64, -5, -5, 0, 0},
        {LXPCDataType_UInt64, XPC_TYPE_UINT64, -1, -1, 0, 0},
        {LXPCDataType_Double, XPC_TYPE_DOUBLE, -1, -1, 0, 0.25},
        {LXPCDataType_Date, XPC_TYPE_DATE, -7, -7, 0, 0},
        {LXPCDataType_Object, XPC_TYPE_STRING, LXPCValue(oObject.Get()), LXPCValue(oObject.Get()), 0, 0},
    };
    for (Case const& oCase : arCases) {
        SCOPED_TRACE(oCase.nType);
        lKeys.Clear();
        lItems.Clear();
        Declare("k", oCase.nType);
        Add("k", oCase.nValue, oCase.nSize, oCase.dValue);
        Encode();
        EXPECT_EQ(TypeOf("k"), oCase.nWire);
        ASSERT_EQ(Decode(), "k;");
        EXPECT_EQ(Only().nType, oCase.nType);
        EXPECT_EQ(Only().nValue, oCase.nRead);
        EXPECT_EQ(Only().nSize, 0u);
        EXPECT_EQ(Only().dValue, oCase.dValue);
    }
}

TEST_F(CodecTest, BytesStringsAndUUIDsAreCopied) {
    Declare("data", LXPCDataType_Data);
    Declare("empty", LXPCDataType_Data);
    Declare("string", LXPCDataType_String);
    Declare("uuid", LXPCDataType_UUID);
    char szBytes[] = "a\0b";
    char szText[] = "text";
    uint8_t arUUID[16];
    std::memcpy(arUUID, kUUID, 16);
    Add("data", LXPCValue(szBytes), 3);
    Add("empty", -1, 0);
    Add("string", LXPCValue(szText));
    Add("uuid", LXPCValue(arUUID));
    Encode();
    szBytes[0] = szText[0] = '!';
    arUUID[0] = 99;
    ASSERT_EQ(Decode(), "data;empty;string;uuid;"); // in the order of declaration
    LXPCData const *pData = lDecoded.pHead, *pEmpty = lDecoded.pHead->pNext;
    LXPCDataListable const* const pString = lDecoded.pHead->pNext->pNext;
    EXPECT_EQ(pData->nSize, 3u);
    EXPECT_EQ(std::memcmp(LXPCPointer<char const*>(pData->nValue), "a\0b", 3), 0);
    EXPECT_EQ(pEmpty->nSize, 0u);
    EXPECT_EQ(TypeOf("empty"), XPC_TYPE_DATA);
    EXPECT_STREQ(LXPCPointer<char const*>(pString->nValue), "text");
    EXPECT_EQ(std::memcmp(LXPCPointer<void const*>(pString->pNext->nValue), kUUID, 16), 0);
}

TEST_F(CodecTest, DescriptorsAreDuplicatedAndBelongToTheReceiver) {
    Declare("fd", LXPCDataType_FileDescriptor);
    LFileDescriptor oSent(open("/dev/null", O_RDONLY | O_CLOEXEC));
    Add("fd", long{oSent.Get()} | 0x7700000000); // only the low 32 bits count
    Encode();
    oSent.Reset();
    ASSERT_EQ(Decode(), "fd;");
    LFileDescriptor const oReceived(static_cast<int>(Only().nValue));
    ASSERT_EQ(Only().nValue, oReceived.Get());
    lDecoded.Clear();
    EXPECT_NE(fcntl(oReceived.Get(), F_GETFD), -1);
}

TEST_F(CodecTest, AnEntryOfAnotherTypeReadsAsNothing) {
    struct Case {
        LXPCDataType nType;
        long nRead;
    };
    xpc_dictionary_set_string(oMessage.Get(), "k", "text");
    for (Case const& oCase : {Case{LXPCDataType_Bool, 0},
                              {LXPCDataType_Int64, 0},
                              {LXPCDataType_UInt64, 0},
                              {LXPCDataType_Double, -1},
                              {LXPCDataType_Date, 0},
                              {LXPCDataType_Data, 0},
                              {LXPCDataType_UUID, 0},
                              {LXPCDataType_FileDescriptor, -1}}) {
        SCOPED_TRACE(oCase.nType);
        lKeys.Clear();
        Declare("k", oCase.nType);
        ASSERT_EQ(Decode(), "k;");
        EXPECT_EQ(Only().nValue, oCase.nRead);
        EXPECT_EQ(Only().nSize, 0u);
        EXPECT_EQ(Only().dValue, 0.0);
    }
    for (LXPCDataType const nType : {LXPCDataType_None, static_cast<LXPCDataType>(11)}) {
        lKeys.Clear();
        Declare("k", nType);
        EXPECT_EQ(Decode(), "");
    }
}

TEST_F(CodecTest, WhatPointsToNothingIsNotWritten) {
    Declare("data", LXPCDataType_Data);
    Declare("string", LXPCDataType_String);
    Declare("uuid", LXPCDataType_UUID);
    Declare("object", LXPCDataType_Object);
    Declare("none", LXPCDataType_None);
    Declare("beyond", static_cast<LXPCDataType>(11));
    char szByte[] = "x";
    for (long const nValue : {0L, -1L})
        for (char const* szName : {"data", "string", "uuid", "object", "none", "beyond"})
            Add(szName, nValue, 8);
    Add("data", LXPCValue(szByte), static_cast<unsigned long>(-1L));
    Encode();
    EXPECT_EQ(xpc_dictionary_get_count(oMessage.Get()), 0u);
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
}

TEST(Items, AreFreshEmptyAndCutAt259) {
    LXPCData const oFresh;
    EXPECT_STREQ(oFresh.szName, "");
    EXPECT_EQ(oFresh.nType, LXPCDataType_None);
    EXPECT_EQ(oFresh.nValue, -1);
    EXPECT_EQ(oFresh.nSize, 0u);
    EXPECT_EQ(oFresh.dValue, 0.0);
    std::string const szLong(300, 'n');
    LXPCDictionaryKeyListable const oKey(szLong.c_str(), LXPCDataType_Double);
    EXPECT_EQ(oKey.szName, szLong.substr(0, 259));
    EXPECT_EQ(LXPCData(szLong.c_str(), LXPCDataType_Bool).szName, szLong.substr(0, 259));
    auto const pItem = CreateXPCData(oKey, 7, 8);
    EXPECT_EQ(pItem->szName, szLong.substr(0, 259));
    EXPECT_EQ(pItem->nValue + static_cast<long>(pItem->nSize), 15);
    auto const pDouble = CreateXPCDataDouble(oKey, 0.5);
    EXPECT_EQ(pDouble->nValue, -1);
    EXPECT_EQ(pDouble->dValue, 0.5);
}

TEST(Items, KeepTheirOrderInAnArrayAndTurnItRoundInAList) {
    LList<LXPCDataListable> lItems, lBack;
    lItems.Insert(std::make_unique<LXPCDataListable>("second", LXPCDataType_Data, 2, 22, 0.2));
    lItems.Insert(std::make_unique<LXPCDataListable>("first", LXPCDataType_Int64, 1, 11, 0.1));
    LXPCDataArray const oArray(lItems);
    ASSERT_EQ(oArray.nCount, 2u);
    EXPECT_STREQ(oArray.arItems[0].szName, "first");
    ASSERT_TRUE(LXPCArrayToList(oArray.arItems.get(), oArray.nCount, lBack));
    LXPCData const& oItem = *lBack.pHead;
    EXPECT_STREQ(oItem.szName, "second");
    EXPECT_EQ(oItem.nType, LXPCDataType_Data);
    EXPECT_EQ(oItem.nValue, 2);
    EXPECT_EQ(oItem.nSize, 22u);
    EXPECT_EQ(oItem.dValue, 0.2);
    EXPECT_EQ(LXPCDataArray(LList<LXPCDataListable>()).arItems, nullptr);
}
