// The bundle under a host that unloads it while the link is at work.
#include "tests/xpc/helperlink/helper_and_recorder.h"

#include <CoreAudio/AudioServerPlugIn.h>

#include <dlfcn.h>

namespace {

char const kExecutable[] = LUMORA_BUNDLE "/Contents/MacOS/LumoraVirtualAudioDevice";

AudioServerPlugInHostInterface const kHost{
    [](AudioServerPlugInHostRef, UInt32, UInt32, AudioObjectPropertyAddress const*) { return OSStatus{0}; },
    [](AudioServerPlugInHostRef, CFStringRef, CFPropertyListRef* pData) {
        *pData = nullptr;
        return OSStatus{0};
    },
    [](AudioServerPlugInHostRef, CFStringRef, CFPropertyListRef) { return OSStatus{0}; },
    [](AudioServerPlugInHostRef, CFStringRef) { return OSStatus{0}; },
    [](AudioServerPlugInHostRef, AudioObjectID, UInt64, void*) { return OSStatus{0}; },
};

// Starts IO and sends, and lets go of the code at whatever moment that is for the connections' threads.
void LoadUseAndUnload() {
    void* const pBundle = dlopen(kExecutable, RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(pBundle) << dlerror();
    auto const create =
        reinterpret_cast<void* (*)(CFAllocatorRef, CFUUIDRef)>(dlsym(pBundle, "LVirtualAudioDevice_Create"));
    auto const pDriver = static_cast<AudioServerPlugInDriverRef>(create(nullptr, kAudioServerPlugInTypeUUID));
    EXPECT_EQ((*pDriver)->Initialize(pDriver, &kHost), 0);
    EXPECT_EQ((*pDriver)->StartIO(pDriver, 3, 1), 0);
    float arFrames[2 * 64] = {};
    AudioServerPlugInIOCycleInfo const oCycle{};
    for (int n = 0; n < 4; ++n)
        (*pDriver)->DoIOOperation(pDriver, 3, 8, 1, kAudioServerPlugInIOOperationWriteMix, 64, &oCycle, arFrames,
                                  nullptr);
    EXPECT_EQ((*pDriver)->StopIO(pDriver, 3, 1), 0);
    dlclose(pBundle);
    ASSERT_FALSE(dlopen(kExecutable, RTLD_NOW | RTLD_NOLOAD)) << "still loaded";
}

} // namespace

TEST(Unload, LeavesNobodyInTheCodeWhateverTheLinkIsDoing) {
    ServiceFolder const oFolder;
    for (int n = 0; n < 100; ++n) // the helper is not there
        LoadUseAndUnload();
    FakeHelper oHelper;
    FakeRecorder oRecorder;
    oHelper.SetOffer(oRecorder.oEndPoint.Get());
    for (int n = 0; n < 100; ++n) // or answers while the code goes away
        LoadUseAndUnload();
    oRecorder.oClient.DisconnectAll();
    PlatformQuiesce();
}
