#include "tools/host/device_change.h"

#include "tools/process/failure.h"

#include <cmath>
#include <cstdlib>

namespace {

enum class Type { Float32, UInt32, Float64 };

struct Settable {
    char const* szName;
    AudioClassID nClass; // of the object, found among the device's own; 0: the device
    AudioObjectPropertySelector nSelector;
    Type nType;
    char const* szMeaning;
};

constexpr Settable kSettables[] = {
    {"volume", kAudioVolumeControlClassID, kAudioLevelControlPropertyScalarValue, Type::Float32, "0 to 1"},
    {"decibels", kAudioVolumeControlClassID, kAudioLevelControlPropertyDecibelValue, Type::Float32, "-96 to 6 dB"},
    {"mute", kAudioMuteControlClassID, kAudioBooleanControlPropertyValue, Type::UInt32, "0 or 1"},
    {"source", kAudioDataSourceControlClassID, kAudioSelectorControlPropertyCurrentItem, Type::UInt32, "0 to 3"},
    {"destination", kAudioDataDestinationControlClassID, kAudioSelectorControlPropertyCurrentItem, Type::UInt32,
     "0 to 3"},
    {"rate", 0, kAudioDevicePropertyNominalSampleRate, Type::Float64, "44100 or 48000 Hz; IO stops and starts again"},
};

Settable const* Find(std::string const& szName) {
    for (Settable const& oSettable : kSettables)
        if (szName == oSettable.szName)
            return &oSettable;
    return nullptr;
}

// The whole text as a finite number, or NaN.
double Number(std::string const& szText) {
    char* pEnd = nullptr;
    double const nValue = std::strtod(szText.c_str(), &pEnd);
    return !szText.empty() && *pEnd == '\0' && std::isfinite(nValue) ? nValue : std::nan("");
}

} // namespace

DeviceChange DeviceChange::Parse(std::string const& szText) {
    size_t const nSpace = szText.find(' ');
    size_t const nEquals = szText.find('=', nSpace == std::string::npos ? 0 : nSpace);
    DeviceChange oChange;
    oChange.nTime = Number(szText.substr(0, nSpace));
    if (nSpace == std::string::npos || nEquals == std::string::npos || !(oChange.nTime >= 0))
        throw Failure(ExitCode::Usage, "'" + szText +
                                           "' is not a change. Write it as 'SECONDS NAME=VALUE', for example "
                                           "'2.5 volume=0.5'.");
    oChange.szName = szText.substr(nSpace + 1, nEquals - nSpace - 1);
    oChange.nValue = Number(szText.substr(nEquals + 1));
    Settable const* pSettable = Find(oChange.szName);
    if (!pSettable)
        throw Failure(ExitCode::Usage, "'" + oChange.szName + "' cannot be set. There is:\n" + DeviceChangeHelp());
    if (std::isnan(oChange.nValue) ||
        (pSettable->nType == Type::UInt32 && (oChange.nValue < 0 || oChange.nValue > 0xFFFFFFFFu)))
        throw Failure(ExitCode::Usage,
                      "'" + szText + "': " + oChange.szName + " takes " + std::string(pSettable->szMeaning) + ".");
    return oChange;
}

OSStatus DeviceChange::Apply(DriverView const& oDriver, AudioObjectID nDevice) const {
    Settable const& oSettable = *Find(szName);
    auto const oObject = oSettable.nClass == 0 ? std::optional(nDevice) : oDriver.FindOwned(nDevice, oSettable.nClass);
    if (!oObject)
        return kAudioHardwareBadObjectError;
    AudioObjectPropertyAddress const oAddress = GlobalAddress(oSettable.nSelector);
    switch (oSettable.nType) {
    case Type::Float32: return oDriver.Set(*oObject, oAddress, static_cast<Float32>(nValue));
    case Type::UInt32: return oDriver.Set(*oObject, oAddress, static_cast<UInt32>(nValue));
    case Type::Float64: break;
    }
    return oDriver.Set(*oObject, oAddress, static_cast<Float64>(nValue));
}

std::string DeviceChangeHelp() {
    std::string szHelp;
    for (Settable const& oSettable : kSettables)
        szHelp += "  " + std::string(oSettable.szName) + "  " + oSettable.szMeaning + "\n";
    return szHelp;
}
