// What the kernel says of the process's threads.
#pragma once

#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <unistd.h>

// Until each of the other threads has been seen asleep: one that is known to be on its way into a wait has got there,
// and holds no lock. A signal that is sent to it before may be put off by the thread sanitizer to the end of that wait,
// or find the thread with a lock that the signal's handler needs.
inline void AwaitOthersAsleep() {
    for (auto const& oTask : std::filesystem::directory_iterator("/proc/self/task")) {
        bool const bOwn = oTask.path().filename() == std::to_string(gettid());
        for (char cState = 0; !bOwn && cState != 'S';) {
            std::ifstream oFile(oTask.path() / "stat");
            if (!oFile)
                break; // it has ended
            oFile.ignore(std::numeric_limits<std::streamsize>::max(), ')') >> cState;
        }
    }
}
