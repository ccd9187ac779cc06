#include "tools/roles/record_display.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include <unistd.h>

namespace {

constexpr int64_t kLineInterval_ms = 2000;
constexpr int kBarWidth = 24;
constexpr double kBarFloor = -60.0; // dBFS, the bar's left end

int64_t Now_ms() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::string LevelBar(double nLinear) {
    double const nPart = nLinear > 0 ? (ToDecibels(nLinear) - kBarFloor) / -kBarFloor : 0;
    int const nFull = static_cast<int>(std::lround(std::clamp(nPart, 0.0, 1.0) * kBarWidth));
    return std::string(static_cast<size_t>(nFull), '#') + std::string(static_cast<size_t>(kBarWidth - nFull), '-');
}

std::string Row(char const* szLabel, std::string const& szText) {
    char szRow[32];
    std::snprintf(szRow, sizeof szRow, "%-11s", szLabel);
    return szRow + szText + "\n";
}

} // namespace

std::string TimeText(double nSeconds) {
    auto const nTenths = static_cast<int64_t>(std::floor(nSeconds * 10));
    char szText[32];
    std::snprintf(szText, sizeof szText, "%lld:%02lld.%lld", static_cast<long long>(nTenths / 600),
                  static_cast<long long>(nTenths / 10 % 60), static_cast<long long>(nTenths % 10));
    return szText;
}

ProgressDisplay::ProgressDisplay(double nRateOfAudio, std::optional<uint64_t> oTotal)
    : nRate(nRateOfAudio), oTotalFrames(oTotal), bTerminal(isatty(STDERR_FILENO) != 0), nShownAt_ms(Now_ms()) {}

void ProgressDisplay::Show(uint64_t nFrames, double nLeft, double nRight) {
    int64_t const nNow_ms = Now_ms();
    if (!bTerminal && nNow_ms - nShownAt_ms < kLineInterval_ms)
        return;
    nShownAt_ms = nNow_ms;
    bShown = bTerminal;
    std::string szTime = TimeText(static_cast<double>(nFrames) / nRate);
    if (oTotalFrames)
        szTime += " of " + TimeText(static_cast<double>(*oTotalFrames) / nRate);
    std::fprintf(stderr, "%s%s  L %s  R %s%s", bTerminal ? "\r" : "", szTime.c_str(), LevelBar(nLeft).c_str(),
                 LevelBar(nRight).c_str(), bTerminal ? "\033[K" : "\n");
}

void ProgressDisplay::Clear() {
    if (bShown)
        std::fputs("\r\033[K", stderr);
    bShown = false;
}

std::string SummaryText(RecordSummary const& o) {
    char szFormat[80];
    std::snprintf(szFormat, sizeof szFormat, " (%.0f Hz, stereo, 32-bit float, %s)", o.oFile.nRate,
                  TimeText(static_cast<double>(o.oFile.nFrames) / o.oFile.nRate).c_str());
    std::string szText = Row("recording", o.szOutput + szFormat + (o.bStopped ? ", stopped early" : ""));
    szText += Row("frames", std::to_string(o.nFramesIn) + " in, " + std::to_string(o.oFile.nFrames) + " out");
    szText +=
        Row("cycles", std::to_string(o.nCyclesSent) + " played, " + std::to_string(o.LostCycles()) + " lost, " +
                          std::to_string(o.nLateCycles) + " late, " + std::to_string(o.nHeldCycles) + " held back");
    szText += Row("bit-exact", o.IsBitExact() ? "yes" : "NO: the recording is not what was played");
    szText += Row("peak", DecibelText(o.oFile.nPeak));
    char szLoudness[32] = "too quiet or too short to tell";
    if (o.oFile.nLoudness)
        std::snprintf(szLoudness, sizeof szLoudness, "%.1f LUFS", *o.oFile.nLoudness);
    return szText + Row("loudness", szLoudness);
}
