// From the factory to Initialize, and everything at once.
#include "tests/driver/driver_test.h"

#include "driver/plugin/factory.h"
#include "driver/state/state.h"
#include "platform/testing/objects.h"
#include "tests/xpc/helperlink/helper_and_recorder.h"
#include "xpc/client_manager.h"

#include <CoreFoundation/CoreFoundation.h>

#include <functional>
#include <thread>

TEST_F(Driver, IsHandedOutAndCountedWithoutWrapping) {
    EXPECT_EQ(LVirtualAudioDevice_Create(nullptr, IUnknownUUID), nullptr);
    EXPECT_EQ(LVirtualAudioDevice_Create(nullptr, nullptr), nullptr);
    auto const query = [&](CFUUIDRef pUUID, LPVOID* ppOut) {
        return (*pDriver)->QueryInterface(pDriver, CFUUIDGetUUIDBytes(pUUID), ppOut);
    };
    long const nObjects = PlatformCountLiveObjects();
    LPVOID pUnknown = nullptr, pInterface = nullptr, pOther = this;
    EXPECT_EQ(query(IUnknownUUID, &pUnknown), S_OK);
    EXPECT_EQ(query(kAudioServerPlugInDriverInterfaceUUID, &pInterface), S_OK);
    EXPECT_EQ(query(kAudioServerPlugInTypeUUID, &pOther), E_NOINTERFACE);
    EXPECT_EQ(query(IUnknownUUID, nullptr), 'nope');
    EXPECT_TRUE(pUnknown == pDriver && pInterface == pDriver && pOther == this);
    EXPECT_EQ(PlatformCountLiveObjects(), nObjects);
    EXPECT_EQ((*pDriver)->AddRef(pDriver), 3u);
    for (ULONG const nExpected : {2u, 1u, 0u, 0u})
        EXPECT_EQ((*pDriver)->Release(pDriver), nExpected);
    gVADRefCount = 0xFFFFFFFE;
    for (int n = 0; n < 2; ++n)
        EXPECT_EQ((*pDriver)->AddRef(pDriver), 0xFFFFFFFFu);
}

TEST_F(Driver, InitializeRestoresTheBoxFromWhateverIsStored) {
    ServiceFolder const oNoHelper;
    auto const number = [](SInt64 nValue) { return CFNumberCreate(nullptr, kCFNumberSInt64Type, &nValue); };
    auto const text = [](char const* sz) { return CFStringCreateWithCString(nullptr, sz, kCFStringEncodingUTF8); };
    long const nObjects = PlatformCountLiveObjects();
    struct {
        char const* szCase;
        CFTypeRef pStored; // one reference
        bool bAcquired;
        char const* szName;
    } const lCases[] = {
        {"nothing", nullptr, true, "Null Box"},
        {"false", kCFBooleanFalse, false, "Null Box"},
        {"a string, which leaves the flag", text("Cellar"), false, "Cellar"},
        {"true, which leaves the name", kCFBooleanTrue, true, "Cellar"},
        {"0", number(0), false, "Cellar"},
        {"-1", number(-1), true, "Cellar"},
        {"a number whose 32 bits are 0", number(SInt64{1} << 32), false, "Cellar"},
        {"data", CFDataCreate(nullptr, reinterpret_cast<UInt8 const*>("x"), 1), false, "Cellar"},
        {"another string", text("Attic"), false, "Attic"},
    };
    gVADBoxName = nullptr;
    for (auto const& oCase : lCases) {
        SCOPED_TRACE(oCase.szCase);
        gVADHostTicksPerFrame = 0;
        oHost.Store(oCase.pStored);
        EXPECT_EQ((*pDriver)->Initialize(pDriver, oHost.Ref()), 0);
        EXPECT_EQ(gVADBoxAcquired, oCase.bAcquired);
        EXPECT_EQ(TakeText(Get(2, At('lnam'), 8).lBytes), oCase.szName);
        EXPECT_DOUBLE_EQ(gVADHostTicksPerFrame, 1000000000.0 / 44100.0);
    }
    EXPECT_EQ((*pDriver)->Initialize(pDriver, nullptr), 0); // a host without an interface: nothing to restore from
    EXPECT_EQ(oHost.TakeEvents(), FakeHost::Events{});
    EXPECT_EQ(PlatformCountLiveObjects(), nObjects + 1) << "the stored string, which is also the name";
    EXPECT_EQ(Set(2, 'lnam', Ref(nullptr)), 0);
    LXPCClientManager::DestroyAll();
}

