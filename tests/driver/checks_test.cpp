// What is refused, and which of several faults in one call is the one that is named.
#include "tests/driver/driver_test.h"

#include <CoreFoundation/CoreFoundation.h>

TEST_F(Driver, EveryOperationKnowsItsDriverAndItsDevice) {
    AudioServerPlugInDriverInterface const& o = **pDriver;
    auto const call = [&](AudioServerPlugInDriverRef pAs, AudioObjectID nDevice, AudioObjectID nStream) {
        auto const oName = At('lmak'), oMute = At('bcvl');
        UInt32 nSize = 0;
        UInt64 nValue = 0;
        Boolean bFlag = 0;
        std::string szResults;
        for (OSStatus const nStatus :
             {o.CreateDevice(pAs, nullptr, nullptr, &nSize), o.DestroyDevice(pAs, nDevice),
              OSStatus{o.HasProperty(pAs, 3, 0, &oName)}, o.IsPropertySettable(pAs, 3, 0, &oName, &bFlag),
              o.GetPropertyDataSize(pAs, 3, 0, &oName, 0, nullptr, &nSize),
              o.GetPropertyData(pAs, 3, 0, &oName, 0, nullptr, 8, &nSize, &nValue),
              o.SetPropertyData(pAs, 10, 0, &oMute, 0, nullptr, 4, &nSize),
              // From here on a device is named.
              o.AddDeviceClient(pAs, nDevice, nullptr), o.RemoveDeviceClient(pAs, nDevice, nullptr),
              o.PerformDeviceConfigurationChange(pAs, nDevice, 44100, nullptr),
              o.AbortDeviceConfigurationChange(pAs, nDevice, 1, nullptr), o.StartIO(pAs, nDevice, 0),
              o.GetZeroTimeStamp(pAs, nDevice, 0, nullptr, nullptr, nullptr),
              o.WillDoIOOperation(pAs, nDevice, 0, 'rite', nullptr, nullptr),
              o.BeginIOOperation(pAs, nDevice, 0, 'zzzz', 1, nullptr),
              o.EndIOOperation(pAs, nDevice, 0, 'zzzz', 1, nullptr), o.StopIO(pAs, nDevice, 0),
              o.DoIOOperation(pAs, nDevice, nStream, 0, 'read', 1, nullptr, &nValue, nullptr)})
            szResults += nStatus > 0xFF ? CodeText(static_cast<UInt32>(nStatus)) : std::to_string(nStatus);
        return szResults;
    };
    std::string const szEleven = "!obj!obj!obj!obj!obj!obj!obj!obj!obj!obj!obj"; // that name a device
    std::string const szForeign = "!obj!obj0!obj!obj!obj!obj" + szEleven;
    AudioServerPlugInDriverInterface* pCopy = *pDriver; // the right table behind a foreign reference
    EXPECT_EQ(call(&pCopy, 3, 8), szForeign);
    EXPECT_EQ(call(nullptr, 3, 8), szForeign);
    EXPECT_EQ(o.Initialize(&pCopy, nullptr), '!obj');
    EXPECT_EQ(o.AddRef(&pCopy) + o.Release(&pCopy), 0u);
    EXPECT_EQ(call(pDriver, 3, 8), "unopunop1000000000000000");
    EXPECT_EQ(call(pDriver, 3, 9), "unopunop100000000000000!obj");
    for (AudioObjectID const nOther : {0u, 2u, 8u, 13u})
        EXPECT_EQ(call(pDriver, nOther, 8), "unopunop10000" + szEleven);
}

