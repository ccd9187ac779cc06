// The costs of describing a failure: its identification, and the search for the newest report among many.
#include "bench/measure.h"
#include "platform/testing/user_home.h"
#include "runtime/diagnostics/crash_report.h"
#include "runtime/diagnostics/debug_thread.h"
#include "runtime/diagnostics/xi_string.h"
#include "tests/harness/temporary_folder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

namespace {

double TimeMs(auto const& oWork) {
    uint64_t const nBefore = NowNs();
    oWork();
    return static_cast<double>(NowNs() - nBefore) / 1e6;
}

Row XIString(int nRounds) {
    constexpr int kTimes = 10'000;
    LDebugThreadDataStartThread("Main");
    double fBest = 1e9;
    for (int n = 0; n < nRounds; ++n)
        fBest = std::min(fBest, TimeMs([] {
                             for (int m = 0; m < kTimes; ++m) {
                                 char szText[260];
                                 LDebugGenerateXIString(szText, "Prefix", "SIGNAL11");
                             }
                         }));
    LDebugThreadDataStopThread();
    return {"XI string", fBest * 1e3 / kTimes, 0, "µs", 5};
}

// A report of 50 KB as the system writes them: what is looked for at its head, threads and images below.
std::string Report(int nNumber, std::string const& szPath) {
    char szHead[512];
    std::snprintf(szHead, sizeof szHead,
                  "Process:               LumoraVADPlugin [%d]\nPath:                  %s\n"
                  "Identifier:            LumoraVADPlugin\nVersion:               1.0 (1.0)\n"
                  "Date/Time:             2020-01-%02d %02d:%02d:00.000 +0100\n",
                  nNumber, szPath.c_str(), 1 + nNumber / 60, nNumber % 24, nNumber % 60);
    std::string szText = szHead;
    while (szText.size() < 50'000)
        szText += "12  libsystem_pthread.dylib         0x00007fff6c3f8109 _pthread_start + 148\n";
    return szText;
}

// Every file is read to its end when no file's path is this program's.
Row Search(fs::path const& oFolder, bool bOurs, int nRounds) {
    fs::path const oReports = oFolder / "Library/Logs/DiagnosticReports";
    fs::create_directories(oReports);
    std::string const szPath = bOurs ? fs::read_symlink("/proc/self/exe").string() : "/elsewhere/program";
    for (int n = 0; n < 1000; ++n)
        std::ofstream(oReports / ("LumoraVADPlugin_" + std::to_string(n) + ".crash")) << Report(n, szPath);
    PlatformSetUserHome(oFolder);
    // All five keys have to be there, which is five runs or one that counts; one that stops at the first is the
    // quicker.
    std::string const szGrep = std::string("grep ") + (bOurs ? "-l" : "-c") +
                               " -e Process: -e Path: -e Identifier: -e Version: -e Date/Time: " + oReports.string() +
                               "/LumoraVADPlugin* >/dev/null";
    double fOurs = 1e9, fTheirs = 1e9;
    for (int n = 0; n < nRounds; ++n) {
        char szFound[260];
        bool bFound = false;
        fOurs = std::min(fOurs, TimeMs([&] { bFound = LMacGetLatestCrashReport(szFound); }));
        if (bFound != bOurs)
            std::abort();
        fTheirs = std::min(fTheirs, TimeMs([&] {
                               if (std::system(szGrep.c_str()) != 0)
                                   std::abort();
                           }));
    }
    return {bOurs ? "newest of 1,000 crash reports of 50 KB; beside `grep -l` for the five keys"
                  : "the same with reports of another program, each read to its end; beside `grep -c`",
            fOurs, fTheirs, "ms", 1.5};
}

} // namespace

int main(int nArguments, char** ppArguments) {
    bool const bQuick = IsQuickRun(nArguments, ppArguments);
    TemporaryFolder const oFolder;
    int const nRounds = bQuick ? 3 : 20;
    std::vector<Row> const lRows{XIString(nRounds), Search(oFolder.Path(), true, nRounds),
                                 Search(oFolder.Path(), false, nRounds)};
    return PrintRows(lRows) ? 0 : 1;
}
