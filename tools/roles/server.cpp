#include "tools/audio/mixer.h"
#include "tools/host/host.h"
#include "tools/host/io_thread.h"
#include "tools/host/player.h"
#include "tools/host/plugin_bundle.h"
#include "tools/process/event_line.h"
#include "tools/process/failure.h"
#include "tools/process/stop_signal.h"
#include "tools/roles/server_command.h"

#include "platform/host/clock.h"
#include "platform/host/services.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr UInt32 kClientId = 1;
constexpr int kTick_ms = 5;            // how often the server looks at what is due
constexpr auto kRetryInterval = 250ms; // between requests to the helper while waiting
constexpr auto kProgressInterval = 100ms;
constexpr auto kChangePatience = 5s;

void Check(OSStatus nResult, char const* szWhat) {
    if (nResult != 0)
        throw Failure(ExitCode::Service, std::string("the driver refuses to ") + szWhat + ": " +
                                             FourCharText(static_cast<UInt32>(nResult)) + ".");
}

// One run, from loading the bundle to its end.
class ServerRun {
public:
    ServerRun(ServerOptions const& oWanted, StopSignal& oStopped, std::unique_ptr<Mixer> pMixer)
        : oOptions(oWanted), oStop(oStopped), oBundle(oWanted.szBundle), oDriver(oBundle.Driver()),
          oHost(KeepHost(oWanted.szStateFolder, *this)), oPlayer(std::move(pMixer)) {}
    ~ServerRun() { oHost.StopChanges(); }
    ServerRun(ServerRun const&) = delete;
    ServerRun& operator=(ServerRun const&) = delete;

    int Run() {
        Check((*oDriver.Ref())->Initialize(oDriver.Ref(), oHost.Ref()), "initialize");
        FindDevice();
        SetRate(oPlayer.Rate());
        if (!WaitForRecorder())
            return static_cast<int>(ExitCode::Success); // told to stop while waiting
        AudioServerPlugInClientInfo const oClient = {kClientId, getpid(), true, nullptr};
        Check((*oDriver.Ref())->AddDeviceClient(oDriver.Ref(), nDevice, &oClient), "add a client");
        Play();
        Check((*oDriver.Ref())->RemoveDeviceClient(oDriver.Ref(), nDevice, &oClient), "remove a client");
        return Finish();
    }

private:
    // The host stays when the run is over: the driver's code stays loaded and may call it.
    static Host& KeepHost(std::string const& szStateFolder, ServerRun& oRun) {
        static Host* pHost = nullptr;
        pHost = new Host(szStateFolder, [&oRun](AudioObjectID nObject, UInt64 nAction, void* pInfo) {
            oRun.PerformChange(nObject, nAction, pInfo);
        });
        return *pHost;
    }

    void FindDevice() {
        auto const oFound = oDriver.FindDevice();
        if (!oFound)
            throw Failure(ExitCode::Service, "the plug-in has no device now: its box has been released. Delete " +
                                                 oHost.StoragePath() + " to start afresh.");
        nDevice = *oFound;
    }

    std::optional<double> Rate() const {
        return oDriver.Get<Float64>(nDevice, GlobalAddress(kAudioDevicePropertyNominalSampleRate));
    }

    // The new rate is in force once the driver's request has come back and has been performed.
    void SetRate(double nRate) {
        Check(oDriver.Set(nDevice, GlobalAddress(kAudioDevicePropertyNominalSampleRate), nRate), "set the sample rate");
        if (!oHost.WaitUntil(Clock::now() + kChangePatience, [&] { return Rate() == nRate; }))
            throw Failure(ExitCode::Service, "the device did not change to " + std::to_string(static_cast<int>(nRate)) +
                                                 " Hz within five seconds.");
    }

    // On the host's queue, where nothing may be thrown.
    void PerformChange(AudioObjectID nObject, UInt64 nAction, void* pInfo) noexcept {
        auto const pDriver = oDriver.Ref();
        auto const oPerform = [&] { (*pDriver)->PerformDeviceConfigurationChange(pDriver, nObject, nAction, pInfo); };
        try {
            LScopedLock oLock(mtxIo);
            pIo ? pIo->Reconfigure(oPerform) : oPerform();
        } catch (std::exception const& oWhy) {
            std::fprintf(stderr, "lumora server: after a configuration change %s\n", oWhy.what());
            oStop.Wake();
        }
    }

