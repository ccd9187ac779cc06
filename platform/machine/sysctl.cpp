#include <sys/sysctl.h>

#include "platform/machine/fake.h"
#include "platform/machine/kernel_text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/sysinfo.h>
#include <sys/utsname.h>

namespace {

std::string WithEnd(std::string_view szText) {
    return std::string(szText) + '\0';
}

std::optional<std::string> MemorySize() {
    struct sysinfo oInfo;
    if (sysinfo(&oInfo) != 0)
        return std::nullopt;
    std::uint64_t const nBytes = std::uint64_t(oInfo.totalram) * oInfo.mem_unit;
    return std::string(reinterpret_cast<char const*>(&nBytes), sizeof nBytes);
}

std::optional<std::string> ProcessorName() {
    KernelText const oText("/proc/cpuinfo");
    auto const szName = oText.Line("model name");
    return szName.empty() ? std::nullopt : std::optional(WithEnd(szName));
}

std::optional<std::string> Release() {
    utsname oNames;
    return uname(&oNames) == 0 ? std::optional(WithEnd(oNames.release)) : std::nullopt;
}

std::optional<std::string> ProductVersion() {
    utsname oNames;
    if (uname(&oNames) != 0)
        return std::nullopt;
    std::string_view const szRelease(oNames.release);
    return WithEnd(szRelease.substr(0, szRelease.find_first_not_of("0123456789.")));
}

struct Control {
    char const* szName;
    int lNumbers[2]; // {} for one that has a name only
    std::optional<std::string> (*pRead)();
};

constexpr Control kControls[] = {
    {"hw.memsize", {CTL_HW, HW_MEMSIZE}, MemorySize},
    {"kern.osrelease", {CTL_KERN, KERN_OSRELEASE}, Release},
    {"kern.osproductversion", {}, ProductVersion},
    {"machdep.cpu.brand_string", {}, ProcessorName},
};

std::optional<std::string> Read(Control const& oControl) {
    std::optional<std::string> oFaked;
    bool const bIsFaked = WithFakeMachine([&](PlatformMachine const& oFake) {
        auto const it = oFake.lControls.find(oControl.szName);
        if (it == oFake.lControls.end())
            return false;
        oFaked = it->second;
        return true;
    });
    return bIsFaked ? oFaked : oControl.pRead();
}

int Refuse(int nError) noexcept {
    errno = nError;
    return -1;
}

template <class IsWanted>
int Answer(IsWanted const& oIsWanted, void* oldp, size_t* oldlenp, void* newp) {
    auto const pControl = std::find_if(std::begin(kControls), std::end(kControls), oIsWanted);
    if (pControl == std::end(kControls))
        return Refuse(ENOENT);
    if (newp)
        return Refuse(EPERM);
    auto const oValue = Read(*pControl);
    if (!oValue)
        return Refuse(ENOENT);
    size_t const nRoom = oldp && oldlenp ? *oldlenp : 0;
    size_t const nCopied = std::min(nRoom, oValue->size());
    if (nCopied > 0)
        std::memcpy(oldp, oValue->data(), nCopied);
    if (oldlenp)
        *oldlenp = oldp ? nCopied : oValue->size();
    return oldp && nCopied < oValue->size() ? Refuse(ENOMEM) : 0;
}

} // namespace

int sysctl(int* name, u_int namelen, void* oldp, size_t* oldlenp, void* newp, size_t) {
    auto const IsWanted = [&](Control const& oControl) {
        return oControl.lNumbers[0] != 0 && namelen == 2 && std::equal(name, name + 2, oControl.lNumbers);
    };
    return Answer(IsWanted, oldp, oldlenp, newp);
}

int sysctlbyname(char const* name, void* oldp, size_t* oldlenp, void* newp, size_t) {
    auto const IsWanted = [&](Control const& oControl) { return std::strcmp(oControl.szName, name) == 0; };
    return Answer(IsWanted, oldp, oldlenp, newp);
}
