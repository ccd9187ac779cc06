#include <sys/stat.h>

#include <linux/fs.h>
#include <sys/ioctl.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace {

int ClearFlags(int hFile) {
    int nFlags = 0;
    constexpr int kLocks = FS_IMMUTABLE_FL | FS_APPEND_FL;
    if (ioctl(hFile, FS_IOC_GETFLAGS, &nFlags) != 0)
        return errno == ENOTTY || errno == EOPNOTSUPP || errno == ENOSYS ? 0 : -1;
    if (!(nFlags & kLocks))
        return 0;
    nFlags &= ~kLocks;
    return ioctl(hFile, FS_IOC_SETFLAGS, &nFlags);
}

int ChangeFlags(char const* szPath, uint32_t nFlags, bool bFollow) {
    if (nFlags != 0) {
        errno = ENOTSUP;
        return -1;
    }
    struct stat oStatus;
    if ((bFollow ? stat(szPath, &oStatus) : lstat(szPath, &oStatus)) != 0)
        return -1;
    if (!S_ISREG(oStatus.st_mode) && !S_ISDIR(oStatus.st_mode))
        return 0; // opening a device or a pipe would do more than ask
    int const hFile = open(szPath, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (bFollow ? 0 : O_NOFOLLOW));
    if (hFile < 0)
        return -1;
    int const nResult = ClearFlags(hFile);
    int const nError = errno;
    close(hFile);
    errno = nError;
    return nResult;
}

} // namespace

int chflags(char const* szPath, uint32_t nFlags) {
    return ChangeFlags(szPath, nFlags, true);
}
int lchflags(char const* szPath, uint32_t nFlags) {
    return ChangeFlags(szPath, nFlags, false);
}
