// The kernel's small text files of figures. Any thread; nothing allocates.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The start of such a file, empty when it can't be read.
class KernelText {
public:
    explicit KernelText(char const* szPath) noexcept;

    std::string_view View() const noexcept { return {lBytes.data(), nBytes}; }
    // The rest of the line that begins with the key, without the blanks and colons around the value; empty without one.
    std::string_view Line(std::string_view szKey) const noexcept;
    // The number that such a line begins with; 0 without one.
    std::uint64_t Number(std::string_view szKey) const noexcept;

private:
    std::array<char, 16384> lBytes;
    std::size_t nBytes = 0;
};
