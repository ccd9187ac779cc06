// The bundle as it lies on disk and as a host loads it.
#include "driver/plugin/factory.h"
#include "platform/host/clock.h"

#include <CoreAudio/AudioServerPlugIn.h>
#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

namespace {

template <class Reference>
class Owned { // releases at its end
public:
    explicit Owned(Reference pOwned) : pObject(pOwned) {}
    ~Owned() {
        if (pObject)
            CFRelease(pObject);
    }
    Owned(Owned const&) = delete;
    operator Reference() const { return pObject; }

private:
    Reference const pObject;
};

CFBundleRef OpenBundle() {
    Owned<CFURLRef> const pUrl(CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<UInt8 const*>(LUMORA_BUNDLE), sizeof LUMORA_BUNDLE - 1, true));
    return CFBundleCreate(nullptr, pUrl);
}

std::string OutputOf(std::string const& szCommand) {
    std::string szOut;
    std::unique_ptr<FILE, int (*)(FILE*)> const pPipe(popen(szCommand.c_str(), "r"), pclose);
    for (int n = 0; pPipe && (n = std::fgetc(pPipe.get())) != EOF;)
        szOut += static_cast<char>(n);
    return szOut;
}

char const kExecutable[] = LUMORA_BUNDLE "/Contents/MacOS/LumoraVirtualAudioDevice";

UInt32 BigEndian(std::string const& lBytes, size_t nAt) {
    UInt32 nValue = 0;
    for (size_t n = 0; n < 4; ++n)
        nValue = nValue << 8 | static_cast<unsigned char>(lBytes.at(nAt + n));
    return nValue;
}

} // namespace

TEST(Bundle, ExportsTheFactoryAndTheLinksFunctionsOnly) {
    std::set<std::string> lNames;
    std::istringstream oLines(OutputOf(std::string("nm -D --defined-only '") + kExecutable + "'"));
    for (std::string szAddress, szKind, szName; oLines >> szAddress >> szKind >> szName;)
        lNames.insert(szName);
    EXPECT_EQ(lNames, (std::set<std::string>{"LVirtualAudioDevice_Create", "LVADPluginConnectToXPCService",
                                             "LVADPluginConnectToApp", "LVADServerIsConnectionValid",
                                             "LVADSendAudioData", "LVADSendVolumeChanged"}));
}

TEST(Bundle, NeedsThePlatformAndTheStandardLibraryOnly) {
    std::set<std::string> const lAllowed{"platform", "stdc++", "gcc_s", "m", "c", "asan", "ubsan", "tsan"};
    std::set<std::string> lNeeded;
    std::istringstream oLines(OutputOf(std::string("readelf -d '") + kExecutable + "'"));
    for (std::string szLine; std::getline(oLines, szLine);)
        if (auto const nAt = szLine.find("Shared library: [lib"); nAt != std::string::npos)
            lNeeded.insert(szLine.substr(nAt + 20, szLine.find(".so", nAt) - nAt - 20));
    EXPECT_EQ(lNeeded.count("platform"), 1u);
    for (std::string const& szNeeded : lNeeded)
        EXPECT_EQ(lAllowed.count(szNeeded), 1u) << szNeeded;
}

