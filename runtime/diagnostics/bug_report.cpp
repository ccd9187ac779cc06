#include "runtime/diagnostics/bug_report.h"

#include "runtime/diagnostics/machine_data.h"
#include "runtime/diagnostics/open_web_page.h"
#include "runtime/machine/memory.h"
#include "runtime/machine/os_version.h"
#include "settings/user_settings.h"

namespace {

constexpr char kPage[] = "https://www.tarnwicksoftware.com/software/bug.html";

// The low 32 bits, so that a heap past its limit stays a negative figure.
int MiB(std::uint64_t nBytes) noexcept {
    return static_cast<int>(nBytes >> 20);
}

} // namespace

void LDebugHangDetectorBugReport(bool, NSView*) noexcept {
    LStringLong szInstallation;
    _LUserSettingGetString("Software", "IID", "", szInstallation);
    char szData[kLMachineDataSize];
    LDebugGetMachineDataForCrashReport(szData, MiB(LMemoryGetFreeHeapSize()), MiB(LMemoryGetLargestFreeRegionSize()));
    int nMajor = 0;
    int nMinor = 0;
    LGetOSVersion(&nMajor, &nMinor, nullptr);
    char szUrl[kLMachineDataSize];
    LFixedWriter oUrl(szUrl);
    oUrl.Add(kPage).Add("?software=LumoraVADPlugin&version=1.0&xi=AbTermOrHang-Mac").AddSigned(nMajor);
    oUrl.AddNumber(static_cast<unsigned>(nMinor), 2).Add("&iid=").Add(szInstallation.GetString());
    oUrl.Add("&data=").Add(szData);
    LOpenWebPage(szUrl);
}
