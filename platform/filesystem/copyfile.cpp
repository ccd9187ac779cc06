#include <copyfile.h>

#include "platform/filesystem/descriptor.h"

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <fcntl.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr off_t kSmall = 128 * 1024; // up to here one read and one write are quicker than asking the kernel to copy
constexpr copyfile_flags_t kKnownFlags = COPYFILE_ALL | COPYFILE_EXCL | COPYFILE_NOFOLLOW;

bool Fail(int nError) {
    errno = nError;
    return false;
}

// ---- Data

bool WriteAll(int hTo, char const* pBytes, size_t nBytes, off_t nAt) {
    while (nBytes != 0) {
        ssize_t const nWritten = pwrite(hTo, pBytes, nBytes, nAt);
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten <= 0)
            return false;
        pBytes += nWritten;
        nAt += nWritten;
        nBytes -= static_cast<size_t>(nWritten);
    }
    return true;
}

// Through this process, until `nEnd` or the file's end.
bool CopyThroughMemory(int hFrom, int hTo, off_t nAt, off_t nEnd) {
    auto const pBuffer = std::make_unique_for_overwrite<char[]>(kSmall);
    while (nAt < nEnd) {
        ssize_t const nRead = pread(hFrom, pBuffer.get(), static_cast<size_t>(std::min(kSmall, nEnd - nAt)), nAt);
        if (nRead < 0 && errno == EINTR)
            continue;
        if (nRead <= 0)
            return nRead == 0; // somebody shortens it meanwhile
        if (!WriteAll(hTo, pBuffer.get(), static_cast<size_t>(nRead), nAt))
            return false;
        nAt += nRead;
    }
    return true;
}

// In the kernel where it can, from `nAt` to `nEnd`.
bool CopyRange(int hFrom, int hTo, off_t nAt, off_t nEnd) {
    while (nAt < nEnd) {
        off_t nIn = nAt, nOut = nAt;
        ssize_t const nCopied = copy_file_range(hFrom, &nIn, hTo, &nOut, static_cast<size_t>(nEnd - nAt), 0);
        if (nCopied < 0 && errno == EINTR)
            continue;
        if (nCopied < 0 && (errno == ENOSPC || errno == EIO || errno == EDQUOT || errno == EFBIG))
            return false;
        if (nCopied <= 0)
            return CopyThroughMemory(hFrom, hTo, nAt, nEnd);
        nAt += nCopied;
    }
    return true;
}

// Only the parts that hold data; the size makes the holes.
bool CopySparse(int hFrom, int hTo, off_t nSize) {
    for (off_t nHole = 0; nHole < nSize;) {
        off_t const nData = lseek(hFrom, nHole, SEEK_DATA);
        if (nData < 0)
            return errno == ENXIO ? ftruncate(hTo, nSize) == 0 : CopyRange(hFrom, hTo, nHole, nSize);
        nHole = lseek(hFrom, nData, SEEK_HOLE);
        if (!CopyRange(hFrom, hTo, nData, nHole < 0 ? nSize : nHole))
            return false;
        if (nHole < 0)
            break;
    }
    return ftruncate(hTo, nSize) == 0;
}

bool CopyData(int hFrom, int hTo, struct stat const& oSource) {
    if (oSource.st_size > kSmall && ioctl(hTo, FICLONE, hFrom) == 0)
        return true;
    if (oSource.st_blocks * 512LL < oSource.st_size)
        return CopySparse(hFrom, hTo, oSource.st_size);
    if (oSource.st_size > kSmall)
        return CopyRange(hFrom, hTo, 0, oSource.st_size);
    return CopyThroughMemory(hFrom, hTo, 0, oSource.st_size);
}

// ---- Attributes

void CopyAttribute(int hFrom, int hTo, char const* szName) {
    char sz[1024];
    std::unique_ptr<char[]> pLarge;
    ssize_t nSize = static_cast<ssize_t>(syscall(SYS_fgetxattr, hFrom, szName, sz, sizeof sz));
    if (nSize < 0 && errno == ERANGE) {
        pLarge = std::make_unique_for_overwrite<char[]>(XATTR_SIZE_MAX);
        nSize = static_cast<ssize_t>(syscall(SYS_fgetxattr, hFrom, szName, pLarge.get(), XATTR_SIZE_MAX));
    }
    if (nSize >= 0)
        syscall(SYS_fsetxattr, hTo, szName, pLarge ? pLarge.get() : sz, nSize, 0);
}

void CopyAttributes(int hFrom, int hTo) {
    auto const List = [hFrom](char* pNames, size_t nSize) {
        return static_cast<ssize_t>(syscall(SYS_flistxattr, hFrom, pNames, nSize));
    };
    char sz[1024];
    std::unique_ptr<char[]> pLarge;
    char* pNames = sz;
    ssize_t nNames = List(sz, sizeof sz);
    if (nNames < 0 && errno == ERANGE) {
        pLarge = std::make_unique_for_overwrite<char[]>(XATTR_LIST_MAX);
        pNames = pLarge.get();
        nNames = List(pNames, XATTR_LIST_MAX);
    }
    for (ssize_t n = 0; n < nNames; n += static_cast<ssize_t>(std::strlen(pNames + n)) + 1)
        CopyAttribute(hFrom, hTo, pNames + n);
}