// As a host does it: from the type to the factories, from there to the function, from that to the driver.
TEST(Bundle, IsFoundByItsInformationAndFindsItsIcon) {
    Owned<CFBundleRef> const pBundle(OpenBundle());
    ASSERT_NE(pBundle, nullptr);
    CFDictionaryRef const pInfo = CFBundleGetInfoDictionary(pBundle);
    auto const pTypes = static_cast<CFDictionaryRef>(CFDictionaryGetValue(pInfo, CFSTR("CFPlugInTypes")));
    ASSERT_NE(pTypes, nullptr);
    auto const pFactories =
        static_cast<CFArrayRef>(CFDictionaryGetValue(pTypes, CFSTR("443ABAB8-E7B3-491A-B985-BEB9187030DB")));
    ASSERT_TRUE(pFactories && CFArrayGetCount(pFactories) == 1);
    auto const szFunction = static_cast<CFStringRef>(
        CFDictionaryGetValue(static_cast<CFDictionaryRef>(CFDictionaryGetValue(pInfo, CFSTR("CFPlugInFactories"))),
                             CFArrayGetValueAtIndex(pFactories, 0)));
    ASSERT_NE(szFunction, nullptr);

    auto const create =
        reinterpret_cast<CFPlugInFactoryFunction>(CFBundleGetFunctionPointerForName(pBundle, szFunction));
    ASSERT_NE(create, nullptr);
    EXPECT_NE(create, &LVirtualAudioDevice_Create) << "the bundle's own, not the test program's";
    auto const pDriver = static_cast<AudioServerPlugInDriverRef>(create(nullptr, kAudioServerPlugInTypeUUID));
    ASSERT_NE(pDriver, nullptr);

    // With its bundle alive, the device has its icon.
    AudioObjectPropertyAddress const oIcon{'icon', 'glob', 0};
    CFURLRef pIcon = nullptr;
    UInt32 nSize = 0;
    ASSERT_EQ((*pDriver)->GetPropertyData(pDriver, 3, 0, &oIcon, 0, nullptr, 8, &nSize, &pIcon), 0);
    char szPath[1024] = "";
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(pIcon, true, reinterpret_cast<UInt8*>(szPath), sizeof szPath));
    EXPECT_STREQ(szPath, LUMORA_BUNDLE "/Contents/Resources/DeviceIcon.icns");
    CFRelease(pIcon);
    CFBundleUnloadExecutable(pBundle);
}

TEST(Bundle, IsUnloadedOnlyWhenItsQueuedWorkIsDone) {
    HostClockSetSpeed(100);
    Owned<CFBundleRef> const pBundle(OpenBundle());
    for (int n = 0; n < 20; ++n) {
        auto const create = reinterpret_cast<CFPlugInFactoryFunction>(
            CFBundleGetFunctionPointerForName(pBundle, CFSTR("LVirtualAudioDevice_Create")));
        ASSERT_NE(create, nullptr);
        auto const pDriver = static_cast<AudioServerPlugInDriverRef>(create(nullptr, kAudioServerPlugInTypeUUID));
        UInt32 const nReleased = 0;
        AudioObjectPropertyAddress const oAcquired{'bxon', 'glob', 0}, oIdentify{'iden', 'glob', 0};
        EXPECT_EQ((*pDriver)->SetPropertyData(pDriver, 2, 0, &oAcquired, 0, nullptr, 4, &nReleased), 0)
            << "a driver loaded anew starts anew";
        EXPECT_EQ((*pDriver)->SetPropertyData(pDriver, 2, 0, &oIdentify, 0, nullptr, 4, &nReleased), 0);
        CFBundleUnloadExecutable(pBundle);
        EXPECT_FALSE(CFBundleIsExecutableLoaded(pBundle));
    }
    HostClockSetSpeed(1);
}

TEST(Bundle, IconFileHoldsAPictureOfEverySize) {
    std::ifstream oFile(LUMORA_BUNDLE "/Contents/Resources/DeviceIcon.icns", std::ios::binary);
    std::string const lBytes{std::istreambuf_iterator<char>(oFile), {}};
    ASSERT_GT(lBytes.size(), 8u);
    EXPECT_EQ(lBytes.substr(0, 4), "icns");
    EXPECT_EQ(BigEndian(lBytes, 4), lBytes.size());
    std::set<std::string> lKinds;
    for (size_t nAt = 8; nAt < lBytes.size(); nAt += BigEndian(lBytes, nAt + 4)) {
        ASSERT_GE(BigEndian(lBytes, nAt + 4), 32u);
        EXPECT_EQ(lBytes.substr(nAt + 8, 8), "\x89PNG\r\n\x1A\n");
        EXPECT_EQ(BigEndian(lBytes, nAt + 24), BigEndian(lBytes, nAt + 28)) << "not square";
        lKinds.insert(lBytes.substr(nAt, 4) + " " + std::to_string(BigEndian(lBytes, nAt + 24)));
    }
    EXPECT_EQ(lKinds, (std::set<std::string>{"ic07 128", "ic08 256", "ic09 512", "ic10 1024", "ic11 32", "ic12 64"}));
}
