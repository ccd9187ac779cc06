#include "platform/machine/fake.h"
#include "platform/machine/kernel_text.h"

#include <mach/mach.h>

#include <charconv>
#include <sys/resource.h>
#include <unistd.h>

namespace {

time_value_t TimeOf(timeval const& oTime) noexcept {
    return {static_cast<integer_t>(oTime.tv_sec), static_cast<integer_t>(oTime.tv_usec)};
}

// "12345 678 ...": pages in all, pages resident.
void ReadSizes(task_basic_info_64& oInfo) noexcept {
    KernelText const oText("/proc/self/statm");
    auto const szText = oText.View();
    auto const nPage = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    std::uint64_t nAll = 0;
    std::uint64_t nResident = 0;
    auto const oFirst = std::from_chars(szText.data(), szText.data() + szText.size(), nAll);
    if (oFirst.ec == std::errc() && oFirst.ptr != szText.data() + szText.size())
        std::from_chars(oFirst.ptr + 1, szText.data() + szText.size(), nResident);
    oInfo.virtual_size = nAll * nPage;
    oInfo.resident_size = nResident * nPage;
}

} // namespace

kern_return_t task_info(task_name_t target_task, task_flavor_t flavor, task_info_t task_info_out,
                        mach_msg_type_number_t* task_info_outCnt) {
    if (target_task != mach_task_self() || flavor != TASK_BASIC_INFO_64 ||
        *task_info_outCnt < TASK_BASIC_INFO_64_COUNT ||
        WithFakeMachine([](PlatformMachine const& oFake) { return oFake.bTaskInfoFails; }))
        return KERN_INVALID_ARGUMENT;
    auto& oInfo = *reinterpret_cast<task_basic_info_64_t>(task_info_out);
    oInfo = {};
    oInfo.policy = POLICY_TIMESHARE;
    ReadSizes(oInfo);
    if (auto const nFake = WithFakeMachine([](PlatformMachine const& oFake) { return oFake.nVirtualSize; }))
        oInfo.virtual_size = *nFake;
    rusage oUsage;
    if (getrusage(RUSAGE_SELF, &oUsage) == 0) {
        oInfo.user_time = TimeOf(oUsage.ru_utime);
        oInfo.system_time = TimeOf(oUsage.ru_stime);
    }
    *task_info_outCnt = TASK_BASIC_INFO_64_COUNT;
    return KERN_SUCCESS;
}
