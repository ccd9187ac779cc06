#include "tools/inspect/property_table.h"

namespace {

using enum ValueKind;

constexpr KnownProperty kProperties[] = {
    {kAudioObjectPropertyBaseClass, "base class", FourChar},
    {kAudioObjectPropertyClass, "class", FourChar},
    {kAudioObjectPropertyOwner, "owner", Object},
    {kAudioObjectPropertyName, "name", Text},
    {kAudioObjectPropertyModelName, "model name", Text},
    {kAudioObjectPropertyManufacturer, "manufacturer", Text},
    {kAudioObjectPropertyElementName, "element name", Text},
    {kAudioObjectPropertyOwnedObjects, "owned objects", ObjectList},
    {kAudioObjectPropertyIdentify, "identify", YesNo},
    {kAudioObjectPropertySerialNumber, "serial number", Text},
    {kAudioObjectPropertyFirmwareVersion, "firmware version", Text},
    {kAudioObjectPropertyCustomPropertyInfoList, "custom properties", CustomProperties},
    {'PCst', "custom property", CustomText},
    {kAudioObjectPropertyControlList, "control list", ObjectList},
    {kAudioPlugInPropertyBundleID, "bundle ID", Text},
    {kAudioPlugInPropertyBoxList, "box list", ObjectList},
    {kAudioPlugInPropertyTranslateUIDToBox, "box by UID", ObjectByUid},
    {kAudioPlugInPropertyDeviceList, "device list", ObjectList},
    {kAudioPlugInPropertyTranslateUIDToDevice, "device by UID", ObjectByUid},
    {kAudioPlugInPropertyResourceBundle, "resource bundle", Text},
    {kAudioBoxPropertyBoxUID, "box UID", Text},
    {kAudioDevicePropertyDeviceUID, "device UID", Text},
    {kAudioDevicePropertyModelUID, "model UID", Text},
    {kAudioDevicePropertyTransportType, "transport type", FourChar}, // a box's is the same
    {kAudioBoxPropertyHasAudio, "has audio", YesNo},
    {kAudioBoxPropertyHasVideo, "has video", YesNo},
    {kAudioBoxPropertyHasMIDI, "has MIDI", YesNo},
    {kAudioBoxPropertyIsProtected, "is protected", YesNo},
    {kAudioBoxPropertyAcquired, "acquired", YesNo},
    {kAudioBoxPropertyAcquisitionFailed, "acquisition failed", Number},
    {kAudioBoxPropertyDeviceList, "device list", ObjectList},
    {kAudioDevicePropertyRelatedDevices, "related devices", ObjectList},
    {kAudioDevicePropertyClockDomain, "clock domain", Number},
    {kAudioDevicePropertyDeviceIsAlive, "is alive", YesNo},
    {kAudioDevicePropertyDeviceIsRunning, "is running", YesNo},
    {kAudioDevicePropertyDeviceCanBeDefaultDevice, "can be default device", YesNo},
    {kAudioDevicePropertyDeviceCanBeDefaultSystemDevice, "can be default system device", YesNo},
    {kAudioDevicePropertyLatency, "latency (frames)", Number}, // a stream's is the same
    {kAudioDevicePropertySafetyOffset, "safety offset (frames)", Number},
    {kAudioDevicePropertyStreams, "streams", ObjectList},
    {kAudioDevicePropertyNominalSampleRate, "nominal sample rate", Rate},
    {kAudioDevicePropertyAvailableNominalSampleRates, "available sample rates", RateRanges},
    {kAudioDevicePropertyIcon, "icon", Url},
    {kAudioDevicePropertyIsHidden, "is hidden", YesNo},
    {kAudioDevicePropertyPreferredChannelsForStereo, "preferred channels for stereo", NumberList},
    {kAudioDevicePropertyPreferredChannelLayout, "preferred channel layout", ChannelLayout},
    {kAudioDevicePropertyZeroTimeStampPeriod, "zero time stamp period (frames)", Number},
    {kAudioStreamPropertyIsActive, "is active", YesNo},
    {kAudioStreamPropertyDirection, "direction", Direction},
    {kAudioStreamPropertyTerminalType, "terminal type", FourChar},
    {kAudioStreamPropertyStartingChannel, "starting channel", Number},
    {kAudioStreamPropertyVirtualFormat, "virtual format", Format},
    {kAudioStreamPropertyAvailableVirtualFormats, "available virtual formats", FormatList},
    {kAudioStreamPropertyPhysicalFormat, "physical format", Format},
    {kAudioStreamPropertyAvailablePhysicalFormats, "available physical formats", FormatList},
    {kAudioControlPropertyScope, "control scope", FourChar},
    {kAudioControlPropertyElement, "control element", Number},
    {kAudioLevelControlPropertyScalarValue, "scalar value", Scalar},
    {kAudioLevelControlPropertyDecibelValue, "decibel value", Decibels},
    {kAudioLevelControlPropertyDecibelRange, "decibel range", DecibelRange},
    {kAudioLevelControlPropertyConvertScalarToDecibels, "scalar 0.5 in decibels", ScalarToDecibels},
    {kAudioLevelControlPropertyConvertDecibelsToScalar, "0 dB as a scalar", DecibelsToScalar},
    {kAudioBooleanControlPropertyValue, "value", YesNo},
    {kAudioSelectorControlPropertyCurrentItem, "current item", Number},
    {kAudioSelectorControlPropertyAvailableItems, "available items", NumberList},
    {kAudioSelectorControlPropertyItemName, "item names", ItemName},
};

} // namespace

std::span<KnownProperty const> KnownProperties() {
    return kProperties;
}
