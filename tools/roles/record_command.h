// `lumora record`: the whole road in one command.
#pragma once

#include "tools/audio/audio_source.h"

#include <string>
#include <vector>

struct RecordOptions {
    std::string szProgram; // to start the three roles with
    std::vector<std::string> lInputs;
    std::string szOutput;
    RawFormat oRaw;
    std::string szBundle;
    double nRate = 0; // Hz, 0: as the first input
    unsigned nCycleFrames = 512;
    double nSpeed = 1;
    bool bReplace = false;
    std::vector<std::string> lChanges; // as given
};

// Starts helper, recorder and audio server as processes of their own, in a service folder of this run's own, plays the
// inputs, shows how it goes on standard error and prints a summary on standard output. Success only when the recording
// is, frame for frame, what was played. Returns the exit status; throws Failure.
int RunRecord(RecordOptions const& oOptions);
