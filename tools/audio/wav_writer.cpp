#include "tools/audio/wav_writer.h"

#include "tools/process/failure.h"

#include <sndfile.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// The part file, and libsndfile's view of the same descriptor.
struct WavWriter::File {
    explicit File(int nOpened) : nDescriptor(nOpened) {}
    ~File() {
        if (pSound)
            sf_close(pSound);
        if (nDescriptor >= 0)
            close(nDescriptor);
    }
    File(File const&) = delete;
    File& operator=(File const&) = delete;

    // What went wrong, in the system's words where it was the system: "No space left on device".
    std::string Error() const {
        std::string szError = sf_strerror(pSound);
        constexpr std::string_view kSystem = "System error : ";
        if (szError.starts_with(kSystem))
            szError.erase(0, kSystem.size());
        if (szError.ends_with('.'))
            szError.pop_back();
        return szError;
    }

    int nDescriptor;
    SNDFILE* pSound = nullptr;
};

namespace {

constexpr double kSecondsPerUpdate = 2.0;

bool Exists(std::string const& szPath) {
    struct stat oStatus = {};
    return lstat(szPath.c_str(), &oStatus) == 0;
}

} // namespace

WavWriter::WavWriter(std::string const& szPath, double nRate, bool bReplace)
    : szFinalPath(szPath), szPartPath(szPath + ".part"), bReplaceExisting(bReplace),
      nFramesPerUpdate(static_cast<uint64_t>(nRate * kSecondsPerUpdate)) {
    if (szPath.empty())
        throw Failure(ExitCode::Usage, "the name of the recording is empty.");
    if (!bReplace && Exists(szPath))
        throw Failure(ExitCode::Output, szPath + " exists. Choose another name, or give --force to replace it.");
    struct stat oStatus = {};
    if (stat(szPath.c_str(), &oStatus) == 0 && !S_ISREG(oStatus.st_mode))
        throw Failure(ExitCode::Output, szPath + " is not a file. Name a file to record to.");
    MoveLeftOverAside();
    pFile = std::make_unique<File>(open(szPartPath.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (pFile->nDescriptor < 0)
        throw Failure(ExitCode::Output, "cannot create " + szPartPath + ": " + std::strerror(errno));
    flock(pFile->nDescriptor, LOCK_EX | LOCK_NB); // tells a living recorder's part file from a dead one's

    SF_INFO oInfo = {};
    oInfo.samplerate = static_cast<int>(nRate);
    oInfo.channels = static_cast<int>(kChannels);
    oInfo.format = SF_FORMAT_RF64 | SF_FORMAT_FLOAT;
    pFile->pSound = sf_open_fd(pFile->nDescriptor, SFM_WRITE, &oInfo, SF_FALSE);
    if (!pFile->pSound)
        Fail(pFile->Error());
    sf_command(pFile->pSound, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
    sf_command(pFile->pSound, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE); // it holds the time of day
    sf_command(pFile->pSound, SFC_UPDATE_HEADER_NOW, nullptr, 0);
    if (sf_error(pFile->pSound) != SF_ERR_NO_ERROR)
        Fail(pFile->Error());
}

WavWriter::~WavWriter() = default;

void WavWriter::MoveLeftOverAside() {
    int const nDescriptor = open(szPartPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (nDescriptor < 0)
        return;
    bool const bAlive = flock(nDescriptor, LOCK_EX | LOCK_NB) != 0;
    close(nDescriptor);
    if (bAlive)
        throw Failure(ExitCode::Output, "another recorder is writing to " + szPartPath + ". Choose another name.");
    for (int n = 1; szLeftOver.empty() || Exists(szLeftOver); ++n)
        szLeftOver = szFinalPath + ".left-" + std::to_string(n) + ".part";
    if (std::rename(szPartPath.c_str(), szLeftOver.c_str()) != 0)
        throw Failure(ExitCode::Output, "cannot move " + szPartPath + " aside: " + std::strerror(errno));
}

void WavWriter::Fail(std::string const& szWhat) const {
    if (nFrameCount == 0) {
        unlink(szPartPath.c_str());
        throw Failure(ExitCode::Output, "cannot write " + szPartPath + ": " + szWhat + ".");
    }
    throw Failure(ExitCode::Output, "cannot write " + szPartPath + ": " + szWhat + ". The " +
                                        std::to_string(nFrameCount) + " frames written so far are kept there.");
}

void WavWriter::Write(float const* pFrames, size_t nFrames) {
    auto const nWritten = sf_writef_float(pFile->pSound, pFrames, static_cast<sf_count_t>(nFrames));
    nFrameCount += static_cast<uint64_t>(std::max<sf_count_t>(nWritten, 0));
    if (nWritten != static_cast<sf_count_t>(nFrames))
        Fail(pFile->Error());
    if (nFrameCount - nFramesAtUpdate >= nFramesPerUpdate) {
        sf_command(pFile->pSound, SFC_UPDATE_HEADER_NOW, nullptr, 0);
        nFramesAtUpdate = nFrameCount;
    }
}

void WavWriter::Finish(uint64_t nFrames) {
    if (nFrames < nFrameCount) {
        auto nKeep = static_cast<sf_count_t>(nFrames);
        if (sf_command(pFile->pSound, SFC_FILE_TRUNCATE, &nKeep, sizeof nKeep) != 0)
            Fail(pFile->Error());
        nFrameCount = nFrames;
    }
    sf_write_sync(pFile->pSound);
    int const nError = sf_close(std::exchange(pFile->pSound, nullptr));
    if (nError != SF_ERR_NO_ERROR)
        Fail(sf_error_number(nError));
    if (fsync(pFile->nDescriptor) != 0)
        Fail(std::strerror(errno));
    // link refuses what rename would replace: a file that somebody else put there meanwhile. Not every volume has it.
    bool bNamed = !bReplaceExisting && link(szPartPath.c_str(), szFinalPath.c_str()) == 0;
    if (bNamed)
        unlink(szPartPath.c_str());
    else if (bReplaceExisting || (errno != EEXIST && !Exists(szFinalPath)))
        bNamed = std::rename(szPartPath.c_str(), szFinalPath.c_str()) == 0;
    if (!bNamed)
        throw Failure(ExitCode::Output, "cannot name the recording " + szFinalPath + ": " + std::strerror(errno) +
                                            ". It is complete in " + szPartPath + ".");
}

void WavWriter::Abandon() {
    sf_close(std::exchange(pFile->pSound, nullptr));
    if (nFrameCount == 0)
        unlink(szPartPath.c_str());
}
