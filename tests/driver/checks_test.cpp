// What is refused, and which of several faults in one call is the one that is named.
#include "tests/driver/driver_test.h"

#include <CoreFoundation/CoreFoundation.h>

class Checks : public Driver {
protected:
    using Results = std::vector<std::string>;
    // Every slot of the table from CreateDevice on, called with these two; everything else about the calls is fit.
    Results CallAll(AudioServerPlugInDriverRef pAs, AudioObjectID nDevice);
};

Checks::Results Checks::CallAll(AudioServerPlugInDriverRef pAs, AudioObjectID nDevice) {
    AudioServerPlugInDriverInterface const& o = **pDriver;
    auto const oName = At('lmak'), oMute = At('bcvl');
    UInt32 nSize = 0;
    UInt64 nTime = 0, nSeed = 0, nValue = 0;
    Float64 nSample = 0;
    Boolean bFlag = 0, bOther = 0;
    AudioObjectID nNew = 0;
    Results lResults;
    for (OSStatus const nStatus :
         {o.CreateDevice(pAs, nullptr, nullptr, &nNew), o.DestroyDevice(pAs, nDevice),
          o.AddDeviceClient(pAs, nDevice, nullptr), o.RemoveDeviceClient(pAs, nDevice, nullptr),
          o.PerformDeviceConfigurationChange(pAs, nDevice, 44100, nullptr),
          o.AbortDeviceConfigurationChange(pAs, nDevice, 1, nullptr), OSStatus{o.HasProperty(pAs, 3, 0, &oName)},
          o.IsPropertySettable(pAs, 3, 0, &oName, &bFlag), o.GetPropertyDataSize(pAs, 3, 0, &oName, 0, nullptr, &nSize),
          o.GetPropertyData(pAs, 3, 0, &oName, 0, nullptr, 8, &nSize, &nValue),
          o.SetPropertyData(pAs, 10, 0, &oMute, 0, nullptr, 4, &nSize), o.StartIO(pAs, nDevice, 0),
          o.GetZeroTimeStamp(pAs, nDevice, 0, &nSample, &nTime, &nSeed),
          o.WillDoIOOperation(pAs, nDevice, 0, 'rite', &bFlag, &bOther),
          o.BeginIOOperation(pAs, nDevice, 0, 'zzzz', 1, nullptr),
          o.DoIOOperation(pAs, nDevice, 8, 0, 'read', 1, nullptr, &nValue, nullptr),
          o.EndIOOperation(pAs, nDevice, 0, 'zzzz', 1, nullptr), o.StopIO(pAs, nDevice, 0)})
        lResults.push_back(nStatus > 0xFF ? CodeText(static_cast<UInt32>(nStatus)) : std::to_string(nStatus));
    return lResults;
}

TEST_F(Checks, EveryOperationKnowsItsDriverAndItsDevice) {
    AudioServerPlugInDriverInterface* pCopy = *pDriver; // the right table behind a foreign reference
    Results lForeign(18, "!obj");
    lForeign[6] = "0"; // HasProperty
    EXPECT_EQ(CallAll(&pCopy, 3), lForeign);
    EXPECT_EQ(CallAll(nullptr, 3), lForeign);
    EXPECT_EQ((**pDriver).Initialize(&pCopy, nullptr), '!obj');
    EXPECT_EQ((**pDriver).AddRef(&pCopy) + (**pDriver).Release(&pCopy), 0u);

    Results const lOurs{"unop", "unop", "0", "0", "0", "0", "1", "0", "0", "0", "0", "0", "0", "0", "0", "0", "0", "0"};
    EXPECT_EQ(CallAll(pDriver, 3), lOurs);
    Results lOtherDevice = lOurs;
    for (size_t const n : {2u, 3u, 4u, 5u, 11u, 12u, 13u, 14u, 15u, 16u, 17u}) // those that name a device
        lOtherDevice[n] = "!obj";
    for (AudioObjectID const nOther : {0u, 2u, 8u, 13u})
        EXPECT_EQ(CallAll(pDriver, nOther), lOtherDevice);
    UInt64 nSample = 0;
    for (AudioObjectID const nStream : {0u, 3u, 9u})
        EXPECT_EQ((**pDriver).DoIOOperation(pDriver, 3, nStream, 0, 'read', 1, nullptr, &nSample, nullptr), '!obj');
}

