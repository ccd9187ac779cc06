#include "tools/inspect/property_text.h"

#include "tools/host/cf_text.h"

#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

struct NamedCode {
    UInt32 nCode;
    char const* szName;
};

constexpr NamedCode kCodes[] = {
    {kAudioObjectClassID, "object"},
    {kAudioPlugInClassID, "plug-in"},
    {kAudioBoxClassID, "box"},
    {kAudioDeviceClassID, "device"},
    {kAudioStreamClassID, "stream"},
    {kAudioControlClassID, "control"},
    {kAudioLevelControlClassID, "level control"},
    {kAudioVolumeControlClassID, "volume control"},
    {kAudioBooleanControlClassID, "Boolean control"},
    {kAudioMuteControlClassID, "mute control"},
    {kAudioSelectorControlClassID, "selector control"},
    {kAudioDataSourceControlClassID, "data source control"},
    {kAudioDataDestinationControlClassID, "data destination control"},
    {kAudioObjectPropertyScopeGlobal, "global"},
    {kAudioObjectPropertyScopeInput, "input"},
    {kAudioObjectPropertyScopeOutput, "output"},
    {kAudioObjectPropertyScopePlayThrough, "play-through"},
    {kAudioDeviceTransportTypeVirtual, "virtual"},
    {kAudioStreamTerminalTypeSpeaker, "speaker"},
    {kAudioFormatLinearPCM, "linear PCM"},
    {kAudioServerPlugInCustomPropertyDataTypeCFString, "string"},
    {kAudioServerPlugInCustomPropertyDataTypeCFPropertyList, "property list"},
};

constexpr UInt32 kRoom = 4096; // for any value here, lists too

template <class... Arguments>
std::string Formatted(char const* szFormat, Arguments... oArguments) {
    char szText[200];
    std::snprintf(szText, sizeof szText, szFormat, oArguments...);
    return szText;
}

// Calls oMake with each whole Value in the bytes.
template <class Value, class Make>
std::vector<std::string> Each(std::vector<UInt8> const& arBytes, Make const& oMake) {
    std::vector<std::string> lTexts;
    for (size_t n = 0; n + sizeof(Value) <= arBytes.size(); n += sizeof(Value)) {
        Value oValue;
        std::memcpy(&oValue, arBytes.data() + n, sizeof oValue);
        lTexts.push_back(oMake(oValue));
    }
    return lTexts;
}

std::string TextOfReference(CFTypeRef pObject) {
    if (!pObject)
        return "none";
    LCFOwner<CFTypeRef> const pOwned(pObject); // what a driver hands out is the reader's
    if (CFGetTypeID(pObject) == CFStringGetTypeID())
        return "\"" + TextOf(static_cast<CFStringRef>(pObject)) + "\"";
    if (CFGetTypeID(pObject) == CFURLGetTypeID())
        return TextOf(CFURLGetString(static_cast<CFURLRef>(pObject)));
    LCFOwner<CFStringRef> const pDescription(CFCopyDescription(pObject));
    return TextOf(pDescription.Get());
}

std::string ChannelText(UInt32 nLabel) {
    return nLabel == kAudioChannelLabel_Left    ? "left"
           : nLabel == kAudioChannelLabel_Right ? "right"
                                                : Formatted("label %u", nLabel);
}

std::vector<std::string> LayoutTexts(std::vector<UInt8> const& arBytes) {
    constexpr size_t nHead = offsetof(AudioChannelLayout, mChannelDescriptions);
    if (arBytes.size() < nHead)
        return {};
    std::vector<UInt8> const arDescriptions(arBytes.begin() + nHead, arBytes.end());
    std::string szText;
    for (std::string const& szChannel : Each<AudioChannelDescription>(
             arDescriptions, [](AudioChannelDescription const& o) { return ChannelText(o.mChannelLabel); }))
        szText += (szText.empty() ? "" : ", ") + szChannel;
    return {szText};
}

} // namespace

