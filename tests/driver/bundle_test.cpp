// The bundle as it lies on disk and as a host loads it.
#include "platform/testing/clock.h"
#include "platform/testing/quiesce.h"

#include <CoreAudio/AudioServerPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#define LUMORA_EXECUTABLE "'" LUMORA_BUNDLE "/Contents/MacOS/LumoraVirtualAudioDevice'"

namespace {

std::string OutputOf(char const* szCommand) {
    std::string szOut;
    std::unique_ptr<FILE, int (*)(FILE*)> const pPipe(popen(szCommand, "r"), pclose);
    for (int n = 0; pPipe && (n = std::fgetc(pPipe.get())) != EOF;)
        szOut += static_cast<char>(n);
    return szOut;
}

UInt32 BigEndian(std::string const& lBytes, size_t nAt) {
    UInt32 nValue = 0;
    for (size_t n = 0; n < 4; ++n)
        nValue = nValue << 8 | static_cast<unsigned char>(lBytes.at(nAt + n));
    return nValue;
}

} // namespace

TEST(Bundle, ExportsTheFactoryAndTheLinksFunctionsAndNeedsThePlatformOnly) {
    EXPECT_EQ(OutputOf("nm -D --defined-only " LUMORA_EXECUTABLE " | awk '{print $3}' | LC_ALL=C sort"),
              "LVADPluginConnectToApp\nLVADPluginConnectToXPCService\nLVADSendAudioData\nLVADSendVolumeChanged\n"
              "LVADServerIsConnectionValid\nLVirtualAudioDevice_Create\n");
    EXPECT_EQ(OutputOf("readelf -d " LUMORA_EXECUTABLE " | sed -n 's/.*Shared library: .lib\\(.*\\)\\.so.*/\\1/p'"
                       " | grep -vxE 'stdc\\+\\+|gcc_s|m|c|[atu]+b?san'"),
              "platform\n");
}

// Loaded and unloaded again and again, a driver starts anew each time, finds its icon, and is gone only when its queued
// work is done: the end of an identify, due by a clock that stands still, is given up and touches nothing later.
TEST(Bundle, IsLoadedAnewAndUnloadedWhenItsQueuedWorkIsDone) {
    CFURLRef const pUrl = CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<UInt8 const*>(LUMORA_BUNDLE), sizeof LUMORA_BUNDLE - 1, true);
    CFBundleRef const pBundle = CFBundleCreate(nullptr, pUrl);
    CFRelease(pUrl);
    ASSERT_NE(pBundle, nullptr);
    TestClockHold(1000);
    for (int n = 0; n < 8; ++n) {
        auto const create = reinterpret_cast<CFPlugInFactoryFunction>(
            CFBundleGetFunctionPointerForName(pBundle, CFSTR("LVirtualAudioDevice_Create")));
        ASSERT_NE(create, nullptr);
        auto const pDriver = static_cast<AudioServerPlugInDriverRef>(create(nullptr, kAudioServerPlugInTypeUUID));
        AudioObjectPropertyAddress const oAcquired{'bxon', 'glob', 0}, oIdentify{'iden', 'glob', 0},
            oIcon{'icon', 'glob', 0};
        UInt32 nValue = 0, nSize = 0;
        EXPECT_EQ((*pDriver)->GetPropertyData(pDriver, 2, 0, &oAcquired, 0, nullptr, 4, &nSize, &nValue), 0);
        EXPECT_EQ(nValue, 1u);
        nValue = 0;
        EXPECT_EQ((*pDriver)->SetPropertyData(pDriver, 2, 0, &oAcquired, 0, nullptr, 4, &nValue), 0);
        EXPECT_EQ((*pDriver)->SetPropertyData(pDriver, 2, 0, &oIdentify, 0, nullptr, 4, &nValue), 0);

        CFURLRef pIcon = nullptr;
        ASSERT_EQ((*pDriver)->GetPropertyData(pDriver, 3, 0, &oIcon, 0, nullptr, 8, &nSize, &pIcon), 0);
        char szPath[1024] = "";
        EXPECT_TRUE(CFURLGetFileSystemRepresentation(pIcon, true, reinterpret_cast<UInt8*>(szPath), sizeof szPath));
        EXPECT_STREQ(szPath, LUMORA_BUNDLE "/Contents/Resources/DeviceIcon.icns");
        CFRelease(pIcon);
        CFBundleUnloadExecutable(pBundle);
        EXPECT_FALSE(CFBundleIsExecutableLoaded(pBundle));
    }
    TestClockAdvance(3'000'000'000);
    dispatch_semaphore_t const pAllDue = dispatch_semaphore_create(0);
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, 0), dispatch_get_global_queue(0, 0),
                   [pAllDue] { dispatch_semaphore_signal(pAllDue); });
    dispatch_semaphore_wait(pAllDue, DISPATCH_TIME_FOREVER);
    PlatformQuiesce();
    dispatch_release(pAllDue);
    TestClockReset();
    CFRelease(pBundle);
}

TEST(Bundle, IconFileHoldsAPictureOfEverySize) {
    std::ifstream oFile(LUMORA_BUNDLE "/Contents/Resources/DeviceIcon.icns", std::ios::binary);
    std::string const lBytes{std::istreambuf_iterator<char>(oFile), {}};
    ASSERT_EQ(lBytes.substr(0, 4), "icns");
    ASSERT_EQ(BigEndian(lBytes, 4), lBytes.size());
    std::string szKinds;
    for (size_t nAt = 8; nAt < lBytes.size(); nAt += std::max(8u, BigEndian(lBytes, nAt + 4))) {
        EXPECT_EQ(lBytes.substr(nAt + 8, 8), "\x89PNG\r\n\x1A\n");
        szKinds += lBytes.substr(nAt, 4) + " " + std::to_string(BigEndian(lBytes, nAt + 24)) + " "; // and its width
    }
    EXPECT_EQ(szKinds, "ic11 32 ic12 64 ic07 128 ic08 256 ic09 512 ic10 1024 ");
}
