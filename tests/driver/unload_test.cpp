// The bundle under a host that unloads it while the link is at work.
#include "tests/xpc/helperlink/helper_and_recorder.h"

#include <CoreAudio/AudioServerPlugIn.h>

#include <dlfcn.h>

namespace {

char const kExecutable[] = LUMORA_BUNDLE "/Contents/MacOS/LumoraVirtualAudioDevice";

// Starts IO and sends, and lets go of the code at whatever moment that is for the connections' threads.
void LoadUseAndUnload() {
    void* const pBundle = dlopen(kExecutable, RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(pBundle) << dlerror();
    auto const create =
        reinterpret_cast<void* (*)(CFAllocatorRef, CFUUIDRef)>(dlsym(pBundle, "LVirtualAudioDevice_Create"));
    auto const pDriver = static_cast<AudioServerPlugInDriverRef>(create(nullptr, kAudioServerPlugInTypeUUID));
    EXPECT_EQ((*pDriver)->Initialize(pDriver, nullptr), 0); // the link alone is at work
    EXPECT_EQ((*pDriver)->StartIO(pDriver, 3, 1), 0);
    float arFrames[2 * 64] = {};
    for (int n = 0; n < 4; ++n)
        (*pDriver)->DoIOOperation(pDriver, 3, 8, 1, 'rite', 64, nullptr, arFrames, nullptr);
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