// Owner, mode, attributes and, last, times.
bool CopyMetadata(int hFrom, int hTo, struct stat const& oSource) {
    struct stat oTarget;
    if (fstat(hTo, &oTarget) != 0)
        return false;
    mode_t nMode = oSource.st_mode & 07777;
    if ((oTarget.st_uid != oSource.st_uid || oTarget.st_gid != oSource.st_gid) &&
        fchown(hTo, oSource.st_uid, oSource.st_gid) != 0)
        nMode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
    CopyAttributes(hFrom, hTo); // before a mode that may forbid it
    timespec const tTimes[] = {oSource.st_atim, oSource.st_mtim};
    return fchmod(hTo, nMode) == 0 && futimens(hTo, tTimes) == 0;
}

// ---- Kinds

bool CopyLink(char const* szFrom, char const* szTo, struct stat const& oSource) {
    char szTarget[PATH_MAX];
    ssize_t const nLength = readlink(szFrom, szTarget, sizeof szTarget - 1);
    if (nLength < 0)
        return false;
    szTarget[nLength] = '\0';
    if (symlink(szTarget, szTo) != 0)
        return false;
    timespec const tTimes[] = {oSource.st_atim, oSource.st_mtim};
    if (lchown(szTo, oSource.st_uid, oSource.st_gid) != 0)
        errno = 0;
    return utimensat(AT_FDCWD, szTo, tTimes, AT_SYMLINK_NOFOLLOW) == 0;
}

bool CopyFolder(char const* szFrom, char const* szTo, struct stat const& oSource, int nFollow) {
    if (mkdir(szTo, (oSource.st_mode & 0777) | S_IRWXU) != 0 && errno != EEXIST)
        return false;
    Descriptor const oFrom(open(szFrom, O_RDONLY | O_DIRECTORY | O_CLOEXEC | nFollow));
    Descriptor const oTo(open(szTo, O_RDONLY | O_DIRECTORY | O_CLOEXEC | nFollow));
    return oFrom.IsOpen() && oTo.IsOpen() && CopyMetadata(oFrom.Get(), oTo.Get(), oSource);
}

bool CopyRegular(char const* szFrom, char const* szTo, copyfile_flags_t nFlags) {
    int const nFollowFrom = nFlags & COPYFILE_NOFOLLOW_SRC ? O_NOFOLLOW : 0;
    int const nFollowTo = nFlags & COPYFILE_NOFOLLOW_DST ? O_NOFOLLOW : 0;
    struct stat oSource;
    Descriptor const oFrom(open(szFrom, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | nFollowFrom));
    if (!oFrom.IsOpen() || fstat(oFrom.Get(), &oSource) != 0)
        return false;
    if (!S_ISREG(oSource.st_mode))
        return Fail(ENOTSUP);
    // Nobody but the owner sees the bytes before the mode is the source's.
    bool const bMake = nFlags & COPYFILE_DATA;
    constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;
    Descriptor oTo(bMake ? open(szTo, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kPrivate) : -1);
    bool const bMade = oTo.IsOpen();
    if (!bMade && ((bMake && errno != EEXIST) || nFlags & COPYFILE_EXCL))
        return false;
    Descriptor const oOld(bMade ? -1
                                : open(szTo, O_WRONLY | O_CLOEXEC | O_NONBLOCK | nFollowTo | (bMake ? O_TRUNC : 0)));
    int const hTo = bMade ? oTo.Get() : oOld.Get();
    if (hTo < 0)
        return false;
    bool const bData = !bMake || CopyData(oFrom.Get(), hTo, oSource);
    if (!bData && bMade) {
        int const nError = errno;
        unlink(szTo);
        errno = nError;
    }
    return bData && (!(nFlags & COPYFILE_METADATA) || CopyMetadata(oFrom.Get(), hTo, oSource));
}

} // namespace

int copyfile(char const* szFrom, char const* szTo, copyfile_state_t pState, copyfile_flags_t nFlags) {
    if (pState || nFlags & ~kKnownFlags) {
        errno = EINVAL;
        return -1;
    }
    struct stat oSource;
    bool const bFollow = !(nFlags & COPYFILE_NOFOLLOW_SRC);
    if ((bFollow ? stat(szFrom, &oSource) : lstat(szFrom, &oSource)) != 0)
        return -1;
    bool bDone = false;
    if (S_ISREG(oSource.st_mode))
        bDone = CopyRegular(szFrom, szTo, nFlags);
    else if (S_ISLNK(oSource.st_mode))
        bDone = CopyLink(szFrom, szTo, oSource);
    else if (S_ISDIR(oSource.st_mode))
        bDone = CopyFolder(szFrom, szTo, oSource, bFollow ? 0 : O_NOFOLLOW);
    else
        Fail(ENOTSUP);
    return bDone ? 0 : -1;
}
