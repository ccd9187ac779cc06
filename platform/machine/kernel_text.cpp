#include "platform/machine/kernel_text.h"

#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::string_view kAround = " \t:";

std::string_view Trim(std::string_view szText) noexcept {
    auto const nFirst = szText.find_first_not_of(kAround);
    return nFirst == szText.npos ? "" : szText.substr(nFirst, szText.find_last_not_of(kAround) + 1 - nFirst);
}

} // namespace

KernelText::KernelText(char const* szPath) noexcept {
    int const hFile = open(szPath, O_RDONLY | O_CLOEXEC);
    if (hFile < 0)
        return;
    for (ssize_t nRead = 1; nRead != 0 && nBytes < lBytes.size();) {
        nRead = read(hFile, lBytes.data() + nBytes, lBytes.size() - nBytes);
        if (nRead < 0 && errno != EINTR)
            break;
        nBytes += nRead > 0 ? static_cast<std::size_t>(nRead) : 0;
    }
    close(hFile);
}

std::string_view KernelText::Line(std::string_view szKey) const noexcept {
    for (std::string_view szRest = View(); !szRest.empty();) {
        auto const szLine = szRest.substr(0, szRest.find('\n'));
        szRest.remove_prefix(szLine.size() + (szLine.size() < szRest.size()));
        if (szLine.starts_with(szKey) && szLine.size() > szKey.size() &&
            kAround.find(szLine[szKey.size()]) != kAround.npos)
            return Trim(szLine.substr(szKey.size()));
    }
    return {};
}

std::uint64_t KernelText::Number(std::string_view szKey) const noexcept {
    auto const szValue = Line(szKey);
    std::uint64_t nValue = 0;
    std::from_chars(szValue.data(), szValue.data() + szValue.size(), nValue);
    return nValue;
}
