#include "tools/audio/mixer.h"
#include "tools/audio/rate_converter.h"
#include "tools/host/device_change.h"
#include "tools/process/event_line.h"
#include "tools/process/failure.h"
#include "tools/process/private_folder.h"
#include "tools/process/role_process.h"
#include "tools/process/stop_signal.h"
#include "tools/roles/record_command.h"
#include "tools/roles/record_display.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kStartPatience = 30s; // for a role to say that it is ready: the machine may be busy
constexpr int kLookForStop_ms = 50;
constexpr auto kEndPatience = 60s; // for the recorder to have written everything

// What can be known to be wrong before anything is started.
double CheckInputs(RecordOptions const& oOptions, std::optional<uint64_t>& oFrames) {
    for (std::string const& szChange : oOptions.lChanges)
        DeviceChange::Parse(szChange);
    double nRate = oOptions.nRate;
    CheckStandardInputOnce(oOptions.lInputs);
    if (std::find(oOptions.lInputs.begin(), oOptions.lInputs.end(), "-") != oOptions.lInputs.end()) {
        // Standard input is the server's to read; everything else about the inputs can be seen here.
        CheckRawAudio(STDIN_FILENO, oOptions.oRaw, "standard input");
        for (std::string const& szInput : oOptions.lInputs) {
            double const nOwn = szInput == "-" ? oOptions.oRaw.nRate : OpenAudioFile(szInput)->Rate();
            nRate = nRate != 0 ? nRate : DeviceRateFor(nOwn);
        }
        return nRate;
    }
    auto const pMixer = OpenInputs(oOptions.lInputs, oOptions.oRaw, -1, nRate);
    oFrames = pMixer->FrameCount();
    return pMixer->Rate();
}

void CheckOutput(RecordOptions const& oOptions) {
    std::filesystem::path const oFolder = std::filesystem::path(oOptions.szOutput).parent_path();
    std::string const szFolder = oFolder.empty() ? "." : oFolder.string();
    if (oOptions.szOutput.empty())
        throw Failure(ExitCode::Usage, "the name of the recording is empty.");
    for (std::string const& szInput : oOptions.lInputs) {
        std::error_code oIgnored;
        if (szInput != "-" && std::filesystem::equivalent(szInput, oOptions.szOutput, oIgnored))
            throw Failure(ExitCode::Output, oOptions.szOutput + " is an input too, and would be lost. Choose another "
                                                                "name for the recording.");
    }
    if (access(oOptions.szOutput.c_str(), F_OK) == 0 && !oOptions.bReplace)
        throw Failure(ExitCode::Output,
                      oOptions.szOutput + " exists. Choose another name, or give --force to replace it.");
    if (access(szFolder.c_str(), F_OK) != 0)
        throw Failure(ExitCode::Output, "there is no folder " + szFolder + " to record into. Make it first.");
    if (access(szFolder.c_str(), W_OK) != 0)
        throw Failure(ExitCode::Output, "this user may not write into " + szFolder + ". Name another folder.");
}

// One of the three, and what it said last.
struct Role {
    char const* szName;
    RoleProcess oProcess;

    Role(char const* szRoleName, RoleProcess::Options const& oHow) : szName(szRoleName), oProcess(oHow) {}

    // Its end, when it was not asked to: with its own exit status, for it has said why on standard error.
    [[noreturn]] void ThrowEnded() {
        int const nStatus = oProcess.WaitExit(5000);
        bool const bOwnWords =
            nStatus >= static_cast<int>(ExitCode::Recording) && nStatus <= static_cast<int>(ExitCode::Service);
        throw Failure(bOwnWords ? static_cast<ExitCode>(nStatus) : ExitCode::Recording,
                      std::string("the ") + szName + " ended before its time (status " + std::to_string(nStatus) +
                          ").");
    }
};

class RecordRun {
public:
    RecordRun(RecordOptions const& oWanted, double nDeviceRate, std::optional<uint64_t> oFrames)
        : oOptions(oWanted), nRate(nDeviceRate), oDisplay(nDeviceRate, oFrames), oHelper("helper", Command({"helper"})),
          oRecorder("recorder", RecorderCommand()), oServer("server", ServerCommand()) {}

