#include "driver/properties/catalogue.h"

#include "driver/properties/changes.h"
#include "driver/properties/identity.h"
#include "driver/properties/selector_index.h"
#include "driver/properties/values.h"

namespace {

using enum PropertyPlace;
using values::EmptyList;
using values::List;
using values::Number;
using values::ObjectOfUID;
using values::Stored;
using values::Text;

constexpr UInt32 kNumber = sizeof(UInt32);   // also a class, an object, a code, a Float32
constexpr UInt32 kReference = sizeof(void*); // a CFStringRef or a CFURLRef
constexpr UInt32 kNothing = 0;               // an empty list
constexpr UInt32 kAllItems = (kVADLastSelectorItem + 1) * sizeof(UInt32);
constexpr UInt32 kLayout = sizeof(AudioChannelLayout) + sizeof(AudioChannelDescription);
constexpr UInt32 kFormat = sizeof(AudioStreamBasicDescription);

// Sizes that are not those of the values. They are part of what the device shows: a host fetches with them, so its
// control list is the first control alone, and its lists of rates and formats are one entry with room for two.
constexpr UInt32 kOneOfFourControls = sizeof(AudioObjectID);
constexpr UInt32 kTwoRates = 2 * sizeof(AudioValueRange);
constexpr UInt32 kTwoFormats = 2 * sizeof(AudioStreamRangedDescription);

constexpr Property kPlugInProperties[] = {
    // clang-format off
    {kAudioObjectPropertyBaseClass,              Anywhere, kNumber,    Number<kAudioObjectClassID>},
    {kAudioObjectPropertyClass,                  Anywhere, kNumber,    Number<kAudioPlugInClassID>},
    {kAudioObjectPropertyOwner,                  Anywhere, kNumber,    Number<kAudioObjectUnknown>},
    {kAudioObjectPropertyManufacturer,           Anywhere, kReference, Text<identity::PlugInManufacturer>},
    {kAudioObjectPropertyOwnedObjects,           Anywhere, sizes::PlugInOwnedObjects, values::PlugInOwnedObjects},
    {kAudioPlugInPropertyBoxList,                Anywhere, kNumber,    List<kVADObject_Box>},
    {kAudioPlugInPropertyTranslateUIDToBox,      Anywhere, kNumber,    ObjectOfUID<kVADObject_Box>},
    {kAudioPlugInPropertyDeviceList,             Anywhere, sizes::DevicesOfPlugIn, values::PlugInDeviceList},
    {kAudioPlugInPropertyTranslateUIDToDevice,   Anywhere, kNumber,    ObjectOfUID<kVADObject_Device>},
    {kAudioPlugInPropertyResourceBundle,         Anywhere, kReference, Text<identity::ResourceBundle>},
    {kAudioObjectPropertyCustomPropertyInfoList, Anywhere, sizeof(AudioServerPlugInCustomPropertyInfo),
                                                                       values::CustomPropertyInfo},
    {kVADCustomProperty,                         Anywhere, sizes::CustomProperty, values::CustomProperty,
                                                                       changes::CustomProperty},
    // clang-format on
};

constexpr Property kBoxProperties[] = {
    // clang-format off
    {kAudioObjectPropertyBaseClass,         Anywhere, kNumber,    Number<kAudioObjectClassID>},
    {kAudioObjectPropertyClass,             Anywhere, kNumber,    Number<kAudioBoxClassID>},
    {kAudioObjectPropertyOwner,             Anywhere, kNumber,    Number<kVADObject_PlugIn>},
    {kAudioObjectPropertyName,              Anywhere, kReference, values::BoxName, changes::BoxName},
    {kAudioObjectPropertyModelName,         Anywhere, kReference, Text<identity::BoxModel>},
    {kAudioObjectPropertyManufacturer,      Anywhere, kReference, Text<identity::BoxManufacturer>},
    {kAudioObjectPropertyOwnedObjects,      Anywhere, kNothing,   EmptyList},
    {kAudioObjectPropertyIdentify,          Anywhere, kNumber,    Number<0>, changes::BoxIdentify},
    {kAudioObjectPropertySerialNumber,      Anywhere, kReference, Text<identity::BoxSerialNumber>},
    {kAudioObjectPropertyFirmwareVersion,   Anywhere, kReference, Text<identity::BoxFirmwareVersion>},
    {kAudioBoxPropertyBoxUID,               Anywhere, kReference, Text<identity::DeviceUID>},
    {kAudioBoxPropertyTransportType,        Anywhere, kNumber,    Number<kAudioDeviceTransportTypeVirtual>},
    {kAudioBoxPropertyHasAudio,             Anywhere, kNumber,    Number<1>},
    {kAudioBoxPropertyHasVideo,             Anywhere, kNumber,    Number<0>},
    {kAudioBoxPropertyHasMIDI,              Anywhere, kNumber,    Number<0>},
    {kAudioBoxPropertyIsProtected,          Anywhere, kNumber,    Number<0>},
    {kAudioBoxPropertyAcquired,             Anywhere, kNumber,    Stored<UInt32, gVADBoxAcquired>,
                                                                  changes::BoxAcquired},
    {kAudioBoxPropertyAcquisitionFailed,    Anywhere, kNumber,    Number<0>},
    {kAudioBoxPropertyDeviceList,           Anywhere, sizes::DevicesOfBox, values::BoxDeviceList},
    // clang-format on
};

constexpr Property kDeviceProperties[] = {
    // clang-format off
    {kAudioObjectPropertyBaseClass,                     Anywhere, kNumber,    Number<kAudioObjectClassID>},
    {kAudioObjectPropertyClass,                         Anywhere, kNumber,    Number<kAudioDeviceClassID>},
    {kAudioObjectPropertyOwner,                         Anywhere, kNumber,    Number<kVADObject_PlugIn>},
    {kAudioObjectPropertyName,                          Anywhere, kReference, Text<identity::DeviceName>},
    {kAudioObjectPropertyManufacturer,                  Anywhere, kReference, Text<identity::DeviceManufacturer>},
    {kAudioObjectPropertyElementName,                   MainAndTwoChannels, kReference, values::DeviceElementName},
    {kAudioObjectPropertyOwnedObjects,                  GlobalOrOutput, sizes::DeviceOwnedObjects,
                                                                              values::DeviceOwnedObjects},
    {kAudioObjectPropertyControlList,                   Anywhere, kOneOfFourControls,
                                                        List<kVADObject_OutputVolume, kVADObject_OutputMute,
                                                             kVADObject_OutputDataSource,
                                                             kVADObject_OutputDataDestination>},
    {kAudioDevicePropertyDeviceUID,                     Anywhere, kReference, Text<identity::DeviceUID>},
    {kAudioDevicePropertyModelUID,                      Anywhere, kReference, Text<identity::DeviceModelUID>},
    {kAudioDevicePropertyTransportType,                 Anywhere, kNumber,    Number<kAudioDeviceTransportTypeVirtual>},
    {kAudioDevicePropertyRelatedDevices,                Anywhere, kNumber,    List<kVADObject_Device>},
    {kAudioDevicePropertyClockDomain,                   Anywhere, kNumber,    Number<0>},
    {kAudioDevicePropertyDeviceIsAlive,                 Anywhere, kNumber,    Number<1>},
    {kAudioDevicePropertyDeviceIsRunning,               Anywhere, kNumber,    values::DeviceIsRunning},
    {kAudioDevicePropertyDeviceCanBeDefaultDevice,       InputOrOutput, kNumber, Number<1>},
    {kAudioDevicePropertyDeviceCanBeDefaultSystemDevice, InputOrOutput, kNumber, Number<1>},
    {kAudioDevicePropertyLatency,                       InputOrOutput, kNumber, Number<0>},
    {kAudioDevicePropertySafetyOffset,                  InputOrOutput, kNumber, Number<0>},
    {kAudioDevicePropertyStreams,                       GlobalOrOutput, sizes::DeviceStreams, values::DeviceStreams},
    {kAudioDevicePropertyNominalSampleRate,             Anywhere, sizeof(Float64), Stored<Float64, gVADSampleRate>,
                                                                              changes::SampleRate},
    {kAudioDevicePropertyAvailableNominalSampleRates,   Anywhere, kTwoRates,  values::DeviceSampleRates},
    {kAudioDevicePropertyIcon,                          Anywhere, kReference, values::DeviceIcon},
    {kAudioDevicePropertyIsHidden,                      Anywhere, kNumber,    Number<0>},
    {kAudioDevicePropertyPreferredChannelsForStereo,    InputOrOutput, 2 * kNumber, values::DeviceStereoChannels},
    {kAudioDevicePropertyPreferredChannelLayout,        InputOrOutput, kLayout, values::DeviceChannelLayout},
    {kAudioDevicePropertyZeroTimeStampPeriod,           Anywhere, kNumber,    Number<kVADRingBufferFrames>},
    // clang-format on
};

constexpr Property kStreamProperties[] = {
    // clang-format off
    {kAudioObjectPropertyBaseClass,                 Anywhere, kNumber,     Number<kAudioObjectClassID>},
    {kAudioObjectPropertyClass,                     Anywhere, kNumber,     Number<kAudioStreamClassID>},
    {kAudioObjectPropertyOwner,                     Anywhere, kNumber,     Number<kVADObject_Device>},
    {kAudioObjectPropertyName,                      Anywhere, kReference,  Text<identity::StreamName>},
    {kAudioObjectPropertyOwnedObjects,              Anywhere, kNothing,    EmptyList},
    {kAudioStreamPropertyIsActive,                  Anywhere, kNumber,     Stored<UInt32, gVADOutputStreamActive>,
                                                                           changes::StreamActive},
    {kAudioStreamPropertyDirection,                 Anywhere, kNumber,     Number<0>}, // output
    {kAudioStreamPropertyTerminalType,              Anywhere, kNumber,     Number<kAudioStreamTerminalTypeSpeaker>},
    {kAudioStreamPropertyStartingChannel,           Anywhere, kNumber,     Number<1>},
    {kAudioStreamPropertyLatency,                   Anywhere, kNumber,     Number<0>},
    {kAudioStreamPropertyVirtualFormat,             Anywhere, kFormat,     values::StreamFormat, changes::StreamFormat},
    {kAudioStreamPropertyAvailableVirtualFormats,   Anywhere, kTwoFormats, values::StreamFormats},
    {kAudioStreamPropertyPhysicalFormat,            Anywhere, kFormat,     values::StreamFormat, changes::StreamFormat},
    {kAudioStreamPropertyAvailablePhysicalFormats,  Anywhere, kTwoFormats, values::StreamFormats},
    // clang-format on
};

constexpr Property kVolumeProperties[] = {
    // clang-format off
    {kAudioObjectPropertyBaseClass,                         Anywhere, kNumber,  Number<kAudioLevelControlClassID>},
    {kAudioObjectPropertyClass,                             Anywhere, kNumber,  Number<kAudioVolumeControlClassID>},
    {kAudioObjectPropertyOwner,                             Anywhere, kNumber,  Number<kVADObject_Device>},
    {kAudioObjectPropertyOwnedObjects,                      Anywhere, kNothing, EmptyList},
    {kAudioControlPropertyScope,                            Anywhere, kNumber,  Number<kAudioObjectPropertyScopeOutput>},
    {kAudioControlPropertyElement,                          Anywhere, kNumber,  Number<kAudioObjectPropertyElementMain>},
    {kAudioLevelControlPropertyScalarValue,                 Anywhere, kNumber,  Stored<Float32, gVADOutputVolume>,
                                                                                changes::VolumeScalar},
    {kAudioLevelControlPropertyDecibelValue,                Anywhere, kNumber,  values::VolumeDecibels,
                                                                                changes::VolumeDecibels},
    {kAudioLevelControlPropertyDecibelRange,                Anywhere, sizeof(AudioValueRange), values::VolumeRange},
    {kAudioLevelControlPropertyConvertScalarToDecibels,     Anywhere, kNumber,  values::ScalarToDecibels},
    {kAudioLevelControlPropertyConvertDecibelsToScalar,     Anywhere, kNumber,  values::DecibelsToScalar},
    // clang-format on
};

constexpr Property kMuteProperties[] = {
    // clang-format off
    {kAudioObjectPropertyBaseClass,         Anywhere, kNumber,  Number<kAudioBooleanControlClassID>},
    {kAudioObjectPropertyClass,             Anywhere, kNumber,  Number<kAudioMuteControlClassID>},
    {kAudioObjectPropertyOwner,             Anywhere, kNumber,  Number<kVADObject_Device>},
    {kAudioObjectPropertyOwnedObjects,      Anywhere, kNothing, EmptyList},
    {kAudioControlPropertyScope,            Anywhere, kNumber,  Number<kAudioObjectPropertyScopeOutput>},
    {kAudioControlPropertyElement,          Anywhere, kNumber,  Number<kAudioObjectPropertyElementMain>},
    {kAudioBooleanControlPropertyValue,     Anywhere, kNumber,  Stored<UInt32, gVADOutputMute>, changes::Mute},
    // clang-format on
};

// The data source and the data destination differ in four cells.
template <UInt32 nClass, UInt32 nScope, auto& gSelected, PropertyChanger pSelect>
constexpr Property kSelectorProperties[] = {
    // clang-format off
    {kAudioObjectPropertyBaseClass,                 Anywhere, kNumber,     Number<kAudioSelectorControlClassID>},
    {kAudioObjectPropertyClass,                     Anywhere, kNumber,     Number<nClass>},
    {kAudioObjectPropertyOwner,                     Anywhere, kNumber,     Number<kVADObject_Device>},
    {kAudioObjectPropertyOwnedObjects,              Anywhere, kNothing,    EmptyList},
    {kAudioControlPropertyScope,                    Anywhere, kNumber,     Number<nScope>},
    {kAudioControlPropertyElement,                  Anywhere, kNumber,     Number<kAudioObjectPropertyElementMain>},
    {kAudioSelectorControlPropertyCurrentItem,      Anywhere, kNumber,     Stored<UInt32, gSelected>, pSelect},
    {kAudioSelectorControlPropertyAvailableItems,   Anywhere, kAllItems, values::SelectorItems},
    {kAudioSelectorControlPropertyItemName,         Anywhere, kReference,  values::SelectorItemName},
    // clang-format on
};

constexpr SelectorIndex kNoObject;
constexpr SelectorIndex kObjects[kVADObject_Last + 1] = {
    kNoObject,
    kPlugInProperties,
    kBoxProperties,
    kDeviceProperties,
    kNoObject,
    kNoObject,
    kNoObject,
    kNoObject,
    kStreamProperties,
    kVolumeProperties,
    kMuteProperties,
    kSelectorProperties<kAudioDataSourceControlClassID, kAudioObjectPropertyScopeOutput, gVADDataSourceValue,
                        changes::DataSource>,
    kSelectorProperties<kAudioDataDestinationControlClassID, kAudioObjectPropertyScopePlayThrough,
                        gVADDataDestinationValue, changes::DataDestination>,
};

} // namespace

bool LVADIsObject(AudioObjectID nObjectId) {
    return nObjectId <= kVADObject_Last && !kObjects[nObjectId].IsEmpty();
}

Property const* LVADFindProperty(AudioObjectID nObjectId, PropertySelector nSelector) {
    return nObjectId <= kVADObject_Last ? kObjects[nObjectId].Find(nSelector) : nullptr;
}
