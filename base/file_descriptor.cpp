#include "base/file_descriptor.h"

#include <cerrno>

void LFileDescriptor::Reset(int nDescriptor) noexcept {
    int const nClosing = std::exchange(hFile, nDescriptor);
    if (nClosing < 0)
        return;
    int const nError = errno;
    close(nClosing); // never repeated when interrupted: the number may be another file's by then
    errno = nError;
}
