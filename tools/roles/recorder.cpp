#include "tools/process/event_line.h"
#include "tools/process/failure.h"
#include "tools/process/stop_signal.h"
#include "tools/roles/recorder_command.h"
#include "tools/roles/recorder_link.h"
#include "tools/roles/recording_thread.h"

#include "platform/host/services.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {

using namespace std::chrono_literals;

constexpr int kTick_ms = 100;       // how often the recorder sees to its registration, and reports progress
constexpr auto kFramePatience = 3s; // without a frame, before "finish FRAMES" gives up
constexpr auto kGoodbyePatience = 500ms;
constexpr auto kNotePatience = 2s; // without a helper, before a word about it
constexpr uint64_t kAllFrames = std::numeric_limits<uint64_t>::max();

class RecorderRun {
public:
    RecorderRun(RecorderOptions const& oWanted, StopSignal& oStopped)
        : oOptions(oWanted), oStop(oStopped), oWriter(oWanted.szOutput, oWanted.nRate, oWanted.bReplace),
          oThread(oIntake, oWriter, [this] { oStop.Wake(); }),
          oLink(oIntake, [](EventLine const& oEvent) { oEvent.Print(); }) {}

    int Run() {
        EventLine("recording").Add("path", oOptions.szOutput).Add("rate", oOptions.nRate).Print();
        if (!oWriter.LeftOver().empty())
            EventLine("leftover").Add("path", oWriter.LeftOver()).Print();
        uint64_t const nKeep = Record();
        oLink.Unregister(kGoodbyePatience);
        if (nKeep != kAllFrames)
            oIntake.WaitForFrames(nKeep, kFramePatience);
        oThread.Finish();
        bool const bNothing = oWriter.FrameCount() == 0 && !bFinish; // whoever says "finish" wants a file all the same
        if (bNothing && !bAbandon)
            std::fputs("lumora recorder: nothing was recorded; no file was made.\n", stderr);
        if (bAbandon || bNothing)
            oWriter.Abandon();
        else
            oWriter.Finish(nKeep);
        ReportEnd();
        return static_cast<int>(ExitCode::Success);
    }

private:
    // Until told to stop; how many frames to keep.
    uint64_t Record() {
        uint64_t nReported = 0;
        auto const oNote = std::chrono::steady_clock::now() + kNotePatience;
        for (bool bNoted = false;;) {
            oLink.KeepRegistered();
            if (!bNoted && std::chrono::steady_clock::now() >= oNote) {
                bNoted = true;
                if (!oLink.IsRegistered())
                    std::fputs(
                        "lumora recorder: no helper answers yet. Start 'lumora helper'; this one waits for it.\n",
                        stderr);
            }
            bool const bStop = oStop.Wait(kTick_ms);
            if (auto const oWhy = oThread.Failed())
                throw *oWhy;
            while (auto const szCommand = oStop.NextCommand()) {
                bAbandon = *szCommand == "abandon";
                bFinish = szCommand->starts_with("finish");
                if (bAbandon || *szCommand == "finish")
                    return kAllFrames;
                if (szCommand->starts_with("finish "))
                    return std::strtoull(szCommand->c_str() + 7, nullptr, 10);
            }
            if (bStop)
                return kAllFrames;
            uint64_t const nNow = oIntake.Now().nFrames;
            if (oOptions.bProgress && nNow != nReported)
                EventLine("progress").Add("frames", nReported = nNow).Print();
        }
    }

    void ReportEnd() {
        AudioIntake::Figures const oFigures = oIntake.Now();
        EventLine("finished")
            .Add("path", oOptions.szOutput)
            .Add("frames", oWriter.FrameCount())
            .Add("blocks", oFigures.nBlocks)
            .Add("dropped", oFigures.nDroppedBlocks)
            .Add("refused", oFigures.nRefusedBlocks)
            .Print();
    }

    RecorderOptions const& oOptions;
    StopSignal& oStop;
    WavWriter oWriter;
    AudioIntake oIntake;
    RecordingThread oThread;
    RecorderLink oLink;
    bool bAbandon = false; // the command that ended it
    bool bFinish = false;
};

} // namespace

int RunRecorder(RecorderOptions const& oOptions) {
    if (std::string const szProblem = MachServicesFolderProblem(); !szProblem.empty())
        throw Failure(ExitCode::Service, szProblem);
    StopSignal oStop(oOptions.nControl);
    return RecorderRun(oOptions, oStop).Run();
}
