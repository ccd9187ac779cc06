#include "files/locked_file.h"

#include "runtime/sync/timed_file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

namespace {
constexpr std::size_t kMostAtOnce = 1 << 30; // a call with more than INT_MAX bytes is refused by some systems
}

LFileDescriptor LOpenLocked(char const* szPath, int nFlags, int nLock, unsigned int nTimeout) noexcept {
    LFileDescriptor oFile(open(szPath, nFlags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666));
    if (oFile.IsOpen() && nLock != 0 && flocktimed(oFile.Get(), nLock | LOCK_NB, nTimeout) != 0)
        oFile.Reset();
    return oFile;
}

long long LSizeOfFile(int hFile) noexcept {
    struct stat oStatus;
    return fstat(hFile, &oStatus) == 0 && S_ISREG(oStatus.st_mode) ? oStatus.st_size : -1;
}

std::ptrdiff_t LReadWhole(int hFile, void* pTo, std::size_t nSize) noexcept {
    std::size_t nDone = 0;
    while (nDone < nSize) {
        ssize_t const nRead = read(hFile, static_cast<char*>(pTo) + nDone, std::min(nSize - nDone, kMostAtOnce));
        if (nRead < 0 && errno == EINTR)
            continue;
        if (nRead < 0)
            return -1;
        if (nRead == 0)
            break;
        nDone += static_cast<std::size_t>(nRead);
    }
    return static_cast<std::ptrdiff_t>(nDone);
}

bool LWriteWhole(int hFile, void const* pFrom, std::size_t nSize) noexcept {
    std::size_t nDone = 0;
    while (nDone < nSize) {
        ssize_t const nWritten =
            write(hFile, static_cast<char const*>(pFrom) + nDone, std::min(nSize - nDone, kMostAtOnce));
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten <= 0)
            return false;
        nDone += static_cast<std::size_t>(nWritten);
    }
    return true;
}