    // False when told to stop first.
    bool WaitForRecorder() {
        std::string const szProblem = oOptions.nWaitForRecorder > 0 ? MachServicesFolderProblem() : "";
        if (!szProblem.empty())
            throw Failure(ExitCode::Service, szProblem);
        auto const oGiveUp = Clock::now() + std::chrono::duration<double>(oOptions.nWaitForRecorder);
        auto oRetry = Clock::now() + kRetryInterval;
        while (oOptions.nWaitForRecorder > 0 && !oBundle.IsRecorderConnected()) {
            if (oStop.Wait(kTick_ms))
                return false;
            if (Clock::now() >= oGiveUp)
                throw Failure(ExitCode::Service, "no recorder answered. Start 'lumora helper' and 'lumora recorder "
                                                 "OUTPUT' first, or leave --wait-for-recorder out.");
            if (Clock::now() >= oRetry) {
                oBundle.ConnectToRecorder();
                oRetry = Clock::now() + kRetryInterval;
            }
        }
        return true;
    }

    void Play() {
        {
            LScopedLock oLock(mtxIo);
            pIo = std::make_unique<IoThread>(oDriver, nDevice, kClientId, oOptions.nCycleFrames, oPlayer,
                                             [this] { bEnded.store(true), oStop.Wake(); });
            pIo->Start();
            ReportStart();
            if (!pIo->IsRealTime())
                std::fputs("lumora server: this user may not run the IO thread at real-time priority; it runs at an "
                           "ordinary one.\n",
                           stderr);
        }
        auto oNextProgress = Clock::now() + kProgressInterval;
        size_t nNextChange = 0;
        while (!oStop.Wait(kTick_ms) && !bEnded.load() && oStop.NextCommand() != "stop") {
            MakeChanges(nNextChange, static_cast<double>(oPlayer.FramesPlayed()) / oPlayer.Rate());
            if (oOptions.bProgress && Clock::now() >= oNextProgress) {
                ReportProgress();
                oNextProgress += kProgressInterval;
            }
        }
        MakeChanges(nNextChange, static_cast<double>(oPlayer.FramesPlayed()) / oPlayer.Rate());
        LScopedLock oLock(mtxIo);
        pIo->Stop();
        oFigures = pIo->Now();
        pIo.reset();
    }

    void MakeChanges(size_t& nNext, double nSeconds) {
        for (; nNext < oOptions.lChanges.size() && oOptions.lChanges[nNext].nTime <= nSeconds; ++nNext) {
            DeviceChange const& oChange = oOptions.lChanges[nNext];
            OSStatus const nResult = oChange.Apply(oDriver, nDevice);
            EventLine("set")
                .Add("name", oChange.szName)
                .Add("value", oChange.nValue)
                .Add("result", nResult == 0 ? "ok" : FourCharText(static_cast<UInt32>(nResult)))
                .Print();
        }
    }

    void ReportStart() {
        EventLine oEvent("started");
        oEvent.Add("rate", oPlayer.Rate()).Add("cycle", uint64_t{oOptions.nCycleFrames});
        if (auto const oFrames = oPlayer.FrameCount())
            oEvent.Add("frames", *oFrames);
        oEvent.Print();
    }

    void ReportProgress() {
        PeakMeter::Peaks const oPeaks = oPlayer.TakePeaks();
        EventLine("progress")
            .Add("frames", oPlayer.FramesPlayed())
            .Add("left", double{oPeaks.nLeft})
            .Add("right", double{oPeaks.nRight})
            .Print();
    }

    int Finish() {
        char szHash[17];
        std::snprintf(szHash, sizeof szHash, "%016llx", static_cast<unsigned long long>(oPlayer.Hash()));
        auto const szFailure = oPlayer.ReadFailure();
        EventLine("finished")
            .Add("frames", oPlayer.FramesPlayed())
            .Add("cycles", oFigures.nCycles)
            .Add("held", oFigures.nHeldCycles)
            .Add("late", oFigures.nLateCycles)
            .Add("hash", std::string(szHash))
            .Add("input", szFailure ? "failed" : "whole")
            .Print();
        // A parent keeps this process until the recorder has everything: what the recorder was too slow to take still
        // waits in this process's connection.
        while (oOptions.nControl >= 0 && !oStop.Wait(-1))
            oStop.NextCommand();
        if (szFailure)
            throw Failure(ExitCode::Input, *szFailure);
        return static_cast<int>(ExitCode::Success);
    }

    ServerOptions const& oOptions;
    StopSignal& oStop;
    PluginBundle oBundle;
    DriverView oDriver;
    Host& oHost;
    AudioObjectID nDevice = 0;
    Player oPlayer;
    std::atomic<bool> bEnded{false};
    LMutex mtxIo; // held while IO is started, stopped or reconfigured as a whole
    std::unique_ptr<IoThread> pIo GUARDED_BY(mtxIo);
    IoThread::Figures oFigures;
};

} // namespace

int RunServer(ServerOptions const& oOptions) {
    StopSignal oStop(oOptions.nControl);
    auto pMixer = OpenInputs(oOptions.lInputs, oOptions.oRaw, STDIN_FILENO, oOptions.nRate);
    HostClockSetSpeed(oOptions.nSpeed);
    return ServerRun(oOptions, oStop, std::move(pMixer)).Run();
}
