// What every benchmark here shares: percentiles, pacing, process figures, and the rows that end up in
// docs/performance.md.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

// CLOCK_MONOTONIC in nanoseconds: one clock for all processes of a run.
uint64_t NowNs();

// Sleeps until the instant; instants that have passed return at once.
void SleepUntilNs(uint64_t nInstantNs);

// Keeps the calling thread, and those it starts from now on, on one processor; nothing on a machine without it.
void StayOnProcessor(int nProcessor);

// SCHED_FIFO for the calling thread alone, as an audio server's IO thread has it; false where that is not permitted.
bool AskForRealTime();

// Whether the command line says --quick. Says how it is used and ends the process when it asks for that, or says
// anything else.
bool IsQuickRun(int nArguments, char** ppArguments);

// The value below which `fShare` (0 to 1) of the samples lie; sorts them. 0 without samples.
uint64_t Percentile(std::vector<uint64_t>& lSamples, double fShare);

// User and system time of a process so far, in nanoseconds; 0 when it is gone.
uint64_t CpuTimeNs(pid_t nProcess);

// Resident memory of a process in KiB; 0 when it is gone.
uint64_t ResidentKiB(pid_t nProcess);

// A measurement beside its yardstick. `fAtMost` is the most that ours may be: a multiple of the yardstick when there is
// one (fYardstick above 0), else in the row's own unit.
struct Row {
    std::string szWhat;
    double fOurs = 0;
    double fYardstick = 0;
    std::string szUnit;
    double fAtMost = 0;

    bool Holds() const { return fOurs <= (fYardstick > 0 ? fYardstick * fAtMost : fAtMost); }
};

// How long one call takes, in milliseconds.
double TimeMs(std::function<void()> const& Do);

// Ours and the yardstick, milliseconds both, by turns, so that what else the machine does meets both; the best of the
// rounds, since all that other work can do is add.
Row CompareBest(std::string szWhat, std::function<double()> const& Ours, std::function<double()> const& Yardstick,
                double fAtMost, int nRounds);

// Prints the rows as a Markdown table; true when all of them hold.
bool PrintRows(std::vector<Row> const& lRows);
