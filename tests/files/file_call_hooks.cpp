#include "tests/files/file_call_hooks.h"

#include <sys/syscall.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

FileCallHooks& FileCallHooks::Hooks() {
    static FileCallHooks oHooks;
    return oHooks;
}

namespace {

// The count to move, or -1 with errno set.
ssize_t Allowed(size_t nBytes) {
    ssize_t const nAllowed =
        FileCallHooks::Hooks().Transfer ? FileCallHooks::Hooks().Transfer(nBytes) : static_cast<ssize_t>(nBytes);
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
    if (!FileCallHooks::Hooks().Sleep)
        return static_cast<int>(syscall(SYS_nanosleep, pPause, pRest));
    FileCallHooks::Hooks().Sleep(pPause->tv_sec * 1000 + pPause->tv_nsec / 1'000'000);
    return 0;
}

int unlinkat(int hFolder, char const* szPath, int nFlags) noexcept {
    int const nResult =
        nFlags & AT_REMOVEDIR && FileCallHooks::Hooks().RemoveFolder ? FileCallHooks::Hooks().RemoveFolder() : 0;
    if (nResult == 0)
        return static_cast<int>(syscall(SYS_unlinkat, hFolder, szPath, nFlags));
    errno = -nResult;
    return -1;
}

int rmdir(char const* szPath) noexcept {
    return unlinkat(AT_FDCWD, szPath, AT_REMOVEDIR);
}

time_t time(time_t* pNow) noexcept {
    timespec oNow;
    clock_gettime(CLOCK_REALTIME, &oNow);
    time_t const nNow = FileCallHooks::Hooks().Now ? FileCallHooks::Hooks().Now() : oNow.tv_sec;
    if (pNow)
        *pNow = nNow;
    return nNow;
}

} // extern "C"