std::string CodeText(UInt32 nCode) {
    if (nCode == 0)
        return "none";
    for (NamedCode const& oCode : kCodes)
        if (oCode.nCode == nCode)
            return FourCharText(nCode) + " " + oCode.szName;
    return FourCharText(nCode);
}

std::string FormatText(AudioStreamBasicDescription const& o) {
    std::string const szChannels = o.mChannelsPerFrame == 2   ? "stereo"
                                   : o.mChannelsPerFrame == 1 ? "mono"
                                                              : Formatted("%u channels", o.mChannelsPerFrame);
    bool const bFloat = o.mFormatFlags & kAudioFormatFlagIsFloat;
    return CodeText(o.mFormatID) + ", " + szChannels +
           Formatted(", %u-bit %s, %g Hz", o.mBitsPerChannel, bFloat ? "float" : "integer", o.mSampleRate);
}

std::vector<std::string> ValueTexts(ValueKind nKind, std::vector<UInt8> const& arBytes) {
    auto const oRange = [](char const* szUnit) {
        return [szUnit](AudioValueRange const& o) { return Formatted("%g to %g %s", o.mMinimum, o.mMaximum, szUnit); };
    };
    auto const oReal = [](char const* szFormat) {
        return [szFormat](Float32 n) { return Formatted(szFormat, double{n}); };
    };
    switch (nKind) {
    case ValueKind::Number:
    case ValueKind::NumberList: return Each<UInt32>(arBytes, [](UInt32 n) { return std::to_string(n); });
    case ValueKind::YesNo: return Each<UInt32>(arBytes, [](UInt32 n) { return std::string(n ? "yes" : "no"); });
    case ValueKind::FourChar: return Each<UInt32>(arBytes, CodeText);
    case ValueKind::Object:
    case ValueKind::ObjectByUid:
    case ValueKind::ObjectList:
        return Each<AudioObjectID>(arBytes, [](AudioObjectID n) { return n ? std::to_string(n) : "none"; });
    case ValueKind::Direction:
        return Each<UInt32>(arBytes, [](UInt32 n) { return std::string(n ? "input" : "output"); });
    case ValueKind::Text:
    case ValueKind::Url:
    case ValueKind::CustomText:
    case ValueKind::ItemName: return Each<CFTypeRef>(arBytes, TextOfReference);
    case ValueKind::Rate: return Each<Float64>(arBytes, [](Float64 n) { return Formatted("%g Hz", n); });
    case ValueKind::Scalar:
    case ValueKind::DecibelsToScalar: return Each<Float32>(arBytes, oReal("%.6g"));
    case ValueKind::Decibels:
    case ValueKind::ScalarToDecibels: return Each<Float32>(arBytes, oReal("%.6g dB"));
    case ValueKind::DecibelRange: return Each<AudioValueRange>(arBytes, oRange("dB"));
    case ValueKind::RateRanges: return Each<AudioValueRange>(arBytes, oRange("Hz"));
    case ValueKind::Format: return Each<AudioStreamBasicDescription>(arBytes, FormatText);
    case ValueKind::FormatList:
        return Each<AudioStreamRangedDescription>(arBytes, [&](AudioStreamRangedDescription const& o) {
            return FormatText(o.mFormat) + " (" + oRange("Hz")(o.mSampleRateRange) + ")";
        });
    case ValueKind::ChannelLayout: return LayoutTexts(arBytes);
    case ValueKind::CustomProperties:
        return Each<AudioServerPlugInCustomPropertyInfo>(arBytes, [](AudioServerPlugInCustomPropertyInfo const& o) {
            return CodeText(o.mSelector) + ": " + CodeText(o.mPropertyDataType) + " for a " +
                   CodeText(o.mQualifierDataType);
        });
    }
    return {};
}

