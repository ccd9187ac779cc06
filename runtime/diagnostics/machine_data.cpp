#include "runtime/diagnostics/machine_data.h"

#include "runtime/machine/cpu.h"
#include "runtime/machine/gpu.h"
#include "runtime/machine/memory.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace {

bool IsPlain(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           (c != '\0' && std::strchr("!-._~", c));
}

void AddEncoded(LFixedWriter& oOut, char const* szText) noexcept {
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (; *szText; ++szText)
        if (auto const n = static_cast<unsigned char>(*szText); IsPlain(*szText))
            oOut.Add(*szText);
        else
            oOut.Add('%').Add(kDigits[n >> 4]).Add(kDigits[n & 15]);
}

} // namespace

void LDebugGetMachineDataForBugReport(LFixedWriter& oOut) noexcept {
    char szProcessor[kLNameSize];
    LMachineGetCPUDescription(szProcessor);
    long const nProcessors = std::max(sysconf(_SC_NPROCESSORS_CONF), 0L); // -1: not known
    oOut.Add("&memphys=").AddNumber(LMemoryGetPhysicalMemorySize() >> 20);
    oOut.Add("&cpu=").Add(szProcessor).Add(" (").AddSigned(nProcessors).Add(" CPUs)&disp=");
    LStringListTemplate<char> lModels;
    LMachineGetGPUDescriptions(lModels);
    std::uint64_t nModel = 0;
    lModels.ForEach(
        [&](LStringLong const& szModel) { oOut.Add("GPU").AddNumber(nModel++).Add(':').Add(szModel.GetString()); });
}

void LDebugGetMachineDataForCrashReport(LFixedWriter& oOut, int nFreeHeapMiB, int nFreeMemoryMiB) noexcept {
    oOut.Add("memfrhp=").AddSigned(nFreeHeapMiB).Add("&memfrlg=").AddSigned(nFreeMemoryMiB).Add('&');
    LDebugGetMachineDataForBugReport(oOut);
}

void LDebugGetMachineDataForBugReport(char* szOut) noexcept {
    char szData[kLMachineDataSize];
    LFixedWriter oData(szData);
    LDebugGetMachineDataForBugReport(oData);
    LFixedWriter oOut(szOut, kLMachineDataSize);
    AddEncoded(oOut, szData);
}

void LDebugGetMachineDataForCrashReport(char* szOut, int nFreeHeapMiB, int nFreeMemoryMiB) noexcept {
    char szData[kLMachineDataSize];
    LFixedWriter oData(szData);
    LDebugGetMachineDataForCrashReport(oData, nFreeHeapMiB, nFreeMemoryMiB);
    LFixedWriter oOut(szOut, kLMachineDataSize);
    AddEncoded(oOut, szData);
}
