// From the factory to Initialize.
#include "tests/driver/driver_test.h"

#include "driver/plugin/factory.h"
#include "driver/plugin/interface.h"
#include "driver/state/state.h"
#include "platform/testing/objects.h"
#include "tests/harness/temporary_folder.h"
#include "xpc/client_manager.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstdlib>

class Lifecycle : public Driver {
protected:
    void SetUp() override {
        setenv("XDG_RUNTIME_DIR", oRuntime.Path().c_str(), 1); // no helper serves there
        Driver::SetUp();
    }
    void TearDown() override {
        LXPCClientManager::DestroyAll();
        Driver::TearDown();
    }
    HRESULT Query(CFUUIDRef pUUID, LPVOID* ppOut) {
        return (*pDriver)->QueryInterface(pDriver, CFUUIDGetUUIDBytes(pUUID), ppOut);
    }
    TemporaryFolder oRuntime;
};

TEST_F(Lifecycle, TheFactoryKnowsOneType) {
    EXPECT_EQ(LVirtualAudioDevice_Create(nullptr, kAudioServerPlugInTypeUUID), &gVADDriverRef);
    EXPECT_EQ(LVirtualAudioDevice_Create(nullptr, IUnknownUUID), nullptr);
    EXPECT_EQ(LVirtualAudioDevice_Create(nullptr, nullptr), nullptr);
    EXPECT_EQ(gVADRefCount, 0u);
    EXPECT_EQ(gVADDriverInterface._reserved, nullptr);
}

TEST_F(Lifecycle, ReferencesAreCountedAndNeverWrap) {
    long const nObjects = PlatformCountLiveObjects();
    LPVOID pUnknown = nullptr, pInterface = nullptr, pOther = this;
    EXPECT_EQ(Query(IUnknownUUID, &pUnknown), S_OK);
    EXPECT_EQ(Query(kAudioServerPlugInDriverInterfaceUUID, &pInterface), S_OK);
    EXPECT_EQ(pUnknown, pDriver);
    EXPECT_EQ(pInterface, pDriver);
    EXPECT_EQ(Query(kAudioServerPlugInTypeUUID, &pOther), E_NOINTERFACE);
    EXPECT_EQ(pOther, this);
    EXPECT_EQ(Query(IUnknownUUID, nullptr), 'nope');
    EXPECT_EQ(PlatformCountLiveObjects(), nObjects);

    EXPECT_EQ((*pDriver)->AddRef(pDriver), 3u);
    for (ULONG const nExpected : {2u, 1u, 0u, 0u})
        EXPECT_EQ((*pDriver)->Release(pDriver), nExpected);
    gVADRefCount = 0xFFFFFFFE;
    EXPECT_EQ((*pDriver)->AddRef(pDriver), 0xFFFFFFFFu);
    EXPECT_EQ((*pDriver)->AddRef(pDriver), 0xFFFFFFFFu);
}

TEST_F(Lifecycle, InitializeRestoresTheBoxFromWhateverIsStored) {
    auto const number = [](SInt64 nValue) { return CFNumberCreate(nullptr, kCFNumberSInt64Type, &nValue); };
    struct {
        char const* szCase;
        CFTypeRef pStored; // one reference
        bool bAcquired;
        char const* szName;
    } const lCases[] = {
        {"nothing", nullptr, true, "Null Box"},
        {"true", CFRetain(kCFBooleanTrue), true, "Null Box"},
        {"false", CFRetain(kCFBooleanFalse), false, "Null Box"},
        {"0", number(0), false, "Null Box"},
        {"-1", number(-1), true, "Null Box"},
        {"a number whose 32 bits are 0", number(SInt64{1} << 32), false, "Null Box"},
        {"a string", CFStringCreateWithCString(nullptr, "Cellar", kCFStringEncodingUTF8), true, "Cellar"},
        {"data", CFDataCreate(nullptr, reinterpret_cast<UInt8 const*>("x"), 1), true, "Null Box"},
    };
    for (auto const& oCase : lCases) {
        SCOPED_TRACE(oCase.szCase);
        Driver::TearDown();
        Driver::SetUp();
        gVADBoxName = nullptr;
        gVADHostTicksPerFrame = 0;
        oHost.Store("box acquired", oCase.pStored);
        EXPECT_EQ((*pDriver)->Initialize(pDriver, oHost.Ref()), 0);
        EXPECT_EQ(gVADHost, oHost.Ref());
        EXPECT_EQ(gVADBoxAcquired, oCase.bAcquired);
        EXPECT_EQ(TakeText(Get(2, At('lnam'), 8).lBytes), oCase.szName);
        EXPECT_DOUBLE_EQ(gVADHostTicksPerFrame, 1000000000.0 / 44100.0);
        EXPECT_EQ(oHost.WriteCount(), 0);
    }
}

TEST_F(Lifecycle, InitializingTwiceReplacesTheName) {
    long const nObjects = PlatformCountLiveObjects();
    for (char const* const szName : {"First", "Second"}) {
        oHost.Store("box acquired", CFStringCreateWithCString(nullptr, szName, kCFStringEncodingUTF8));
        EXPECT_EQ((*pDriver)->Initialize(pDriver, oHost.Ref()), 0);
        EXPECT_EQ(TakeText(Get(2, At('lnam'), 8).lBytes), szName);
    }
    EXPECT_EQ((*pDriver)->Initialize(pDriver, nullptr), 0); // a host without an interface: nothing to restore from
    EXPECT_EQ(gVADHost, nullptr);
    EXPECT_EQ(PlatformCountLiveObjects(), nObjects + 1) << "the stored string, which is also the name";
}
