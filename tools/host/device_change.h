// "--set 'TIME NAME=VALUE'": a change of the device while it plays.
#pragma once

#include "tools/host/device.h"

#include <string>
#include <vector>

struct DeviceChange {
    double nTime = 0; // seconds of audio played
    std::string szName;
    double nValue = 0;

    // Reads "2.5 volume=0.5". Throws Failure(Usage) that names what is wrong.
    static DeviceChange Parse(std::string const& szText);

    // Has the driver make it. The driver's result; '!obj' when the device has no such control.
    OSStatus Apply(DriverView const& oDriver, AudioObjectID nDevice) const;
};

// What may be set, for the help text: one line a name.
std::string DeviceChangeHelp();
