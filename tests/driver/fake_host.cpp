#include "tests/driver/fake_host.h"

#include "platform/testing/quiesce.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <chrono>

namespace {

std::string Utf8(CFStringRef szText) {
    char lBuffer[256];
    return CFStringGetCString(szText, lBuffer, sizeof lBuffer, kCFStringEncodingUTF8) ? lBuffer : "";
}

} // namespace

std::string CodeText(UInt32 nCode) {
    return {static_cast<char>(nCode >> 24), static_cast<char>(nCode >> 16), static_cast<char>(nCode >> 8),
            static_cast<char>(nCode)};
}

FakeHost& FakeHost::Of(AudioServerPlugInHostRef pHost) {
    return *static_cast<FakeHost*>(const_cast<AudioServerPlugInHostInterface*>(pHost));
}

// The driver looks at no result, so what does not copy out fails.
FakeHost::FakeHost() : AudioServerPlugInHostInterface{} {
    PropertiesChanged = [](AudioServerPlugInHostRef pHost, AudioObjectID nObject, UInt32 nAddresses,
                           AudioObjectPropertyAddress const* lAddresses) -> OSStatus {
        std::string szEvent = std::to_string(nObject);
        for (UInt32 n = 0; n < nAddresses; ++n) {
            szEvent += " " + CodeText(lAddresses[n].mSelector);
            if (lAddresses[n].mScope != kAudioObjectPropertyScopeGlobal || lAddresses[n].mElement != 0)
                szEvent += "(elsewhere)";
        }
        Of(pHost).Add(szEvent);
        return kAudioHardwareUnspecifiedError;
    };
    CopyFromStorage = [](AudioServerPlugInHostRef pHost, CFStringRef szKey, CFPropertyListRef* ppValue) -> OSStatus {
        std::lock_guard oLock(Of(pHost).mtx);
        auto const it = Of(pHost).mapStorage.find(Utf8(szKey));
        *ppValue = it == Of(pHost).mapStorage.end() ? nullptr : CFRetain(it->second);
        return kAudioHardwareNoError;
    };
    WriteToStorage = [](AudioServerPlugInHostRef pHost, CFStringRef szKey, CFPropertyListRef pValue) -> OSStatus {
        Of(pHost).Store(Utf8(szKey), CFRetain(pValue));
        std::lock_guard oLock(Of(pHost).mtx);
        ++Of(pHost).nWrites;
        return kAudioHardwareUnspecifiedError;
    };
    RequestDeviceConfigurationChange = [](AudioServerPlugInHostRef pHost, AudioObjectID nDevice, UInt64 nAction,
                                          void* pInfo) -> OSStatus {
        Of(pHost).Add("change " + std::to_string(nAction) + (nDevice == 3 && !pInfo ? "" : " (wrong)"));
        return kAudioHardwareUnspecifiedError;
    };
}

FakeHost::~FakeHost() {
    for (auto const& [szKey, pValue] : mapStorage)
        CFRelease(pValue);
}

void FakeHost::Add(std::string szEvent) {
    std::lock_guard oLock(mtx);
    lEvents.push_back(std::move(szEvent));
    oAdded.notify_all();
}

// Sorted: queued reports come in no order with a call's own.
FakeHost::Events FakeHost::TakeEvents() {
    PlatformQuiesce();
    return WaitForEvents(0);
}

FakeHost::Events FakeHost::WaitForEvents(size_t nCount) {
    std::unique_lock oLock(mtx);
    oAdded.wait_for(oLock, std::chrono::seconds(10), [&] { return lEvents.size() >= nCount; });
    std::sort(lEvents.begin(), lEvents.end());
    return std::exchange(lEvents, {});
}

void FakeHost::Store(std::string const& szKey, CFTypeRef pValue) {
    std::lock_guard oLock(mtx);
    if (auto const it = mapStorage.find(szKey); it != mapStorage.end()) {
        CFRelease(it->second);
        mapStorage.erase(it);
    }
    if (pValue)
        mapStorage[szKey] = pValue;
}

CFTypeRef FakeHost::Stored(std::string const& szKey) {
    std::lock_guard oLock(mtx);
    auto const it = mapStorage.find(szKey);
    return it == mapStorage.end() ? nullptr : it->second;
}

int FakeHost::WriteCount() {
    std::lock_guard oLock(mtx);
    return nWrites;
}
