#include "tools/process/line_reader.h"

#include <cerrno>

#include <unistd.h>

bool LineReader::Fill() {
    char arBytes[4096];
    ssize_t const n = read(nDescriptor, arBytes, sizeof arBytes);
    if (n > 0)
        szPending.append(arBytes, static_cast<size_t>(n));
    else if (n == 0 || (errno != EINTR && errno != EAGAIN))
        bEnd = true;
    return !bEnd;
}

std::optional<std::string> LineReader::Next() {
    size_t nEnd = szPending.find('\n');
    size_t nSkip = 1;
    if (nEnd == std::string::npos) {
        if (szPending.empty() || (!bEnd && szPending.size() < kLongestLine))
            return std::nullopt;
        nEnd = szPending.size();
        nSkip = 0;
    }
    std::string szLine = szPending.substr(0, nEnd);
    szPending.erase(0, nEnd + nSkip);
    return szLine;
}
