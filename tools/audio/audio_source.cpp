#include "tools/audio/audio_source.h"

#include "tools/process/failure.h"

#include <sndfile.hh>

#include <cerrno>
#include <cstring>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace {

struct RawEncoding {
    char const* szName;
    int nFormat;
};

constexpr RawEncoding kRawEncodings[] = {
    {"s16", SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE},
    {"s24", SF_FORMAT_PCM_24 | SF_ENDIAN_LITTLE},
    {"s32", SF_FORMAT_PCM_32 | SF_ENDIAN_LITTLE},
    {"f32", SF_FORMAT_FLOAT | SF_ENDIAN_LITTLE},
    {"f64", SF_FORMAT_DOUBLE | SF_ENDIAN_LITTLE},
    {"s16be", SF_FORMAT_PCM_16 | SF_ENDIAN_BIG},
    {"s24be", SF_FORMAT_PCM_24 | SF_ENDIAN_BIG},
    {"s32be", SF_FORMAT_PCM_32 | SF_ENDIAN_BIG},
    {"f32be", SF_FORMAT_FLOAT | SF_ENDIAN_BIG},
    {"f64be", SF_FORMAT_DOUBLE | SF_ENDIAN_BIG},
    {"u8", SF_FORMAT_PCM_U8},
    {"s8", SF_FORMAT_PCM_S8},
};

int RawFormatNumber(std::string const& szName) {
    for (RawEncoding const& oEncoding : kRawEncodings)
        if (szName == oEncoding.szName)
            return SF_FORMAT_RAW | oEncoding.nFormat;
    throw Failure(ExitCode::Usage, "'" + szName + "' is no raw format. Use one of " + RawEncodingNames() + ".");
}

class SoundFileSource : public AudioSource {
public:
    SoundFileSource(SndfileHandle oOpened, std::string szLabel)
        : oFile(std::move(oOpened)), szName(std::move(szLabel)) {
        if (oFile.channels() < 1 || oFile.channels() > static_cast<int>(kChannels))
            throw Failure(ExitCode::Input,
                          szName + " has " + std::to_string(oFile.channels()) +
                              " channels; the device has two. Mix it down to mono or stereo first, for example with: "
                              "sox '" +
                              szName + "' stereo.wav channels 2");
    }

    size_t Read(float* pFrames, size_t nFrames) override {
        auto const nRead = static_cast<size_t>(oFile.readf(pFrames, static_cast<sf_count_t>(nFrames)));
        if (nRead < nFrames && oFile.error() != SF_ERR_NO_ERROR)
            throw Failure(ExitCode::Input, "cannot read " + szName + " any further: " + oFile.strError());
        if (oFile.channels() == 1)
            DoubleTheChannel(pFrames, nRead);
        return nRead;
    }

    double Rate() const override { return oFile.samplerate(); }

    std::optional<uint64_t> FrameCount() const override {
        if (bPipe)
            return std::nullopt;
        return static_cast<uint64_t>(oFile.frames());
    }

    void SetPipe() { bPipe = true; }

private:
    // In place: mono stands packed at the front, so the last frame is moved first.
    static void DoubleTheChannel(float* pFrames, size_t nFrames) {
        for (size_t n = nFrames; n-- > 0;)
            pFrames[2 * n] = pFrames[2 * n + 1] = pFrames[n];
    }

    SndfileHandle oFile;
    std::string szName;
    bool bPipe = false;
};

} // namespace

std::string RawEncodingNames() {
    std::string szNames;
    for (RawEncoding const& oEncoding : kRawEncodings)
        szNames += (szNames.empty() ? "" : ", ") + std::string(oEncoding.szName);
    return szNames;
}

std::unique_ptr<AudioSource> OpenAudioFile(std::string const& szPath) {
    if (access(szPath.c_str(), R_OK) != 0)
        throw Failure(ExitCode::Input, "cannot read " + szPath + ": " + std::strerror(errno));
    struct stat oStatus = {};
    if (stat(szPath.c_str(), &oStatus) == 0 && S_ISDIR(oStatus.st_mode))
        throw Failure(ExitCode::Input, szPath + " is a folder. Name an audio file.");
    if (S_ISREG(oStatus.st_mode) && oStatus.st_size == 0)
        throw Failure(ExitCode::Input, szPath + " is empty.");
    SndfileHandle oFile(szPath);
    if (!oFile || oFile.error() != SF_ERR_NO_ERROR)
        throw Failure(ExitCode::Input, szPath + " is not an audio file that can be read here (" + oFile.strError() +
                                           "). Headerless audio goes through standard input: see --raw-format.");
    if (oFile.frames() == 0)
        throw Failure(ExitCode::Input, szPath + " holds no audio.");
    return std::make_unique<SoundFileSource>(std::move(oFile), szPath);
}

void CheckRawAudio(int nDescriptor, RawFormat const& oFormat, std::string const& szName) {
    RawFormatNumber(oFormat.szEncoding);
    if (isatty(nDescriptor))
        throw Failure(ExitCode::Input, szName + " is a terminal. Send headerless audio through a pipe, for example: "
                                                "sox in.mp3 -t s16 - | lumora record - out.wav");
}

std::unique_ptr<AudioSource> OpenRawAudio(int nDescriptor, RawFormat const& oFormat, std::string const& szName) {
    CheckRawAudio(nDescriptor, oFormat, szName);
    int const nFormat = RawFormatNumber(oFormat.szEncoding);
    SndfileHandle oFile(nDescriptor, false, SFM_READ, nFormat, oFormat.nChannels, static_cast<int>(oFormat.nRate));
    if (!oFile || oFile.error() != SF_ERR_NO_ERROR)
        throw Failure(ExitCode::Input, "cannot read " + szName + " as raw audio: " + oFile.strError());
    auto pSource = std::make_unique<SoundFileSource>(std::move(oFile), szName);
    pSource->SetPipe();
    return pSource;
}
