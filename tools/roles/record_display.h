// What `lumora record` shows while it runs, and at its end.
#pragma once

#include "tools/audio/level_meter.h"
#include "tools/process/event_line.h"

#include <cstdint>
#include <optional>
#include <string>

// Progress on standard error: one line that is written over on a terminal, a new line every two seconds of the clock
// elsewhere. One thread.
class ProgressDisplay {
public:
    ProgressDisplay(double nRateOfAudio, std::optional<uint64_t> oTotal);
    void Show(uint64_t nFrames, double nLeft, double nRight); // peaks, linear
    void Clear();                                             // before other output to the terminal

private:
    double nRate;
    std::optional<uint64_t> oTotalFrames;
    bool bTerminal;
    int64_t nShownAt_ms = 0;
    bool bShown = false;
};

// What one run came to.
struct RecordSummary {
    std::string szOutput;
    uint64_t nFramesIn = 0; // played
    uint64_t nCyclesSent = 0;
    uint64_t nCyclesReceived = 0;
    uint64_t nHeldCycles = 0;
    uint64_t nLateCycles = 0;
    uint64_t nHashIn = 0;
    bool bStopped = false; // before the end of the inputs
    FileFigures oFile;

    uint64_t LostCycles() const { return nCyclesSent > nCyclesReceived ? nCyclesSent - nCyclesReceived : 0; }
    bool IsBitExact() const { return nFramesIn == oFile.nFrames && nHashIn == oFile.nHash; }
};

// The summary as lines of text.
std::string SummaryText(RecordSummary const& oSummary);

// "0:03.2"
std::string TimeText(double nSeconds);
