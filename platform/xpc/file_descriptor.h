// A descriptor with an owner.
#pragma once

#include "platform/testing/system_calls.h"

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace platform {

// Closes on destruction and on replacement, moves, never copies. Not for two threads at once.
class FileDescriptor {
public:
    explicit FileDescriptor(int nDescriptorToOwn = -1) noexcept : nDescriptor(nDescriptorToOwn) {}
    FileDescriptor(FileDescriptor&& oOther) noexcept : nDescriptor(std::exchange(oOther.nDescriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& oOther) noexcept {
        if (this != &oOther)
            Reset(std::exchange(oOther.nDescriptor, -1));
        return *this;
    }
    ~FileDescriptor() { Reset(); }

    int Get() const noexcept { return nDescriptor; }
    explicit operator bool() const noexcept { return nDescriptor >= 0; }
    void Reset(int nOther = -1) noexcept {
        if (int const nOld = std::exchange(nDescriptor, nOther); nOld >= 0)
            ::close(nOld); // not repeated when interrupted: the kernel has closed it by then
    }

    // A close-on-exec descriptor of the same file; none when that fails.
    static FileDescriptor Duplicate(int nDescriptor) noexcept {
        return FileDescriptor(nDescriptor < 0 ? -1 : gSystemCalls.duplicate.load()(nDescriptor));
    }

private:
    int nDescriptor;
};

// Repeats a system call that a signal interrupted.
template <class Call>
auto Uninterrupted(Call&& oCall) noexcept {
    auto nResult = oCall();
    while (nResult < 0 && errno == EINTR)
        nResult = oCall();
    return nResult;
}

} // namespace platform
