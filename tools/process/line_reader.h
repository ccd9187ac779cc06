// Lines out of a descriptor, as they come.
#pragma once

#include <optional>
#include <string>

// One thread at a time.
class LineReader {
public:
    explicit LineReader(int nFromDescriptor) : nDescriptor(nFromDescriptor) {} // the descriptor stays the caller's

    // Reads what is there, once; to be called when poll says that there is something. False at the end of the input.
    bool Fill();
    // The next whole line without its end; after the end of the input, a last line without one too.
    std::optional<std::string> Next();
    bool AtEnd() const noexcept { return bEnd; }

private:
    static constexpr size_t kLongestLine = 64 * 1024; // what is longer is cut into lines of that length

    int nDescriptor;
    std::string szPending;
    bool bEnd = false;
};
