#include "runtime/diagnostics/hang_detector.h"

#include "files/path.h"
#include "files/system_folders.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

constinit LImmortal<std::optional<LHangDetector>> gLHangDetector;

namespace {

struct RunRecord {
    std::uint64_t nSeconds;
    std::uint64_t nStamp_ms; // of 32 bits
};
static_assert(sizeof(RunRecord) == 16);

RunRecord Now() noexcept {
    timeval oNow;
    gettimeofday(&oNow, nullptr);
    auto const nSeconds = static_cast<std::uint64_t>(oNow.tv_sec);
    return {nSeconds, static_cast<std::uint32_t>(nSeconds * 1000 + static_cast<std::uint64_t>(oNow.tv_usec) / 1000)};
}

char const* UserName() noexcept {
    for (char const* const szVariable : {"LOGNAME", "USER"})
        if (char const* const szName = std::getenv(szVariable); szName && *szName)
            return szName;
    return "";
}

bool Join(char (&szOut)[kLNameSize], char const* szFolder, char const* szName, char const* szExtension) noexcept {
    return LFile::_MakeFilePath(szOut, szFolder, szName, szExtension) < static_cast<int>(kLNameSize);
}

} // namespace

// A folder that can't be made now, as where a home is not mounted yet, may be there when the file is wanted. A name
// that was cut is somebody else's file: none at all then.
LHangDetector::LHangDetector() noexcept {
    char szFolder[kLNameSize], szName[kLNameSize];
    LFixedWriter oName(szName);
    oName.Add("_LumoraVADPlugin_rl_").Add(UserName());
    LFile::GetTempFolder(szFolder);
    if (!szFolder[0] || oName.WasCut() || !Join(szPath, szFolder, szName, ""))
        szPath[0] = '\0';
}

void LHangDetector::Init() noexcept {
    RunRecord const oRecord = Now();
    hFile.Reset();
    hFile.Reset(open(szPath, O_RDWR | O_CREAT | O_EXCL | O_TRUNC | O_EXLOCK | O_NONBLOCK, 0666));
    if (!hFile.IsOpen()) {
        if (errno == EEXIST)
            ForgetEarlierRun();
        return;
    }
    fcntl(hFile.Get(), F_SETFD, FD_CLOEXEC);
    // Where the disk is full, the file and its lock still tell.
    [[maybe_unused]] ssize_t const nWritten = write(hFile.Get(), &oRecord, sizeof oRecord);
}

void LHangDetector::ForgetEarlierRun() noexcept {
    LFileDescriptor oEarlier(open(szPath, O_RDONLY | O_SHLOCK | O_NONBLOCK));
    if (!oEarlier.IsOpen())
        return;
    fcntl(oEarlier.Get(), F_SETFD, FD_CLOEXEC);
    RunRecord oRecord; // when that run began; nobody asks yet
    [[maybe_unused]] ssize_t const nRead = read(oEarlier.Get(), &oRecord, sizeof oRecord);
    oEarlier.Reset();
    unlink(szPath);
}

void LHangDetector::Release() noexcept {
    hFile.Reset();
    if (szPath[0])
        unlink(szPath);
}

void LDebugHangDetectorInit(NSView*) noexcept {
    if (*gLHangDetector)
        (*gLHangDetector)->Init();
}

void LDebugHangDetectorDestroy() noexcept {
    if (!*gLHangDetector)
        return;
    (*gLHangDetector)->Release();
    char szFolder[kLNameSize], szMarker[kLNameSize];
    if (!LFile::FindUserDataFolder(szFolder))
        return;
    for (char const* const szName : {"LumoraVADPlugin_IP_Unreleased", "LumoraVADPlugin_HM_Unreleased"})
        if (Join(szMarker, szFolder, szName, ".dmp"))
            unlink(szMarker);
}
