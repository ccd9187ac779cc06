// `lumora server`: an audio server with one plug-in and one application, which plays files.
#pragma once

#include "tools/audio/audio_source.h"
#include "tools/host/device_change.h"

#include <string>
#include <vector>

struct ServerOptions {
    std::vector<std::string> lInputs;
    RawFormat oRaw;
    std::string szBundle;
    std::string szStateFolder;
    double nRate = 0;                   // Hz, 0: as the first input
    unsigned nCycleFrames = 512;        // 64 to 4096
    double nSpeed = 1;                  // of the host clock
    double nWaitForRecorder = 0;        // seconds
    std::vector<DeviceChange> lChanges; // in order of time
    bool bProgress = false;
    int nControl = -1; // descriptor; -1: none
};

// Plays the inputs to the end, or until it is told to stop. Prints, one EventLine each:
//   started rate= cycle= frames= realtime=   (frames only when known)
//   set name= value= result=                 (each change made)
//   progress frames= left= right=            (ten times a second, with bProgress; peaks since the last, linear)
//   finished frames= cycles= held= late= hash= input=
// Returns the exit status; throws Failure.
int RunServer(ServerOptions const& oOptions);
