#include "runtime/diagnostics/crash_report.h"

#include "base/cf_ref.h"
#include "base/fixed_text.h"
#include "files/folder_iterator.h"
#include "files/path.h"
#include "files/sandbox_path.h"
#include "runtime/diagnostics/crash_report_text.h"

#include <CoreFoundation/CFBundle.h>

#include <cstdio>

namespace {

constexpr int kMostReports = 1000;

void GetPathOf(LCFOwner<CFURLRef> const& url, char (&szOut)[kLNameSize]) noexcept {
    if (!url || !CFURLGetFileSystemRepresentation(url.Get(), true, reinterpret_cast<UInt8*>(szOut), sizeof szOut))
        szOut[0] = '\0';
}

// The running program, as a report's "Path:" names it.
void GetProgram(LCrashReportProgram& oProgram) noexcept {
    oProgram = {};
    CFBundleRef const bundle = CFBundleGetMainBundle();
    if (!bundle)
        return;
    char szBundle[kLNameSize];
    GetPathOf(LCFOwner<CFURLRef>(CFBundleCopyBundleURL(bundle)), szBundle);
    LFile::_GetFileFromPath(oProgram.szBundleName, szBundle);
    GetPathOf(LCFOwner<CFURLRef>(CFBundleCopyExecutableURL(bundle)), oProgram.szExecutable);
}

// "Name-2020-03-04-123456.ips": the text behind the first "-".
bool ReadDateInName(char const* szName, LCrashReportDate& oDate) noexcept {
    char const* const szDash = std::strchr(szName, '-');
    return szDash && std::sscanf(szDash + 1, "%d-%d-%d-%2d%2d%2d", &oDate[0], &oDate[1], &oDate[2], &oDate[3],
                                 &oDate[4], &oDate[5]) == 6;
}

// Looks at one report; a date that it has is stored whether or not the report is this program's.
bool IsMatch(char const* szName, char const* szPath, LCrashReportProgram const& oProgram,
             std::optional<LCrashReportDate>& oDate) noexcept {
    char szExtension[kLNameSize];
    LFile::_GetFileExtensionFromPath(szExtension, szName);
    if (std::strcmp(szExtension, ".ips") != 0)
        return szPath && LReadCrashReport(szPath, oProgram, oDate);
    LCrashReportDate oInName{};
    if (!ReadDateInName(szName, oInName))
        return false;
    oDate = oInName;
    return szPath;
}

bool GetReportsFolder(char (&szOut)[kLNameSize]) noexcept {
    char szHome[kLNameSize];
    return LFile::GetUserFolderNonSandboxed(szHome) &&
           LFile::_MakeFilePath(szOut, szHome, "Library/Logs/DiagnosticReports", "") < static_cast<int>(kLNameSize);
}

} // namespace

bool LMacGetLatestCrashReport(char* szOutPath) noexcept {
    char szFolder[kLNameSize];
    if (!GetReportsFolder(szFolder))
        return false;
    LCrashReportProgram oProgram;
    GetProgram(oProgram);
    std::optional<LCrashReportDate> oNewest;
    char szNewest[kLNameSize] = ""; // of the first match with the newest date
    LFile::FolderIterator oReports;
    int nReports = 0;
    for (bool bMore = oReports.Start(szFolder, "LumoraVADPlugin*"); bMore && nReports < kMostReports;
         bMore = oReports.Next()) {
        if (oReports.IsFolder())
            continue;
        ++nReports;
        char szPath[kLNameSize];
        bool const bPathFits = oReports.GetPath(szPath);
        std::optional<LCrashReportDate> oDate;
        bool const bMatch = IsMatch(oReports.GetName(), bPathFits ? szPath : nullptr, oProgram, oDate);
        if (oDate && (!oNewest || *oDate > *oNewest)) {
            oNewest = oDate;
            szNewest[0] = '\0';
        }
        if (bMatch && oDate == oNewest && !szNewest[0])
            LCopyFixed(szNewest, szPath);
    }
    if (szNewest[0])
        std::memcpy(szOutPath, szNewest, std::strlen(szNewest) + 1);
    return szNewest[0] != '\0';
}
