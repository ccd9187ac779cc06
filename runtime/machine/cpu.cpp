#include "runtime/machine/cpu.h"

#include "base/fixed_text.h"
#include "base/utf.h"

#include <sys/sysctl.h>

#include <cerrno>

void LMachineGetCPUDescription(char* szOut) noexcept {
    szOut[0] = '\0';
    char szName[kLNameSize];
    std::size_t nSize = sizeof szName;
    // One that is too long comes as far as there was room.
    if (sysctlbyname("machdep.cpu.brand_string", szName, &nSize, nullptr, 0) == 0 || errno == ENOMEM)
        LCopyUTF8(szOut, kLNameSize, {szName, strnlen(szName, nSize)});
}
