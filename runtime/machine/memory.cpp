#include "runtime/machine/memory.h"

#include <mach/mach.h>
#include <sys/resource.h>
#include <sys/sysctl.h>

#include <algorithm>
#include <optional>

namespace {

// 0 when it can't be had: then nothing is subtracted.
std::int64_t VirtualSize() noexcept {
    task_basic_info_64_data_t oInfo;
    mach_msg_type_number_t nCount = TASK_BASIC_INFO_64_COUNT;
    bool const bKnown =
        task_info(mach_task_self(), TASK_BASIC_INFO_64, reinterpret_cast<task_info_t>(&oInfo), &nCount) == KERN_SUCCESS;
    return bKnown ? static_cast<std::int64_t>(oInfo.virtual_size) : 0;
}

// What a limit leaves, which may be negative; nothing when the limit can't be had. Without a limit it is a number
// beyond every machine's memory.
template <class Resource>
std::optional<std::int64_t> Left(Resource oResource) noexcept {
    rlimit oLimit;
    if (getrlimit(oResource, &oLimit) != 0)
        return std::nullopt;
    return static_cast<std::int64_t>(oLimit.rlim_cur) - VirtualSize();
}

// The size in bytes of the pages that `oCount` picks from the host's figures; 0 when they can't be had.
template <class Count>
std::uint64_t HostPages(Count const& oCount) noexcept {
    vm_statistics_data_t oFigures;
    mach_msg_type_number_t nCount = HOST_VM_INFO_COUNT;
    vm_size_t nPageSize = 0;
    mach_port_t const nHost = mach_host_self();
    if (host_statistics(nHost, HOST_VM_INFO, reinterpret_cast<host_info_t>(&oFigures), &nCount) != KERN_SUCCESS ||
        host_page_size(nHost, &nPageSize) != KERN_SUCCESS)
        return 0;
    return oCount(oFigures) * nPageSize;
}

} // namespace

std::uint64_t LMemoryGetFreeHeapSize() noexcept {
    auto const nLeft = Left(RLIMIT_DATA);
    if (!nLeft)
        return ~std::uint64_t(0);
    return static_cast<std::uint64_t>(
        std::min(*nLeft, static_cast<std::int64_t>(LMemoryGetAvailableVirtualMemorySize())));
}

std::uint64_t LMemoryGetAvailableVirtualMemorySize() noexcept {
    // The address space alone would be a number far beyond what can be filled, the memory alone would hide a limit.
    auto const nMemory = static_cast<std::int64_t>(HostPages([](vm_statistics_data_t const& oFigures) {
        return std::uint64_t(oFigures.free_count) + oFigures.inactive_count + oFigures.purgeable_count;
    }));
    auto const nLeft = Left(RLIMIT_AS).value_or(nMemory);
    return static_cast<std::uint64_t>(std::clamp(nLeft, std::int64_t(0), nMemory));
}

std::uint64_t LMemoryGetLargestFreeRegionSize() noexcept {
    return HostPages([](vm_statistics_data_t const& oFigures) { return std::uint64_t(oFigures.free_count); });
}

std::uint64_t LMemoryGetPhysicalMemorySize() noexcept {
    int lName[] = {CTL_HW, HW_MEMSIZE};
    std::uint64_t nBytes = 0;
    std::size_t nSize = sizeof nBytes;
    return sysctl(lName, 2, &nBytes, &nSize, nullptr, 0) == 0 ? nBytes : 0;
}
