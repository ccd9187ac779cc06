#include "tests/driver/driver_test.h"

#include "driver/io/clock.h"
#include "driver/plugin/factory.h"
#include "driver/plugin/interface.h"
#include "driver/state/state.h"
#include "platform/testing/clock.h"
#include "platform/testing/quiesce.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr UInt32 kUnset = 0xA5A5A5A5;

FakeHost& Of(AudioServerPlugInHostRef pHost) {
    return *static_cast<FakeHost*>(const_cast<AudioServerPlugInHostInterface*>(pHost));
}

void const* DataOf(Bytes const& lBytes) {
    return lBytes.empty() ? nullptr : lBytes.data();
}

UInt32 SizeOf(Bytes const& lBytes) {
    return static_cast<UInt32>(lBytes.size());
}

} // namespace

std::string CodeText(UInt32 nCode) {
    return {static_cast<char>(nCode >> 24), static_cast<char>(nCode >> 16), static_cast<char>(nCode >> 8),
            static_cast<char>(nCode)};
}

std::string TakeText(Bytes const& lReference) {
    CFStringRef szText = nullptr;
    if (lReference.size() != sizeof szText)
        return "(no reference)";
    std::memcpy(&szText, lReference.data(), sizeof szText);
    char lBuffer[256] = "(null)";
    if (szText) {
        CFStringGetCString(szText, lBuffer, sizeof lBuffer, kCFStringEncodingUTF8);
        CFRelease(szText); // harmless to a constant one
    }
    return lBuffer;
}

// The driver looks at no result, so what does not copy out fails.
FakeHost::FakeHost() : AudioServerPlugInHostInterface{} {
    PropertiesChanged = [](AudioServerPlugInHostRef pHost, AudioObjectID nObject, UInt32 nAddresses,
                           AudioObjectPropertyAddress const* lAddresses) -> OSStatus {
        std::string szEvent = std::to_string(nObject);
        for (UInt32 n = 0; n < nAddresses; ++n)
            szEvent += (lAddresses[n].mScope == 'glob' && lAddresses[n].mElement == 0 ? " " : " elsewhere ") +
                       CodeText(lAddresses[n].mSelector);
        AudioObjectPropertyAddress const oAcquired = At('bxon');
        UInt32 nAcquired = 0, nSize = 0; // a host may read from inside the report: no lock is held there
        gVADDriverRef->GetPropertyData(&gVADDriverRef, 2, 0, &oAcquired, 0, nullptr, 4, &nSize, &nAcquired);
        Of(pHost).Add(nSize == 4 ? szEvent : "unreadable");
        return kAudioHardwareUnspecifiedError;
    };
    CopyFromStorage = [](AudioServerPlugInHostRef pHost, CFStringRef szKey, CFPropertyListRef* ppValue) -> OSStatus {
        EXPECT_TRUE(CFEqual(szKey, CFSTR("box acquired")));
        *ppValue = Of(pHost).pStored ? CFRetain(Of(pHost).pStored) : nullptr;
        return kAudioHardwareNoError;
    };
    WriteToStorage = [](AudioServerPlugInHostRef pHost, CFStringRef szKey, CFPropertyListRef pValue) -> OSStatus {
        EXPECT_TRUE(CFEqual(szKey, CFSTR("box acquired")));
        Of(pHost).Store(CFRetain(pValue));
        Of(pHost).Add(pValue == kCFBooleanTrue ? "store 1" : pValue == kCFBooleanFalse ? "store 0" : "store nonsense");
        return kAudioHardwareUnspecifiedError;
    };
    RequestDeviceConfigurationChange = [](AudioServerPlugInHostRef pHost, AudioObjectID nDevice, UInt64 nAction,
                                          void* pInfo) -> OSStatus {
        Of(pHost).Add("change " + std::to_string(nAction) + (nDevice == 3 && !pInfo ? "" : " (wrong)"));
        return kAudioHardwareUnspecifiedError;
    };
}

FakeHost::~FakeHost() {
    Store(nullptr);
}

