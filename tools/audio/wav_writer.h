// Writes a recording so that the file of that name is either the whole recording or not there.
#pragma once

#include "tools/audio/frames.h"

#include <cstdint>
#include <memory>
#include <string>

// A stereo 32-bit float WAV file (an RF64 one when it outgrows 4 GB). What is written goes to "<path>.part" beside it,
// whose header is brought up to date every few seconds so that what a killed recorder leaves behind can be played;
// Finish renames it. One thread at a time. Every failure is a Failure(Output) that names the file and the cause; the
// part file then stays, with what was written so far.
class WavWriter {
public:
    // nRate in Hz. Fails when the path exists and bReplace is not set, or when another recorder is writing to it. A
    // part file that a recorder left when it was killed is moved aside first: see LeftOver().
    WavWriter(std::string const& szPath, double nRate, bool bReplace);
    ~WavWriter(); // not finished: the part file stays, closed properly
    WavWriter(WavWriter const&) = delete;
    WavWriter& operator=(WavWriter const&) = delete;

    void Write(float const* pFrames, size_t nFrames);

    // Cuts the recording to its first nFrames (more than there are: none), closes it and gives it its name.
    void Finish(uint64_t nFrames);

    // Closes the part file and leaves it where it is; deletes it when there is no audio in it.
    void Abandon();

    uint64_t FrameCount() const noexcept { return nFrameCount; }
    std::string const& PartPath() const noexcept { return szPartPath; }
    std::string const& LeftOver() const noexcept { return szLeftOver; } // where an earlier part file went, or ""

private:
    struct File;

    void MoveLeftOverAside();
    [[noreturn]] void Fail(std::string const& szWhat) const;

    std::string szFinalPath;
    std::string szPartPath;
    std::string szLeftOver;
    bool bReplaceExisting;
    uint64_t nFrameCount = 0;
    uint64_t nFramesAtUpdate = 0;
    uint64_t nFramesPerUpdate;
    std::unique_ptr<File> pFile;
};
