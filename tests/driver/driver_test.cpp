#include "tests/driver/driver_test.h"

#include "driver/io/clock.h"
#include "driver/plugin/factory.h"
#include "driver/state/state.h"
#include "platform/testing/clock.h"

#include <cstring>

namespace {

constexpr UInt32 kUnset = 0xA5A5A5A5;

void const* DataOf(Bytes const& lBytes) {
    return lBytes.empty() ? nullptr : lBytes.data();
}

UInt32 SizeOf(Bytes const& lBytes) {
    return static_cast<UInt32>(lBytes.size());
}

} // namespace

void Driver::SetUp() {
    pDriver = static_cast<AudioServerPlugInDriverRef>(LVirtualAudioDevice_Create(nullptr, kAudioServerPlugInTypeUUID));
    ASSERT_NE(pDriver, nullptr);
    gVADHost = oHost.Ref();
    gVADRefCount = 0;
    gVADBoxName = CFSTR("Null Box");
    gVADBoxAcquired = true;
    gVADSampleRate = 44100.0;
    gVADHostTicksPerFrame = LVADTicksPerFrame(44100.0);
    gVADOutputStreamActive = true;
    gVADIORunningCount = 0;
    gVADNumberTimeStamps = 0;
    gVADAnchorHostTime = 0;
    gVADOutputVolume = 0.0f;
    gVADOutputMute = false;
    gVADDataSourceValue = gVADDataDestinationValue = 0;
}

void Driver::TearDown() {
    TestClockReset();
    gVADHost = nullptr;
    if (gVADBoxName)
        CFRelease(gVADBoxName);
    gVADBoxName = nullptr;
}

bool Driver::Has(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress) {
    return (*pDriver)->HasProperty(pDriver, nObject, 0, &oAddress);
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

std::string TakeText(Bytes const& lReference) {
    CFStringRef szText = nullptr;
    if (lReference.size() != sizeof szText)
        return "(no reference)";
    std::memcpy(&szText, lReference.data(), sizeof szText);
    if (!szText)
        return "(null)";
    char lBuffer[256] = "(too long)";
    CFStringGetCString(szText, lBuffer, sizeof lBuffer, kCFStringEncodingUTF8);
    CFRelease(szText); // harmless to a constant one
    return lBuffer;
}