void FakeHost::Add(std::string szEvent) {
    std::lock_guard oLock(mtx);
    lEvents.push_back(std::move(szEvent));
    oAdded.notify_all();
}

// Sorted: queued reports come in no order with a call's own.
FakeHost::Events FakeHost::TakeEvents(size_t nCount) {
    PlatformQuiesce(); // which a busy machine may cut short
    std::unique_lock oLock(mtx);
    auto const count = [&](char const* szStart) {
        return std::count_if(lEvents.begin(), lEvents.end(), [&](auto const& sz) { return sz.starts_with(szStart); });
    };
    oAdded.wait_for(oLock, std::chrono::seconds(10),
                    [&] { return lEvents.size() >= nCount && count("1 dev#") == count("store"); });
    std::sort(lEvents.begin(), lEvents.end());
    return std::exchange(lEvents, {});
}

void FakeHost::Store(CFTypeRef pValue) {
    std::lock_guard oLock(mtx);
    if (CFTypeRef const pOld = std::exchange(pStored, pValue))
        CFRelease(pOld);
}

void Driver::SetUp() {
    pDriver = static_cast<AudioServerPlugInDriverRef>(LVirtualAudioDevice_Create(nullptr, kAudioServerPlugInTypeUUID));
    ASSERT_NE(pDriver, nullptr);
    gVADHost = oHost.Ref();
    gVADBoxName = CFSTR("Null Box");
    gVADBoxAcquired = gVADOutputStreamActive = true;
    gVADRefCount = gVADDataSourceValue = gVADDataDestinationValue = 0;
    gVADIORunningCount = 0;
    gVADSampleRate = 44100.0;
    gVADHostTicksPerFrame = LVADTicksPerFrame(44100.0);
    gVADOutputVolume = 0;
    gVADOutputMute = false;
}

void Driver::TearDown() {
    TestClockReset();
    gVADHost = nullptr;
}

Answer Driver::Size(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress, Bytes const& lQualifier) {
    UInt32 nSize = kUnset;
    OSStatus const nStatus =
        (*pDriver)->GetPropertyDataSize(pDriver, nObject, 0, &oAddress, SizeOf(lQualifier), DataOf(lQualifier), &nSize);
    if (nStatus == 0)
        return {0, U({nSize})};
    EXPECT_EQ(nSize, kUnset) << "a size was stored beside an error";
    return {nStatus, {}};
}

Answer Driver::Get(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress, UInt32 nBufferSize,
                   Bytes const& lQualifier, Bytes const& lBuffer) {
    Bytes const lBefore = lBuffer + Bytes(nBufferSize + 64 - lBuffer.size(), kGuard);
    Bytes lAfter = lBefore;
    UInt32 nWritten = kUnset;
    OSStatus const nStatus = (*pDriver)->GetPropertyData(pDriver, nObject, 0, &oAddress, SizeOf(lQualifier),
                                                         DataOf(lQualifier), nBufferSize, &nWritten, lAfter.data());
    if (nStatus != 0) {
        EXPECT_EQ(nWritten, kUnset) << "a size was stored beside an error";
        EXPECT_EQ(lAfter, lBefore) << "an error wrote to the buffer";
        return {nStatus, {}};
    }
    EXPECT_LE(nWritten, nBufferSize);
    nWritten = std::min(nWritten, nBufferSize);
    EXPECT_EQ(lAfter.substr(nWritten), lBefore.substr(nWritten)) << "written past the value";
    return {nStatus, lAfter.substr(0, nWritten)};
}

OSStatus Driver::Set(AudioObjectID nObject, UInt32 nSelector, Bytes const& lData, Bytes const& lQualifier) {
    AudioObjectPropertyAddress const oAddress = At(nSelector, 'inpt', 7);
    return (*pDriver)->SetPropertyData(pDriver, nObject, 0, &oAddress, SizeOf(lQualifier), DataOf(lQualifier),
                                       SizeOf(lData), DataOf(lData));
}
