#include "runtime/machine/os_version.h"

#include <sys/sysctl.h>

#include <array>
#include <charconv>

bool LGetOSVersion(int* pMajor, int* pMinor, int* pBugFix) noexcept {
    std::array<int, 3> lParts{};
    char szVersion[64];
    std::size_t nSize = sizeof szVersion;
    bool const bKnown = sysctlbyname("kern.osproductversion", szVersion, &nSize, nullptr, 0) == 0;
    char const* const pEnd = szVersion + (bKnown ? nSize : 0);
    char const* pAt = szVersion;
    for (int& nPart : lParts) {
        auto const oRead = std::from_chars(pAt, pEnd, nPart);
        if (oRead.ec != std::errc() || oRead.ptr == pEnd || *oRead.ptr != '.')
            break;
        pAt = oRead.ptr + 1;
    }
    int* const lOut[] = {pMajor, pMinor, pBugFix};
    for (std::size_t n = 0; n < lParts.size(); ++n)
        if (lOut[n])
            *lOut[n] = lParts[n];
    return bKnown;
}
