#include "runtime/sync/lock_file.h"

#include "base/fixed_text.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kMaxAttempts = 100; // to get a file that lasts; who keeps deleting it is a holder

// The length of the path without its extension. A "." that begins the path begins no extension.
std::size_t LengthWithoutExtension(char const* szPath) noexcept {
    std::size_t const nLength = std::strlen(szPath);
    for (std::size_t n = nLength; n-- > 1 && szPath[n] != '/' && szPath[n] != '\\';)
        if (szPath[n] == '.')
            return n;
    return nLength;
}

} // namespace

bool LLockFile::Lock(char const* szPath) noexcept {
    Release();
    LFixedWriter oPath(szLockPath);
    if (oPath.Add(szPath, LengthWithoutExtension(szPath)).Add(".lck").WasCut())
        return true; // a shorter path would be another file's
    for (int n = 0; n < kMaxAttempts; ++n) {
        // Closed on exec: a program that we start would hold the lock after us.
        fd.Reset(open(szLockPath, O_RDWR | O_CREAT | O_TRUNC | O_EXLOCK | O_NONBLOCK | O_CLOEXEC, 0777));
        if (!fd.IsOpen())
            return errno != EWOULDBLOCK;
        if (IsStillMine()) {
            nHolder = getpid();
            return true;
        }
        // Its last holder deleted it between our open and our lock: nobody would meet us there.
    }
    fd.Reset();
    return false;
}

void LLockFile::Release() noexcept {
    if (!fd.IsOpen())
        return;
    // Deleted while the lock is held: once it is free, the file may be the next holder's.
    if (nHolder == getpid() && IsStillMine())
        unlink(szLockPath);
    fd.Reset();
}

bool LLockFile::IsStillMine() const noexcept {
    struct stat oHeld, oNamed;
    return fstat(fd.Get(), &oHeld) == 0 && stat(szLockPath, &oNamed) == 0 && oHeld.st_dev == oNamed.st_dev &&
           oHeld.st_ino == oNamed.st_ino;
}