TEST_F(Checks, PropertyOperationsNameTheFirstFault) {
    AudioServerPlugInDriverInterface* pCopy = *pDriver;
    struct {
        char const* szCase;
        bool bForeign, bNoAddress, bNoOut, bNoBuffer;
        AudioObjectID nObject;
        UInt32 nSelector;
        OSStatus nSettable, nSize, nGet;
    } const lCases[] = {
        {"foreign before all", true, true, true, true, 5, 'zzzz', '!obj', '!obj', '!obj'},
        {"null address before object", false, true, false, false, 5, 'zzzz', 'nope', 'nope', 'nope'},
        {"null result before object", false, false, true, false, 5, 'zzzz', 'nope', 'nope', 'nope'},
        {"null buffer before object", false, false, false, true, 5, 'zzzz', '!obj', '!obj', 'nope'},
        {"object before selector", false, false, false, false, 5, 'zzzz', '!obj', '!obj', '!obj'},
        {"selector before size", false, false, false, false, 3, 'zzzz', 'who?', 'who?', 'who?'},
        {"size", false, false, false, false, 3, 'nsrt', 0, 0, '!siz'},
    };
    for (auto const& oCase : lCases) {
        SCOPED_TRACE(oCase.szCase);
        auto const pAs = oCase.bForeign ? &pCopy : pDriver;
        auto const oAddress = At(oCase.nSelector);
        auto const pAddress = oCase.bNoAddress ? nullptr : &oAddress;
        Boolean bSettable = 0;
        UInt32 nSize = 0;
        char lBuffer[2];
        EXPECT_EQ((**pDriver).IsPropertySettable(pAs, oCase.nObject, 0, pAddress, oCase.bNoOut ? nullptr : &bSettable),
                  oCase.nSettable);
        EXPECT_EQ((**pDriver).GetPropertyDataSize(pAs, oCase.nObject, 0, pAddress, 0, nullptr,
                                                  oCase.bNoOut ? nullptr : &nSize),
                  oCase.nSize);
        EXPECT_EQ((**pDriver).GetPropertyData(pAs, oCase.nObject, 0, pAddress, 0, nullptr, sizeof lBuffer,
                                              oCase.bNoOut ? nullptr : &nSize, oCase.bNoBuffer ? nullptr : lBuffer),
                  oCase.nGet);
    }
    EXPECT_FALSE((**pDriver).HasProperty(pDriver, 3, 0, nullptr));
}

TEST_F(Checks, ChangesNameTheFirstFaultAndReportNothing) {
    struct {
        char const* szCase;
        AudioObjectID nObject;
        UInt32 nSelector;
        UInt32 nSize;
        bool bData;
        OSStatus nExpected;
    } const lCases[] = {
        {"object before selector", 5, 'zzzz', 99, false, '!obj'},
        {"unknown selector before size", 3, 'zzzz', 99, false, 'who?'},
        {"fixed selector before size", 3, 'lnam', 99, false, 'who?'},
        {"size before data", 3, 'nsrt', 4, false, '!siz'},
        {"data before value", 3, 'nsrt', 8, false, 'nope'},
        {"scalar of eight bytes", 9, 'lcsv', 8, true, '!siz'},
        {"custom property without qualifier before data", 1, 'PCst', 8, false, '!siz'},
        {"identify needs its size", 2, 'iden', 8, true, '!siz'},
        {"nothing at all", 10, 'bcvl', 0, false, '!siz'},
        {"null mute", 10, 'bcvl', 4, false, 'nope'},
        {"null item", 11, 'scci', 4, false, 'nope'},
        {"null decibels", 9, 'lcdv', 4, false, 'nope'},
        {"no name reference, not even a null one", 2, 'lnam', 8, false, 'nope'},
        {"null format", 8, 'sfmt', 40, false, 'nope'},
        {"null stream flag", 8, 'sact', 4, false, 'nope'},
        {"null box flag", 2, 'bxon', 4, false, 'nope'},
    };
    char const lData[99] = {};
    for (auto const& oCase : lCases) {
        auto const oAddress = At(oCase.nSelector);
        EXPECT_EQ((**pDriver).SetPropertyData(pDriver, oCase.nObject, 0, &oAddress, 0, nullptr, oCase.nSize,
                                              oCase.bData ? lData : nullptr),
                  oCase.nExpected)
            << oCase.szCase;
    }
    EXPECT_EQ((**pDriver).SetPropertyData(pDriver, 5, 0, nullptr, 0, nullptr, 4, lData), 'nope');
    EXPECT_EQ(oHost.TakeEvents(), FakeHost::Events{});
}

TEST_F(Checks, QualifiersMustBeWholeAndThere) {
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
        {1, 'uidb', 4, {}, '!siz', {}},          {1, 'uidb', 3, lUid, '!siz', {}},
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
    EXPECT_EQ(Size(1, At('PCst')).nStatus, '!siz');
    EXPECT_EQ(Set(1, 'PCst', lUid, U({1})), '!siz');
    EXPECT_EQ(Set(1, 'PCst', U({1}), lUid), '!siz');

    testing::internal::CaptureStderr();
    EXPECT_EQ(Set(1, 'PCst', Ref(CFSTR("the value")), Ref(CFSTR("the qualifier"))), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the qualifier\nthe value\n");
}
