#include "bench/measure.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <unistd.h>

uint64_t NowNs() {
    timespec oNow{};
    clock_gettime(CLOCK_MONOTONIC, &oNow);
    return static_cast<uint64_t>(oNow.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(oNow.tv_nsec);
}

void SleepUntilNs(uint64_t nInstantNs) {
    timespec const oInstant{static_cast<time_t>(nInstantNs / 1'000'000'000),
                            static_cast<long>(nInstantNs % 1'000'000'000)};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &oInstant, nullptr) != 0)
        ;
}

bool IsQuickRun(int nArguments, char** ppArguments) {
    std::string const szArgument(nArguments > 1 ? ppArguments[1] : "");
    if (nArguments == 1 || (nArguments == 2 && szArgument == "--quick"))
        return nArguments == 2;
    bool const bAsked = szArgument == "--help" || szArgument == "-h";
    std::fprintf(
        bAsked ? stdout : stderr,
        "usage: %s [--quick]\n\nPrints a table of measurements beside their yardsticks. Exits with 1 when a row "
        "does not hold.\n\n  --quick   a tenth of the time, for a look\n",
        std::filesystem::path(ppArguments[0]).filename().c_str());
    std::exit(bAsked ? 0 : 2);
}

void StayOnProcessor(int nProcessor) {
    cpu_set_t oSet;
    CPU_ZERO(&oSet);
    CPU_SET(static_cast<size_t>(nProcessor), &oSet);
    sched_setaffinity(0, sizeof oSet, &oSet);
}

bool AskForRealTime() {
    sched_param const oPriority{10};
    return sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &oPriority) == 0;
}

uint64_t Percentile(std::vector<uint64_t>& lSamples, double fShare) {
    if (lSamples.empty())
        return 0;
    std::sort(lSamples.begin(), lSamples.end());
    auto const nIndex = static_cast<size_t>(fShare * static_cast<double>(lSamples.size() - 1) + 0.5);
    return lSamples[nIndex];
}

uint64_t CpuTimeNs(pid_t nProcess) {
    clockid_t nClock{};
    timespec oTime{};
    if (clock_getcpuclockid(nProcess, &nClock) != 0 || clock_gettime(nClock, &oTime) != 0)
        return 0;
    return static_cast<uint64_t>(oTime.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(oTime.tv_nsec);
}

uint64_t ResidentKiB(pid_t nProcess) {
    std::ifstream oFile("/proc/" + std::to_string(nProcess) + "/status");
    for (std::string szLine; std::getline(oFile, szLine);)
        if (szLine.rfind("VmRSS:", 0) == 0)
            return std::stoull(szLine.substr(6));
    return 0;
}

bool PrintRows(std::vector<Row> const& lRows) {
    bool bAll = true;
    std::printf("| what | ours | yardstick | ratio | at most | holds |\n|---|---|---|---|---|---|\n");
    for (auto const& oRow : lRows) {
        bAll = bAll && oRow.Holds();
        std::printf("| %s | %.2f %s | ", oRow.szWhat.c_str(), oRow.fOurs, oRow.szUnit.c_str());
        if (oRow.fYardstick > 0)
            std::printf("%.2f %s | %.2f × | %.1f ×", oRow.fYardstick, oRow.szUnit.c_str(), oRow.fOurs / oRow.fYardstick,
                        oRow.fAtMost);
        else
            std::printf("| | %.0f %s", oRow.fAtMost, oRow.szUnit.c_str());
        std::printf(" | %s |\n", oRow.Holds() ? "yes" : "NO");
    }
    std::fflush(stdout);
    return bAll;
}

double TimeMs(std::function<void()> const& Do) {
    uint64_t const nBegin = NowNs();
    Do();
    return static_cast<double>(NowNs() - nBegin) / 1e6;
}

Row CompareBest(std::string szWhat, std::function<double()> const& Ours, std::function<double()> const& Yardstick,
                double fAtMost, int nRounds) {
    double fOurs = 1e9, fYardstick = 1e9;
    for (int n = 0; n < nRounds; ++n) {
        fYardstick = std::min(fYardstick, Yardstick());
        fOurs = std::min(fOurs, Ours());
    }
    return {std::move(szWhat), fOurs, fYardstick, "ms", fAtMost};
}
