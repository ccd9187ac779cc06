#include "tests/files/system_calls.h"

#include <sys/syscall.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

SystemCalls& SystemCalls::Hooks() {
    static SystemCalls oHooks;
    return oHooks;
}

namespace {

// The count to move, or -1 with errno set.
ssize_t Allowed(size_t nBytes) {
    ssize_t const nAllowed =
        SystemCalls::Hooks().Transfer ? SystemCalls::Hooks().Transfer(nBytes) : static_cast<ssize_t>(nBytes);
    if (nAllowed >= 0)
        return nAllowed;
    errno = static_cast<int>(-nAllowed);
    return -1;
}

} // namespace

extern "C" {

ssize_t read(int hFile, void* pTo, size_t nBytes) {
    ssize_t const nAllowed = Allowed(nBytes);
    return nAllowed < 0 ? -1 : syscall(SYS_read, hFile, pTo, nAllowed);
}

ssize_t write(int hFile, void const* pFrom, size_t nBytes) {
    ssize_t const nAllowed = Allowed(nBytes);
    return nAllowed < 0 ? -1 : syscall(SYS_write, hFile, pFrom, nAllowed);
}

int nanosleep(timespec const* pPause, timespec* pRest) {
    if (!SystemCalls::Hooks().Sleep)
        return static_cast<int>(syscall(SYS_nanosleep, pPause, pRest));
    SystemCalls::Hooks().Sleep(pPause->tv_sec * 1000 + pPause->tv_nsec / 1'000'000);
    return 0;
}

int unlinkat(int hFolder, char const* szPath, int nFlags) noexcept {
    int const nResult =
        nFlags & AT_REMOVEDIR && SystemCalls::Hooks().RemoveFolder ? SystemCalls::Hooks().RemoveFolder() : 0;
    if (nResult == 0)
        return static_cast<int>(syscall(SYS_unlinkat, hFolder, szPath, nFlags));
    errno = -nResult;
    return -1;
}

int rmdir(char const* szPath) noexcept {
    return unlinkat(AT_FDCWD, szPath, AT_REMOVEDIR);
}

} // extern "C"
