#include "platform/machine/fake.h"
#include "platform/machine/kernel_text.h"

#include <mach/mach.h>

#include <algorithm>
#include <limits>
#include <unistd.h>

namespace {

constexpr mach_port_t kHostPort = 0x503;

natural_t Cut(std::uint64_t nCount) noexcept {
    return static_cast<natural_t>(std::min<std::uint64_t>(nCount, std::numeric_limits<natural_t>::max()));
}

bool ReadStatistics(vm_statistics& oFigures) noexcept {
    KernelText const oMemory("/proc/meminfo"); // in KiB
    KernelText const oEvents("/proc/vmstat");
    auto const nPageKiB = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) / 1024;
    auto const Pages = [&](char const* szKey) { return oMemory.Number(szKey) / nPageKiB; };
    oFigures = {};
    oFigures.free_count = Cut(Pages("MemFree"));
    oFigures.active_count = Cut(Pages("Active"));
    oFigures.inactive_count = Cut(Pages("Inactive"));
    oFigures.wire_count = Cut(Pages("Unevictable") + Pages("SUnreclaim") + Pages("KernelStack") + Pages("PageTables"));
    oFigures.purgeable_count = Cut(Pages("SReclaimable"));
    oFigures.pageins = Cut(oEvents.Number("pswpin"));
    oFigures.pageouts = Cut(oEvents.Number("pswpout"));
    oFigures.faults = Cut(oEvents.Number("pgfault"));
    return !oMemory.View().empty();
}

} // namespace

mach_port_t mach_host_self(void) {
    return kHostPort;
}

kern_return_t host_statistics(host_priv_t host_priv, host_flavor_t flavor, host_info_t host_info_out,
                              mach_msg_type_number_t* host_info_outCnt) {
    if (host_priv != kHostPort || flavor != HOST_VM_INFO)
        return KERN_INVALID_ARGUMENT;
    if (*host_info_outCnt < HOST_VM_INFO_COUNT)
        return KERN_FAILURE;
    auto& oFigures = *reinterpret_cast<vm_statistics_t>(host_info_out);
    if (!ReadStatistics(oFigures))
        return KERN_FAILURE;
    *host_info_outCnt = HOST_VM_INFO_COUNT;
    return WithFakeMachine([&](PlatformMachine const& oFake) {
        oFigures.free_count = oFake.nFreePages.value_or(oFigures.free_count);
        oFigures.inactive_count = oFake.nInactivePages.value_or(oFigures.inactive_count);
        oFigures.purgeable_count = oFake.nPurgeablePages.value_or(oFigures.purgeable_count);
        return oFake.bHostStatisticsFails ? KERN_FAILURE : KERN_SUCCESS;
    });
}

kern_return_t host_page_size(host_t host, vm_size_t* out_page_size) {
    if (host != kHostPort || !out_page_size ||
        WithFakeMachine([](PlatformMachine const& oFake) { return oFake.bHostPageSizeFails; }))
        return KERN_INVALID_ARGUMENT;
    *out_page_size = static_cast<vm_size_t>(sysconf(_SC_PAGESIZE));
    return KERN_SUCCESS;
}