    RecordSummary Run() {
        try {
            Play();
            CheckPlayed();
        } catch (...) {
            oRecorder.oProcess.Command("abandon"); // what there is of it does not get the name of a recording
            throw;
        }
        CollectRecording();
        oServer.oProcess.CloseControl();
        oHelper.oProcess.CloseControl();
        nServerStatus = oServer.oProcess.WaitExit(5000);
        oSummary.szOutput = oOptions.szOutput;
        oSummary.oFile = MeasureFile(oOptions.szOutput);
        return oSummary;
    }
    int ServerStatus() const noexcept { return nServerStatus; }

private:
    RoleProcess::Options Command(std::vector<std::string> lArguments) const {
        RoleProcess::Options oHow;
        oHow.lArguments = {oOptions.szProgram};
        oHow.lArguments.insert(oHow.lArguments.end(), lArguments.begin(), lArguments.end());
        oHow.lArguments.insert(oHow.lArguments.begin() + 2,
                               {"--control", std::to_string(RoleProcess::kControlDescriptor)});
        oHow.lEnvironment = {{"XDG_RUNTIME_DIR", oFolder.Path()}};
        return oHow;
    }

    // Each role is started once the one before it is ready.
    RoleProcess::Options RecorderCommand() {
        WaitFor(oHelper, "ready");
        std::vector<std::string> lArguments = {"recorder", "--rate", std::to_string(std::lround(nRate))};
        if (oOptions.bReplace)
            lArguments.push_back("--force");
        lArguments.insert(lArguments.end(), {"--", oOptions.szOutput});
        return Command(lArguments);
    }

    RoleProcess::Options ServerCommand() {
        WaitFor(oRecorder, "registered");
        std::vector<std::string> lArguments = {"server",
                                               "--progress",
                                               "--wait-for-recorder",
                                               "20",
                                               "--bundle",
                                               oOptions.szBundle,
                                               "--state",
                                               oFolder.Path() + "/state",
                                               "--rate",
                                               std::to_string(std::lround(nRate)),
                                               "--frames",
                                               std::to_string(oOptions.nCycleFrames),
                                               "--speed",
                                               std::to_string(oOptions.nSpeed),
                                               "--raw-rate",
                                               std::to_string(oOptions.oRaw.nRate),
                                               "--raw-channels",
                                               std::to_string(oOptions.oRaw.nChannels),
                                               "--raw-format",
                                               oOptions.oRaw.szEncoding};
        for (std::string const& szChange : oOptions.lChanges)
            lArguments.insert(lArguments.end(), {"--set", szChange});
        lArguments.push_back("--");
        lArguments.insert(lArguments.end(), oOptions.lInputs.begin(), oOptions.lInputs.end());
        RoleProcess::Options oHow = Command(lArguments);
        oHow.bStandardInput = true;
        return oHow;
    }

    // The next event of that name; others before it are heard too.
    EventLine WaitFor(Role& oRole, std::string const& szEvent, std::chrono::milliseconds nPatience = kStartPatience) {
        auto const oDeadline = Clock::now() + nPatience;
        for (;;) {
            auto const szLine = oRole.oProcess.WaitLine(kLookForStop_ms);
            if (!szLine && oRole.oProcess.Output().AtEnd())
                oRole.ThrowEnded();
            if (!szLine && !bServerFinished && oStop.Wait(0))
                throw Failure(ExitCode::Recording, "stopped before anything was played; no file was made.");
            if (!szLine && Clock::now() < oDeadline)
                continue;
            if (!szLine)
                throw Failure(ExitCode::Recording, std::string("the ") + oRole.szName + " has not said '" + szEvent +
                                                       "' in time. Is the machine very busy?");
            EventLine const oEvent = EventLine::Parse(*szLine);
            Hear(oEvent);
            if (oEvent.Name() == szEvent)
                return oEvent;
        }
    }

    // Until the server has played everything, or Ctrl-C.
    void Play() {
        WaitFor(oServer, "started");
        for (Role* const pRole : arRoles)
            HearLines(*pRole); // what came in the same breath as the line that was waited for
        while (!bServerFinished) {
            pollfd arPoll[] = {{oStop.SignalDescriptor(), POLLIN, 0},
                               {oServer.oProcess.OutputDescriptor(), POLLIN, 0},
                               {oRecorder.oProcess.OutputDescriptor(), POLLIN, 0},
                               {oHelper.oProcess.OutputDescriptor(), POLLIN, 0}};
            poll(arPoll, std::size(arPoll), oStop.Stopped() && !oSummary.bStopped ? 0 : -1);
            if (oStop.Wait(0) && !oSummary.bStopped) {
                oSummary.bStopped = true;
                oServer.oProcess.Command("stop");
            }
            for (size_t n = 1; n < std::size(arPoll); ++n)
                if (arPoll[n].revents)
                    HearFrom(*arRoles[n - 1]);
        }
    }

