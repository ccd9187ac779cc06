// The lumora command's roles as real processes, in a folder and a service folder of the test's own.
#pragma once

#include "tests/harness/temporary_folder.h"
#include "tools/audio/frames.h"
#include "tools/process/event_line.h"
#include "tools/process/role_process.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// What a command that ran to its end left behind.
struct Ended {
    int nStatus = -1; // 128 + n: by signal n
    std::string szOutput;
    std::string szErrors;
};

// A test's world. Processes that still run when it ends are told to stop.
class Roles {
public:
    using Arguments = std::vector<std::string>;

    std::string operator/(std::string const& szName) const { return oFolder / szName; }
    bool Has(std::string const& szName) const { return oFolder.Has(szName); }
    std::string ServiceFolder() const { return oFolder.Path(); }

    // `lumora ARGUMENTS`, running; standard error goes to this process's.
    std::unique_ptr<RoleProcess> Start(Arguments const& lArguments) const;
    std::unique_ptr<RoleProcess> StartHelper() const;                     // ready
    std::unique_ptr<RoleProcess> StartRecorder(std::string const& szFile, // registered; writes szFile in the folder
                                               Arguments const& lMore = {}) const;
    std::unique_ptr<RoleProcess> StartServer(Arguments const& lMore) const; // started

    // `lumora ARGUMENTS` to its end. With szInput, that shell command's output is its standard input.
    Ended Run(Arguments const& lArguments, std::string const& szInput = "") const;

    // The same, where no file may grow beyond nBytes.
    Ended RunLimited(uint64_t nBytes, Arguments const& lArguments) const;

    // A stereo file of nFrames whose frame n can be told from every other (see FrameAt). Returns its path.
    std::string MakeInput(std::string const& szName, size_t nFrames, int nRate = 44100, size_t nFirst = 0) const;

private:
    Ended RunThrough(std::string const& szShellBefore, Arguments const& lArguments) const;
    RoleProcess::Options Options(Arguments const& lArguments) const;

    TemporaryFolder oFolder;
};

// The samples of frame n of every input that MakeInput makes.
inline float LeftAt(size_t n) {
    return static_cast<float>(n) / (1 << 23);
}
inline float RightAt(size_t n) {
    return -LeftAt(n);
}

// Whether the file holds frames nFirst, nFirst + 1, ... and nothing else; says where it does not. With nFirst of
// kAnywhere, whatever its first frame says. nFrames: how many, or kAnyNumber but at least one.
inline constexpr size_t kAnywhere = ~size_t{0}, kAnyNumber = ~size_t{0};
std::string WhatIsWrongWith(std::string const& szPath, size_t nFirst, size_t nFrames);

// The next event of that name. Fails the test, and returns an event without name, when the output ends or thirty
// seconds pass before it comes.
EventLine WaitFor(RoleProcess& oRole, std::string const& szEvent);
// Progress until at least that many frames.
void WaitForFrames(RoleProcess& oRole, uint64_t nFrames);
