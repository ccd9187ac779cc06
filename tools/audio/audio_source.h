// Where audio comes from. A source delivers stereo whatever it was made from: mono goes to both channels.
#pragma once

#include "tools/audio/frames.h"

#include <memory>
#include <optional>
#include <string>

// One thread at a time.
class AudioSource {
public:
    virtual ~AudioSource() = default;

    // Up to `nFrames` interleaved stereo frames into `pFrames`; returns how many. Fewer than asked means the end, and
    // from then on 0. May wait for a pipe. Throws Failure(Input) when the source can't be read any further.
    virtual size_t Read(float* pFrames, size_t nFrames) = 0;

    virtual double Rate() const = 0; // Hz

    // How many frames there are from the start, where that is known (not of a pipe); right to within a frame where the
    // rate is converted.
    virtual std::optional<uint64_t> FrameCount() const = 0;
};

// How headerless audio is laid out.
struct RawFormat {
    double nRate = 44100.0; // Hz
    int nChannels = 2;
    std::string szEncoding = "s16"; // a name of RawEncodingNames()
};

// The names that RawFormat::szEncoding may have, separated by ", ".
std::string RawEncodingNames();

// Any file that libsndfile reads. Throws Failure(Input): missing, unreadable, not audio, empty, more than two channels.
std::unique_ptr<AudioSource> OpenAudioFile(std::string const& szPath);

// Whether headerless audio of that form can be read from the descriptor: throws Failure(Usage) for an encoding that is
// none, Failure(Input) for a terminal.
void CheckRawAudio(int nDescriptor, RawFormat const& oFormat, std::string const& szName);

// Headerless audio from a descriptor, which stays the caller's and is read to its end. `szName` is for messages.
std::unique_ptr<AudioSource> OpenRawAudio(int nDescriptor, RawFormat const& oFormat, std::string const& szName);
