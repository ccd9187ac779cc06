#include "runtime/sync/timed_file_lock.h"

#include "runtime/sync/deadline.h"

#include <cerrno>
#include <cstdint>
#include <sys/file.h>

namespace {

int LockForever(int fd, int nOperation) noexcept {
    int nResult;
    do
        nResult = flock(fd, nOperation & ~LOCK_NB);
    while (nResult != 0 && errno == EINTR);
    return nResult;
}

} // namespace

int flocktimed(int fd, int nOperation, unsigned int nTimeout) noexcept {
    if (nTimeout == kLNoTimeout)
        return LockForever(fd, nOperation);
    std::uint64_t nDelay = nTimeout / 32 + 1; // 64 bits: doubling must not come round to a short pause
    while (flock(fd, nOperation) != 0) {
        if (errno != EWOULDBLOCK)
            return -1;
        LSleep(static_cast<unsigned int>(nDelay));
        nDelay *= 2;
        if (nDelay >= nTimeout)
            return -1;
    }
    return 0;
}