    // Half a source, or nothing at all, is no recording.
    void CheckPlayed() {
        if (bInputFailed) {
            oServer.oProcess.CloseControl();
            oServer.oProcess.WaitExit(5000); // it says why
            throw Failure(ExitCode::Input, "what was played of it is kept in " + oOptions.szOutput + ".part.");
        }
        if (oSummary.nFramesIn == 0 && !oSummary.bStopped)
            throw Failure(ExitCode::Input, "standard input held no audio.");
        if (oSummary.nFramesIn == 0)
            throw Failure(ExitCode::Recording, "stopped before anything was played; no file was made.");
    }

    void HearLines(Role& oRole) {
        while (auto const szLine = oRole.oProcess.Output().Next())
            Hear(EventLine::Parse(*szLine));
    }

    void HearFrom(Role& oRole) {
        bool const bMore = oRole.oProcess.Output().Fill();
        HearLines(oRole);
        if (!bMore) {
            oDisplay.Clear();
            oRole.ThrowEnded();
        }
    }

    void Hear(EventLine const& oEvent) {
        if (oEvent.Name() == "progress") {
            oDisplay.Show(oEvent.Number("frames"), oEvent.Real("left"), oEvent.Real("right"));
        } else if (oEvent.Name() == "leftover") {
            oDisplay.Clear();
            std::fprintf(stderr, "lumora record: an unfinished recording was there; it is kept as %s\n",
                         oEvent.Text("path").value_or("").c_str());
        } else if (oEvent.Name() == "set" && oEvent.Text("result") != "ok") {
            oDisplay.Clear();
            std::fprintf(stderr, "lumora record: the device refuses %s=%g: %s\n",
                         oEvent.Text("name").value_or("").c_str(), oEvent.Real("value"),
                         oEvent.Text("result").value_or("").c_str());
        } else if (oEvent.Name() == "volume") {
            oDisplay.Clear();
            std::printf("volume     %g at frame %llu\n", oEvent.Real("value"),
                        static_cast<unsigned long long>(oEvent.Number("frame")));
            std::fflush(stdout);
        } else if (oEvent.Name() == "finished" && oEvent.Text("hash")) {
            bServerFinished = true;
            bInputFailed = oEvent.Text("input") == "failed";
            oSummary.nFramesIn = oEvent.Number("frames");
            oSummary.nCyclesSent = oEvent.Number("cycles");
            oSummary.nHeldCycles = oEvent.Number("held");
            oSummary.nLateCycles = oEvent.Number("late");
            oSummary.nHashIn = std::stoull(*oEvent.Text("hash"), nullptr, 16);
        }
    }

    // The recorder waits for the frames that were played, and cuts the silence that filled the last cycle up.
    void CollectRecording() {
        oRecorder.oProcess.Command("finish " + std::to_string(oSummary.nFramesIn));
        EventLine const oEnd = WaitFor(oRecorder, "finished", kEndPatience);
        oSummary.nCyclesReceived = oEnd.Number("blocks");
        oDisplay.Clear();
    }

    RecordOptions const& oOptions;
    double nRate;
    PrivateFolder oFolder;
    StopSignal oStop;
    ProgressDisplay oDisplay;
    RecordSummary oSummary;
    bool bServerFinished = false;
    bool bInputFailed = false;
    int nServerStatus = 0;
    Role oHelper;
    Role oRecorder;
    Role oServer;
    Role* const arRoles[3] = {&oServer, &oRecorder, &oHelper};
};

} // namespace

int RunRecord(RecordOptions const& oOptions) {
    std::optional<uint64_t> oFrames;
    double const nRate = CheckInputs(oOptions, oFrames);
    CheckOutput(oOptions);
    RecordRun oRun(oOptions, nRate, oFrames);
    RecordSummary const oSummary = oRun.Run();
    std::fputs(SummaryText(oSummary).c_str(), stdout);
    if (oRun.ServerStatus() > 0)
        return oRun.ServerStatus(); // it has said why
    bool const bGood = oSummary.IsBitExact() && oSummary.LostCycles() == 0;
    return static_cast<int>(bGood ? ExitCode::Success : ExitCode::Recording);
}
