// A descriptor that closes itself and keeps errno.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

class Descriptor {
public:
    explicit Descriptor(int nDescriptor = -1) : hFile(nDescriptor) {}
    Descriptor(Descriptor&& oOther) noexcept : hFile(std::exchange(oOther.hFile, -1)) {}
    ~Descriptor() {
        int const nError = errno;
        if (hFile >= 0)
            close(hFile);
        errno = nError;
    }
    bool IsOpen() const { return hFile >= 0; }
    int Get() const { return hFile; }

private:
    int hFile;
};
