// The owner of one file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

// Closes its descriptor when it is destroyed or given another; moves, never copies. One thread at a time.
class LFileDescriptor {
public:
    constexpr LFileDescriptor() noexcept = default;
    constexpr explicit LFileDescriptor(int nDescriptor) noexcept : hFile(nDescriptor) {}
    LFileDescriptor(LFileDescriptor&& oOther) noexcept : hFile(oOther.Release()) {}
    LFileDescriptor& operator=(LFileDescriptor&& oOther) noexcept {
        Reset(oOther.Release());
        return *this;
    }
    ~LFileDescriptor() { Reset(); }

    bool IsOpen() const noexcept { return hFile >= 0; }
    int Get() const noexcept { return hFile; } // -1 when there is none

    // Gives the descriptor away; the caller closes it.
    [[nodiscard]] int Release() noexcept { return std::exchange(hFile, -1); }

    // Closes the descriptor and owns the given one instead. errno is kept.
    void Reset(int nDescriptor = -1) noexcept;

private:
    int hFile = -1;
};
