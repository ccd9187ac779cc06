// The driver as its host talks to it: objects found by walking its lists, properties by address.
#pragma once

#include <CoreAudio/AudioServerPlugIn.h>

#include <optional>
#include <string>
#include <vector>

// "'lnam'", for messages.
std::string FourCharText(UInt32 nCode);

// A thin view of the driver; the bundle that it came from must outlive it. Any thread.
class DriverView {
public:
    explicit DriverView(AudioServerPlugInDriverRef pViewed) : pDriver(pViewed) {}

    AudioServerPlugInDriverRef Ref() const noexcept { return pDriver; }

    bool Has(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress) const;
    bool IsSettable(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress) const;

    // The value's bytes in a buffer of nRoom bytes; the driver's result when it refuses. Objects in it are the
    // caller's.
    std::vector<UInt8> Read(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress, UInt32 nRoom,
                            OSStatus& nResult, void const* pQualifier = nullptr, UInt32 nQualifierSize = 0) const;

    // A value of fixed size; nothing when the driver has none.
    template <class Value>
    std::optional<Value> Get(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress) const {
        Value oValue{};
        UInt32 nSize = 0;
        if ((*pDriver)->GetPropertyData(pDriver, nObject, 0, &oAddress, 0, nullptr, sizeof oValue, &nSize, &oValue) !=
                0 ||
            nSize != sizeof oValue)
            return std::nullopt;
        return oValue;
    }
    template <class Value>
    OSStatus Set(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress, Value const& oValue) const {
        return (*pDriver)->SetPropertyData(pDriver, nObject, 0, &oAddress, 0, nullptr, sizeof oValue, &oValue);
    }
    std::vector<AudioObjectID> List(AudioObjectID nObject, AudioObjectPropertySelector nSelector,
                                    AudioObjectPropertyScope nScope = kAudioObjectPropertyScopeGlobal) const;

    // The first device of the plug-in; nothing while its box is not acquired.
    std::optional<AudioObjectID> FindDevice() const;
    // The first object of that class that the device owns.
    std::optional<AudioObjectID> FindOwned(AudioObjectID nDevice, AudioClassID nClass) const;

private:
    AudioServerPlugInDriverRef pDriver;
};

inline constexpr AudioObjectID kPlugInObject = 1; // the one object ID that every plug-in has

constexpr AudioObjectPropertyAddress GlobalAddress(AudioObjectPropertySelector nSelector) {
    return {nSelector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}
