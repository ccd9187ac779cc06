#include "tools/host/plugin_bundle.h"

#include "tools/process/failure.h"

#include <filesystem>

namespace {

constexpr char kBundleName[] = "LumoraVirtualAudioDevice.driver";

template <class Ref>
Ref Typed(CFTypeRef pValue, CFTypeID nType) {
    return pValue && CFGetTypeID(pValue) == nType ? static_cast<Ref>(pValue) : nullptr;
}

LCFOwner<CFBundleRef> OpenBundle(std::string const& szPath) {
    LCFOwner<CFURLRef> const pUrl(CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<UInt8 const*>(szPath.data()), static_cast<CFIndex>(szPath.size()), true));
    return LCFOwner<CFBundleRef>(pUrl ? CFBundleCreate(nullptr, pUrl.Get()) : nullptr);
}

} // namespace

PluginBundle::PluginBundle(std::string const& szPath) : pBundle(OpenBundle(szPath)) {
    if (!pBundle || CFDictionaryGetCount(CFBundleGetInfoDictionary(pBundle.Get())) == 0)
        throw Failure(ExitCode::Service,
                      "there is no plug-in bundle at " + szPath + ". Build it, or say where it is with --bundle.");
    CFStringRef const pName = FindFactoryName(szPath);
    if (!CFBundleLoadExecutable(pBundle.Get()))
        throw Failure(ExitCode::Service, "the code of " + szPath + " cannot be loaded. Build the bundle again.");
    void* const pFactory = CFBundleGetFunctionPointerForName(pBundle.Get(), pName);
    if (!pFactory)
        throw Failure(ExitCode::Service, szPath + " has no function " + TextOf(pName) +
                                             ", which its information property list names. Build the bundle again.");
    AskForDriver(reinterpret_cast<CFPlugInFactoryFunction>(pFactory), szPath);
}

PluginBundle::~PluginBundle() {
    if (pDriver)
        (*pDriver)->Release(pDriver);
}

// CFPlugInTypes: type -> [factory]; CFPlugInFactories: factory -> function name. The first factory of the type is used.
CFStringRef PluginBundle::FindFactoryName(std::string const& szPath) const {
    LCFOwner<CFStringRef> const pType(CFUUIDCreateString(nullptr, kAudioServerPlugInTypeUUID));
    auto const pTypes = Typed<CFDictionaryRef>(
        CFBundleGetValueForInfoDictionaryKey(pBundle.Get(), CFSTR("CFPlugInTypes")), CFDictionaryGetTypeID());
    auto const pFactories = Typed<CFDictionaryRef>(
        CFBundleGetValueForInfoDictionaryKey(pBundle.Get(), CFSTR("CFPlugInFactories")), CFDictionaryGetTypeID());
    auto const pOfType =
        pTypes ? Typed<CFArrayRef>(CFDictionaryGetValue(pTypes, pType.Get()), CFArrayGetTypeID()) : nullptr;
    auto const pName = pOfType && pFactories && CFArrayGetCount(pOfType) > 0
                           ? Typed<CFStringRef>(CFDictionaryGetValue(pFactories, CFArrayGetValueAtIndex(pOfType, 0)),
                                                CFStringGetTypeID())
                           : nullptr;
    if (!pName)
        throw Failure(ExitCode::Service, szPath + " is not an audio server plug-in: its information property list "
                                                  "names no factory for one.");
    return pName;
}

void PluginBundle::AskForDriver(CFPlugInFactoryFunction pFactory, std::string const& szPath) {
    auto const pUnknown = static_cast<AudioServerPlugInDriverRef>(pFactory(nullptr, kAudioServerPlugInTypeUUID));
    void* pInterface = nullptr;
    if (!pUnknown ||
        FAILED((*pUnknown)->QueryInterface(pUnknown, CFUUIDGetUUIDBytes(kAudioServerPlugInDriverInterfaceUUID),
                                           &pInterface)) ||
        !pInterface)
        throw Failure(ExitCode::Service, szPath + " gives no audio server driver.");
    pDriver = static_cast<AudioServerPlugInDriverRef>(pInterface);
}

bool PluginBundle::IsRecorderConnected() const {
    void* const p = CFBundleGetFunctionPointerForName(pBundle.Get(), CFSTR("LVADServerIsConnectionValid"));
    return p && reinterpret_cast<bool (*)()>(p)();
}

void PluginBundle::ConnectToRecorder() const {
    if (void* const p = CFBundleGetFunctionPointerForName(pBundle.Get(), CFSTR("LVADPluginConnectToApp")))
        reinterpret_cast<void (*)()>(p)();
}

std::string DefaultBundlePath(std::string const& szProgramPath) {
    namespace fs = std::filesystem;
    std::error_code oError;
    fs::path const oProgram = fs::canonical(szProgramPath, oError);
    fs::path const oFolder = (oError ? fs::path(szProgramPath) : oProgram).parent_path();
    for (fs::path const& oCandidate : {oFolder / kBundleName, oFolder.parent_path() / kBundleName})
        if (fs::exists(oCandidate, oError))
            return oCandidate;
    return oFolder / kBundleName;
}
