#include "runtime/diagnostics/crash_report_text.h"

#include "files/locked_file.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr unsigned int kLockTimeout = 1000;
constexpr char kProduct[] = "LumoraVADPlugin";
constexpr char kVersion[] = "1.0";

bool IsBelow33(char c) noexcept {
    return static_cast<unsigned char>(c) < 33;
}

std::string_view FirstWord(std::string_view szText) noexcept {
    return {szText.begin(), std::find_if(szText.begin(), szText.end(), IsBelow33)};
}

class Report {
public:
    explicit Report(LCrashReportProgram const& oRunning) noexcept : oProgram(oRunning) {}

    // A line, without its end. True once nothing is left to be looked for.
    bool Take(std::string_view szLine) noexcept {
        szLine = szLine.substr(0, kLNameSize - 1);
        while (!szLine.empty() && IsBelow33(szLine[0]) && szLine[0] != '\0')
            szLine.remove_prefix(1);
        auto const pCondition = std::find_if(std::begin(kConditions), std::end(kConditions), [&](Condition const& o) {
            return !szLine.empty() && szLine[0] == o.szKey[0] && FirstWord(szLine) == o.szKey; // most lines: no
        });
        if (pCondition == std::end(kConditions))
            return false;
        bool& bMet = lMet[static_cast<std::size_t>(pCondition - kConditions)];
        bMet = bMet || (this->*pCondition->pIsMet)(ValueOf(szLine.substr(pCondition->szKey.size())));
        return AllMet();
    }

    bool AllMet() const noexcept { return std::find(lMet.begin(), lMet.end(), false) == lMet.end(); }
    std::optional<LCrashReportDate> const& Date() const noexcept { return oDate; }

private:
    static std::string_view ValueOf(std::string_view szBehindKey) noexcept {
        szBehindKey.remove_prefix(std::min(szBehindKey.find_first_not_of(" \t"), szBehindKey.size()));
        return szBehindKey.substr(0, szBehindKey.find_first_of(std::string_view("\0\r", 2)));
    }

    bool IsProcess(std::string_view szValue) noexcept { return szValue.find(kProduct) != szValue.npos; }
    bool IsIdentifier(std::string_view szValue) noexcept { return szValue == kProduct; }
    bool IsVersion(std::string_view szValue) noexcept { return FirstWord(szValue) == kVersion; }

    // Wherever the bundle was moved to since: from its name on the path is the same.
    bool IsPath(std::string_view szValue) noexcept {
        std::string_view const szExecutable(oProgram.szExecutable);
        auto const nHere = szValue.find(oProgram.szBundleName);
        auto const nThere = szExecutable.find(oProgram.szBundleName);
        return nHere != szValue.npos && nThere != szExecutable.npos &&
               szValue.substr(nHere) == szExecutable.substr(nThere);
    }

    bool IsDate(std::string_view szValue) noexcept {
        char sz[kLNameSize];
        LFixedWriter(sz).Add(szValue.data(), szValue.size());
        LCrashReportDate o{};
        if (std::sscanf(sz, "%d-%d-%d %d:%d:%d", &o[0], &o[1], &o[2], &o[3], &o[4], &o[5]) != 6)
            return false;
        oDate = o;
        return true;
    }

    struct Condition {
        std::string_view szKey;
        bool (Report::*pIsMet)(std::string_view szValue) noexcept;
    };
    static constexpr Condition kConditions[] = {{"Process:", &Report::IsProcess},
                                                {"Path:", &Report::IsPath},
                                                {"Identifier:", &Report::IsIdentifier},
                                                {"Version:", &Report::IsVersion},
                                                {"Date/Time:", &Report::IsDate}};

    LCrashReportProgram const& oProgram;
    std::array<bool, std::size(kConditions)> lMet{};
    std::optional<LCrashReportDate> oDate;
};

// Hands a file's lines to the report until it has all that it looks for. What a line has beyond the buffer is left out.
void ReadLines(int hFile, Report& oReport) noexcept {
    char szBuffer[32 << 10];
    std::size_t nKept = 0; // of a line that has not ended yet
    bool bInRest = false;  // of a line whose beginning was taken already
    for (;;) {
        std::ptrdiff_t const nRead = LReadWhole(hFile, szBuffer + nKept, sizeof szBuffer - nKept);
        if (nRead < 0)
            return;
        bool const bAtEnd = static_cast<std::size_t>(nRead) < sizeof szBuffer - nKept;
        std::string_view szLeft(szBuffer, nKept + static_cast<std::size_t>(nRead));
        for (auto n = szLeft.find('\n'); n != szLeft.npos; n = szLeft.find('\n')) {
            if (!bInRest && oReport.Take(szLeft.substr(0, n)))
                return;
            bInRest = false;
            szLeft.remove_prefix(n + 1);
        }
        bool const bTake = !szLeft.empty() && !bInRest && (bAtEnd || szLeft.size() >= kLNameSize);
        if ((bTake && oReport.Take(szLeft)) || bAtEnd)
            return;
        bInRest = bInRest || bTake;
        nKept = bInRest ? 0 : szLeft.size();
        std::memmove(szBuffer, szLeft.data(), nKept);
    }
}

} // namespace

bool LReadCrashReport(char const* szPath, LCrashReportProgram const& oProgram,
                      std::optional<LCrashReportDate>& oDate) noexcept {
    LFileDescriptor const oFile = LOpenLocked(szPath, O_RDONLY, LOCK_SH, kLockTimeout);
    if (!oFile.IsOpen() || LSizeOfFile(oFile.Get()) < 0) // a device or a pipe may have no end
        return false;
    Report oReport(oProgram);
    ReadLines(oFile.Get(), oReport);
    oDate = oReport.Date();
    return oReport.AllMet();
}
