#include "tools/host/device.h"

#include <cstring>

namespace {

constexpr UInt32 kLongestList = 256 * sizeof(AudioObjectID);

} // namespace

std::string FourCharText(UInt32 nCode) {
    std::string szText = "'";
    for (int nShift = 24; nShift >= 0; nShift -= 8) {
        char const c = static_cast<char>(nCode >> nShift);
        szText += c >= ' ' && c <= '~' ? c : '?';
    }
    return szText + "'";
}

bool DriverView::Has(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress) const {
    return (*pDriver)->HasProperty(pDriver, nObject, 0, &oAddress);
}

bool DriverView::IsSettable(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress) const {
    Boolean bSettable = false;
    return (*pDriver)->IsPropertySettable(pDriver, nObject, 0, &oAddress, &bSettable) == 0 && bSettable;
}

std::vector<UInt8> DriverView::Read(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress, UInt32 nRoom,
                                    OSStatus& nResult, void const* pQualifier, UInt32 nQualifierSize) const {
    std::vector<UInt8> arBytes(nRoom);
    UInt32 nSize = 0;
    nResult = (*pDriver)->GetPropertyData(pDriver, nObject, 0, &oAddress, nQualifierSize, pQualifier, nRoom, &nSize,
                                          arBytes.data());
    arBytes.resize(nResult == 0 && nSize <= nRoom ? nSize : 0);
    return arBytes;
}

// Read with room to spare, not with the size that the driver reports: that may be of a part of the list only.
std::vector<AudioObjectID> DriverView::List(AudioObjectID nObject, AudioObjectPropertySelector nSelector,
                                            AudioObjectPropertyScope nScope) const {
    OSStatus nResult = 0;
    auto const arBytes = Read(nObject, {nSelector, nScope, kAudioObjectPropertyElementMain}, kLongestList, nResult);
    std::vector<AudioObjectID> lObjects(arBytes.size() / sizeof(AudioObjectID));
    if (!lObjects.empty())
        std::memcpy(lObjects.data(), arBytes.data(), lObjects.size() * sizeof(AudioObjectID));
    return lObjects;
}

std::optional<AudioObjectID> DriverView::FindDevice() const {
    auto const lDevices = List(kPlugInObject, kAudioPlugInPropertyDeviceList);
    return lDevices.empty() ? std::nullopt : std::optional(lDevices.front());
}

std::optional<AudioObjectID> DriverView::FindOwned(AudioObjectID nDevice, AudioClassID nClass) const {
    for (AudioObjectID const nObject : List(nDevice, kAudioObjectPropertyOwnedObjects))
        if (Get<AudioClassID>(nObject, GlobalAddress(kAudioObjectPropertyClass)) == nClass)
            return nObject;
    return std::nullopt;
}