namespace {

bool IsList(ValueKind nKind) {
    switch (nKind) {
    case ValueKind::ObjectList:
    case ValueKind::NumberList:
    case ValueKind::RateRanges:
    case ValueKind::FormatList:
    case ValueKind::CustomProperties:
    case ValueKind::ItemName: return true;
    default: return false;
    }
}

// The UID that the "by UID" properties translate, asked of the first box or device itself.
LCFOwner<CFStringRef> OwnUid(DriverView const& oDriver, AudioObjectPropertySelector nSelector) {
    bool const bBox = nSelector == kAudioPlugInPropertyTranslateUIDToBox;
    AudioObjectPropertySelector nUid = kAudioBoxPropertyBoxUID, nList = kAudioPlugInPropertyBoxList;
    if (!bBox)
        nUid = kAudioDevicePropertyDeviceUID, nList = kAudioPlugInPropertyDeviceList;
    auto const lObjects = oDriver.List(kPlugInObject, nList);
    auto const oUid = lObjects.empty() ? std::nullopt : oDriver.Get<CFStringRef>(lObjects.front(), GlobalAddress(nUid));
    return oUid && *oUid ? LCFOwner<CFStringRef>(*oUid) : MakeCFString("");
}

// Standard error goes nowhere while there is one. One thread.
class StandardErrorAside {
public:
    StandardErrorAside() : nKept(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
        int const nNowhere = nKept < 0 ? -1 : open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (nNowhere >= 0) {
            dup2(nNowhere, STDERR_FILENO);
            close(nNowhere);
        }
    }
    ~StandardErrorAside() {
        std::fflush(stderr);
        if (nKept >= 0) {
            dup2(nKept, STDERR_FILENO);
            close(nKept);
        }
    }
    StandardErrorAside(StandardErrorAside const&) = delete;
    StandardErrorAside& operator=(StandardErrorAside const&) = delete;

private:
    int const nKept;
};

} // namespace

PropertyText ReadPropertyText(DriverView const& oDriver, AudioObjectID nObject, KnownProperty const& oProperty,
                              AudioObjectPropertyAddress const& oAddress) {
    PropertyText oText;
    oText.bList = IsList(oProperty.nKind);
    auto const oRead = [&](void const* pQualifier, UInt32 nQualifierSize, UInt32 nRoom) {
        auto const arBytes = oDriver.Read(nObject, oAddress, nRoom, oText.nResult, pQualifier, nQualifierSize);
        for (std::string& szValue : ValueTexts(oProperty.nKind, arBytes))
            oText.lValues.push_back(std::move(szValue));
    };
    switch (oProperty.nKind) {
    case ValueKind::ObjectByUid: {
        LCFOwner<CFStringRef> const pUid = OwnUid(oDriver, oProperty.nSelector);
        CFStringRef const pQualifier = pUid.Get();
        oRead(&pQualifier, sizeof pQualifier, kRoom);
        break;
    }
    case ValueKind::CustomText: {
        CFStringRef const pQualifier = CFSTR("");
        StandardErrorAside const oQuiet; // the driver prints the qualifier
        oRead(&pQualifier, sizeof pQualifier, kRoom);
        break;
    }
    case ValueKind::ItemName:
        for (AudioObjectID const nItem : oDriver.List(nObject, kAudioSelectorControlPropertyAvailableItems))
            oRead(&nItem, sizeof nItem, kRoom);
        break;
    case ValueKind::ScalarToDecibels:
    case ValueKind::DecibelsToScalar: {
        // These convert what stands in the buffer; the table's names say which value is shown.
        Float32 nValue = oProperty.nKind == ValueKind::ScalarToDecibels ? 0.5f : 0.0f;
        UInt32 nSize = 0;
        oText.nResult =
            (*oDriver.Ref())
                ->GetPropertyData(oDriver.Ref(), nObject, 0, &oAddress, 0, nullptr, sizeof nValue, &nSize, &nValue);
        auto const* pBytes = reinterpret_cast<UInt8 const*>(&nValue);
        oText.lValues = ValueTexts(oProperty.nKind, {pBytes, pBytes + sizeof nValue});
        break;
    }
    default: oRead(nullptr, 0, kRoom);
    }
    return oText;
}
