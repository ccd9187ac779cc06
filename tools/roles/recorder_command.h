// `lumora recorder`: the application at the end of the road, which writes what the device sends to a file.
#pragma once

#include <string>

struct RecorderOptions {
    std::string szOutput;
    double nRate = 44100; // Hz; messages carry none
    bool bReplace = false;
    bool bProgress = false;
    int nControl = -1; // descriptor; -1: none
};

// Records until it is told to stop: by a signal, by the end of its control descriptor, or there by "finish" or
// "finish FRAMES", which waits until that many frames have arrived and keeps no more of them. Prints, one EventLine
// each:
//   recording path= rate=
//   leftover path=                  (an unfinished recording of a killed recorder was moved there)
//   registered                      (the helper knows this recorder; again after each time it had to be found anew)
//   unregistered                    (the helper has gone)
//   volume value= frame=            (a volume change, and how many frames had arrived)
//   progress frames=                (with bProgress, as they arrive)
//   finished path= frames= blocks= dropped= refused=
// Returns the exit status; throws Failure.
int RunRecorder(RecorderOptions const& oOptions);
