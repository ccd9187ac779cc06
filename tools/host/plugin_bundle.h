// A plug-in's bundle, found and loaded by what its information property list says.
#pragma once

#include "tools/host/cf_text.h"

#include <CoreAudio/AudioServerPlugIn.h>

#include <string>

// Loads the bundle, calls the factory that it names for audio server plug-ins and asks for the driver interface. The
// code stays loaded to the end of the process: its own threads and queued work may still be in it. Any thread.
class PluginBundle {
public:
    // Throws Failure(Service): no such bundle, no plug-in of the right type in it, won't load, no driver.
    explicit PluginBundle(std::string const& szPath);
    ~PluginBundle(); // gives the driver interface's reference back
    PluginBundle(PluginBundle const&) = delete;
    PluginBundle& operator=(PluginBundle const&) = delete;

    AudioServerPlugInDriverRef Driver() const noexcept { return pDriver; }
    std::string Identifier() const { return TextOf(CFBundleGetIdentifier(pBundle.Get())); }

    // The link's own exported functions. Without them in the bundle: false, and nothing.
    bool IsRecorderConnected() const;
    void ConnectToRecorder() const;

private:
    CFStringRef FindFactoryName(std::string const& szPath) const;
    void AskForDriver(CFPlugInFactoryFunction pFactory, std::string const& szPath);

    LCFOwner<CFBundleRef> pBundle;
    AudioServerPlugInDriverRef pDriver = nullptr;
};

// LumoraVirtualAudioDevice.driver beside the program, or in the folder above it; the first that exists, else the first.
std::string DefaultBundlePath(std::string const& szProgramPath);