TEST_F(Driver, ServesManyThreadsAtOnce) {
    long const nObjects = PlatformCountLiveObjects();
    auto const read = [&](int) {
        constexpr UInt32 lRead[][2] = {{1, 'ownd'}, {1, 'dev#'}, {2, 'bxon'}, {2, 'bdv#'},  {3, 'nsrt'}, {3, 'goin'},
                                       {8, 'sfmt'}, {8, 'sact'}, {9, 'lcdv'}, {10, 'bcvl'}, {11, 'scci'}};
        for (auto const& [nObject, nSelector] : lRead)
            EXPECT_EQ(Get(nObject, At(nSelector), 40).nStatus + Size(nObject, At(nSelector)).nStatus, 0);
        TakeText(Get(2, At('lnam'), 8).lBytes);
    };
    auto const set = [&](int n) {
        UInt32 const nItem = static_cast<UInt32>(n % 4);
        CFStringRef const szName = CFStringCreateWithFormat(nullptr, nullptr, CFSTR("Box %d"), n);
        EXPECT_EQ(Set(2, 'lnam', Ref(szName)), 0);
        CFRelease(szName);
        for (auto const& [nObject, nSelector] : {std::pair<UInt32, UInt32>{2, 'bxon'}, {10, 'bcvl'}, {8, 'sact'}})
            EXPECT_EQ(Set(nObject, nSelector, U({nItem & 1})), 0);
        EXPECT_EQ(Set(9, 'lcsv', F(static_cast<Float32>(nItem) / 4)), 0);
        EXPECT_EQ(Set(11, 'scci', U({nItem})), 0);
        EXPECT_EQ((*pDriver)->PerformDeviceConfigurationChange(pDriver, 3, n % 2 ? 48000 : 44100, nullptr), 0);
    };
    auto const startAndStop = [&](int) {
        EXPECT_EQ((*pDriver)->StartIO(pDriver, 3, 1) + (*pDriver)->StopIO(pDriver, 3, 1), 0);
        (*pDriver)->AddRef(pDriver);
        (*pDriver)->Release(pDriver);
    };
    auto const cycle = [&](int) {
        float lBuffer[64] = {};
        EXPECT_EQ((*pDriver)->GetZeroTimeStamp(pDriver, 3, 1, nullptr, nullptr, nullptr), 0);
        EXPECT_EQ((*pDriver)->DoIOOperation(pDriver, 3, 8, 1, 'rite', 32, nullptr, lBuffer, nullptr), 0);
    };
    std::vector<std::thread> lThreads;
    for (std::function<void(int)> const& work :
         std::initializer_list<std::function<void(int)>>{read, set, set, startAndStop, startAndStop, cycle})
        lThreads.emplace_back([work] {
            for (int n = 0; n < 400; ++n)
                work(n);
        });
    for (auto& oThread : lThreads)
        oThread.join();
    oHost.TakeEvents();
    EXPECT_EQ(gVADRefCount, 0u);
    EXPECT_EQ(gVADIORunningCount, 0u);
    EXPECT_EQ(oHost.Stored(), gVADBoxAcquired ? kCFBooleanTrue : kCFBooleanFalse) << "storage and state parted";
    EXPECT_EQ(Set(2, 'lnam', Ref(nullptr)), 0);
    EXPECT_EQ(PlatformCountLiveObjects(), nObjects);
}
