#include <fcntl.h>

#include <cerrno>
#include <cstdarg>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// What O_TRUNC would have done before the lock was there. Files without a length ignore it, as in the kernel's open.
bool Truncate(int fd) {
    struct stat status;
    return fstat(fd, &status) == 0 && (!S_ISREG(status.st_mode) || ftruncate(fd, 0) == 0);
}

bool LockAndTruncate(int fd, int flags) {
    int const operation = ((flags & O_EXLOCK) ? LOCK_EX : LOCK_SH) | ((flags & O_NONBLOCK) ? LOCK_NB : 0);
    return flock(fd, operation) == 0 && (!(flags & O_TRUNC) || Truncate(fd));
}

int OpenLocked(char const* path, int flags, mode_t mode) {
    int const fd = openat(AT_FDCWD, path, flags & ~(O_EXLOCK | O_SHLOCK | O_TRUNC), mode);
    if (fd < 0 || LockAndTruncate(fd, flags))
        return fd;
    int const error = errno;
    close(fd);
    errno = error;
    return -1;
}

} // namespace

extern "C" int open(char const* path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    if (flags & (O_EXLOCK | O_SHLOCK))
        return OpenLocked(path, flags, mode);
    return openat(AT_FDCWD, path, flags, mode); // not through the name above, which is this function
}
