#include "tests/xpc/recording_sink.h"
#include "xpc/helperlink/helper_keys.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

// The bundle, as a host loads it. Closing it runs its clean-ups.
struct Bundle {
    Bundle() : pBundle(dlopen(LUMORA_STARTUP_BUNDLE, RTLD_NOW | RTLD_LOCAL)) { EXPECT_TRUE(pBundle) << dlerror(); }
    ~Bundle() {
        dlclose(pBundle);
        EXPECT_FALSE(dlopen(LUMORA_STARTUP_BUNDLE, RTLD_NOW | RTLD_NOLOAD)) << "the bundle is still loaded";
    }
    template <class Function>
    Function* Find(char const* szName) {
        return reinterpret_cast<Function*>(dlsym(pBundle, szName));
    }
    void* const pBundle;
};

} // namespace

TEST(Startup, FillsTheKeyTablesAndTheRegistryBeforeAnyCall) {
    Bundle oBundle;
    std::string arNames[2];
    for (bool bReceive : {false, true}) {
        auto const* pKey = oBundle.Find<LXPCDictionaryKey const*(bool)>("BundleKeys")(bReceive);
        for (; pKey->szName[0]; ++pKey)
            arNames[bReceive] += pKey->szName + (":" + std::to_string(pKey->nType)) + " ";
        EXPECT_EQ(pKey->nType, LXPCDataType_None);
    }
    EXPECT_EQ(arNames[0], "NEW_ENDPOINT:10 CLOSE_ENDPOINT:1 REQUEST_ENDPOINT:1 AUDIO_DATA:6 LOAD_DRIVER:8 "
                          "START_RECORDING:1 STOP_RECORDING:1 VOLUME_CHANGED:4 ");
    EXPECT_EQ(arNames[1], "NEW_ENDPOINT_REPLY:1 CLOSE_ENDPOINT_REPLY:1 SEND_ENDPOINT:10 AUDIO_DATA:6 "
                          "LOAD_DRIVER_REPLY:1 START_RECORDING:1 STOP_RECORDING:1 VOLUME_CHANGED:4 ");
    RecordingSink oSink;
    EXPECT_EQ(oBundle.Find<int(LXPCClientEventNotify*)>("BundleCreateClient")(&oSink), 1);
}