TEST_F(Driver, PropertyOperationsNameTheFirstFault) {
    AudioServerPlugInDriverInterface* pCopy = *pDriver;
    struct {
        char const* szCase;
        bool bForeign, bAddress, bOut, bBuffer;
        AudioObjectID nObject;
        UInt32 nSelector;
        OSStatus nSettable, nSize, nGet, nSet;
    } const lCases[] = {
        {"foreign before all", true, false, false, false, 5, 'zzzz', '!obj', '!obj', '!obj', '!obj'},
        {"null address before object", false, false, true, true, 5, 'zzzz', 'nope', 'nope', 'nope', 'nope'},
        {"null result before object", false, true, false, true, 5, 'zzzz', 'nope', 'nope', 'nope', '!obj'},
        {"null buffer before object", false, true, true, false, 5, 'zzzz', '!obj', '!obj', 'nope', '!obj'},
        {"object before selector", false, true, true, true, 5, 'zzzz', '!obj', '!obj', '!obj', '!obj'},
        {"past the last object", false, true, true, true, 13, 'bcls', '!obj', '!obj', '!obj', '!obj'},
        {"selector before size", false, true, true, true, 3, 'zzzz', 'who?', 'who?', 'who?', 'who?'},
        {"another object's selector", false, true, true, true, 1, 'lnam', 'who?', 'who?', 'who?', 'who?'},
        {"fixed before size", false, true, true, true, 3, 'lnam', 0, 0, '!siz', 'who?'},
        {"size", false, true, true, true, 3, 'nsrt', 0, 0, '!siz', '!siz'},
        {"size before null data", false, true, true, false, 3, 'nsrt', 0, 0, 'nope', '!siz'},
    };
    for (auto const& o : lCases) {
        SCOPED_TRACE(o.szCase);
        auto const pAs = o.bForeign ? &pCopy : pDriver;
        auto const oAddress = At(o.nSelector);
        auto const pAddress = o.bAddress ? &oAddress : nullptr;
        Boolean bSettable = 0;
        UInt32 nSize = 0;
        char lBuffer[2] = {};
        void* const pBuffer = o.bBuffer ? lBuffer : nullptr;
        UInt32* const pSize = o.bOut ? &nSize : nullptr;
        EXPECT_EQ((**pDriver).IsPropertySettable(pAs, o.nObject, 0, pAddress, o.bOut ? &bSettable : nullptr),
                  o.nSettable);
        EXPECT_EQ((**pDriver).GetPropertyDataSize(pAs, o.nObject, 0, pAddress, 0, nullptr, pSize), o.nSize);
        EXPECT_EQ((**pDriver).GetPropertyData(pAs, o.nObject, 0, pAddress, 0, nullptr, 2, pSize, pBuffer), o.nGet);
        EXPECT_EQ((**pDriver).SetPropertyData(pAs, o.nObject, 0, pAddress, 0, nullptr, 2, pBuffer), o.nSet);
    }
    EXPECT_FALSE((**pDriver).HasProperty(pDriver, 3, 0, nullptr));
    struct {
        AudioObjectID nObject;
        UInt32 nSelector, nSize;
    } const lRead[] = {{2, 'lnam', 8}, {2, 'bxon', 4}, {3, 'nsrt', 8},  {8, 'sfmt', 40},
                       {8, 'sact', 4}, {9, 'lcdv', 4}, {10, 'bcvl', 4}, {11, 'scci', 4}};
    for (auto const& o : lRead) {
        auto const oAddress = At(o.nSelector);
        EXPECT_EQ((**pDriver).SetPropertyData(pDriver, o.nObject, 0, &oAddress, 0, nullptr, o.nSize, nullptr), 'nope');
    }
    EXPECT_EQ(Set(2, 'iden', D({0})), '!siz');
    EXPECT_EQ(oHost.TakeEvents(), FakeHost::Events{});
}

TEST_F(Driver, QualifiersMustBeWholeAndThere) {
    Bytes const lUid = Ref(CFSTR("LumoraVirtualAudioDevice_UID")), lOther = Ref(CFSTR("AnotherUID"));
    struct {
        AudioObjectID nObject;
        UInt32 nSelector;
        UInt32 nBufferSize;
        Bytes lQualifier;
        OSStatus nExpected;
        Bytes lExpected;
    } const lCases[] = {
        {1, 'uidb', 4, lOther, 0, U({0})},       {1, 'uidd', 4, lOther, 0, U({0})},
        {1, 'uidd', 4, Ref(nullptr), 0, U({0})}, {1, 'uidd', 4, U({1}), '!siz', {}},
        {1, 'uidb', 4, {}, '!siz', {}},          {1, 'uidb', 3, D({-1}), '!siz', {}}, // no string: not looked at
        {1, 'PCst', 8, U({1}), '!siz', {}},      {1, 'PCst', 8, {}, '!siz', {}},
        {11, 'scin', 8, U({4}), 'nope', {}},     {12, 'scin', 8, U({~0u}), 'nope', {}},
        {12, 'scin', 8, U({1, 0}), '!siz', {}},  {11, 'scin', 8, {}, '!siz', {}},
        {11, 'scin', 7, U({9}), '!siz', {}},
    };
    for (auto const& oCase : lCases) {
        SCOPED_TRACE(CodeText(oCase.nSelector) + " " + testing::PrintToString(oCase.lQualifier));
        Answer const oAnswer = Get(oCase.nObject, At(oCase.nSelector), oCase.nBufferSize, oCase.lQualifier);
        EXPECT_EQ(oAnswer.nStatus, oCase.nExpected);
        EXPECT_EQ(oAnswer.lBytes, oCase.lExpected);
    }
    EXPECT_EQ(Size(1, At('PCst'), U({1})).nStatus, '!siz');
    EXPECT_EQ(Set(1, 'PCst', lUid, U({1})), '!siz');
    EXPECT_EQ(Set(1, 'PCst', U({1}), lUid), '!siz');

    testing::internal::CaptureStderr();
    EXPECT_EQ(Set(1, 'PCst', Ref(CFSTR("the value")), Ref(CFSTR("the qualifier"))), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the qualifier\nthe value\n");
}
