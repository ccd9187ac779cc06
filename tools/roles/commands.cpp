#include "tools/roles/commands.h"

#include "tools/host/plugin_bundle.h"
#include "tools/host/storage.h"
#include "tools/inspect/inspect_command.h"
#include "tools/process/failure.h"
#include "tools/roles/helper_command.h"
#include "tools/roles/record_command.h"
#include "tools/roles/recorder_command.h"
#include "tools/roles/server_command.h"

#include <algorithm>
#include <memory>
#include <sstream>

#include <fcntl.h>

namespace {

std::string const kInputHelp = "What to play, mixed: audio files, or - for headerless audio on standard input";

// The library's range lets NaN through.
std::string CheckNumber(std::string const& szText, double nLeast, double nMost) {
    double nValue = 0;
    if (CLI::detail::lexical_cast(szText, nValue) && nValue >= nLeast && nValue <= nMost)
        return {};
    std::ostringstream oProblem;
    oProblem << "'" << szText << "' is not a number from " << nLeast << " to " << nMost;
    return oProblem.str();
}

CLI::Validator NumberFrom(double nLeast, double nMost) {
    return CLI::Validator([=](std::string& szText) { return CheckNumber(szText, nLeast, nMost); }, "");
}

CLI::Validator OpenDescriptor() {
    return CLI::Validator(
        [](std::string& szText) {
            int nValue = 0;
            bool const bOpen = CLI::detail::lexical_cast(szText, nValue) && fcntl(nValue, F_GETFD) >= 0;
            return bOpen ? std::string() : "'" + szText + "' is not an open descriptor";
        },
        "");
}

// The options that `record` and `server` share.
template <class Options>
void AddPlayingOptions(CLI::App& oCommand, Options& oOptions) {
    oCommand.add_option("--bundle", oOptions.szBundle, "The plug-in's bundle (found beside this program by itself)");
    oCommand.add_option("--rate", oOptions.nRate, "The device's sample rate in Hz (as the first input)")
        ->check(CLI::IsMember({44100, 48000}));
    oCommand.add_option("--frames", oOptions.nCycleFrames, "Frames an IO cycle, 64 to 4096")
        ->check(CLI::Range(64u, 4096u))
        ->capture_default_str();
    oCommand.add_option("--speed", oOptions.nSpeed, "How many times faster than real time to play, 0.1 to 1000")
        ->check(NumberFrom(0.1, 1000))
        ->capture_default_str();
    oCommand.add_option("--raw-rate", oOptions.oRaw.nRate, "Headerless audio: sample rate in Hz")
        ->check(NumberFrom(1000, 768000))
        ->capture_default_str();
    oCommand.add_option("--raw-channels", oOptions.oRaw.nChannels, "Headerless audio: 1 or 2 channels")
        ->check(CLI::Range(1, 2))
        ->capture_default_str();
    oCommand.add_option("--raw-format", oOptions.oRaw.szEncoding, "Headerless audio: one of " + RawEncodingNames())
        ->capture_default_str();
}

CLI::Option* AddChangeOption(CLI::App& oCommand, std::vector<std::string>& lChanges) {
    return oCommand
        .add_option("--set", lChanges,
                    "Change the device after SECONDS of audio, as 'SECONDS NAME=VALUE'; may be repeated. Names:\n" +
                        DeviceChangeHelp())
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void AddControlOption(CLI::App& oCommand, int& nControl) {
    oCommand
        .add_option("--control", nControl,
                    "A descriptor to read commands from, one a line; its end means stop (for the program that started "
                    "this one)")
        ->check(OpenDescriptor());
}

} // namespace

void AddRecordCommand(CLI::App& oApp, CommandContext& oContext) {
    struct Parsed {
        RecordOptions oOptions;
        std::vector<std::string> lFiles;
    };
    auto const pParsed = std::make_shared<Parsed>();
    CLI::App* const pCommand = oApp.add_subcommand(
        "record", "Play files to the device and record them, with a helper, a recorder and an audio server of its own");
    pCommand->add_option("FILES", pParsed->lFiles, "INPUT... OUTPUT. " + kInputHelp + "; last, the WAV file to make")
        ->required()
        ->option_text("INPUT... OUTPUT")
        ->expected(2, 1 << 20);
    pCommand->add_flag("--force", pParsed->oOptions.bReplace, "Replace OUTPUT if it exists");
    AddPlayingOptions(*pCommand, pParsed->oOptions);
    AddChangeOption(*pCommand, pParsed->oOptions.lChanges);
    pCommand->callback([pParsed, &oContext] {
        RecordOptions& oOptions = pParsed->oOptions;
        oOptions.szProgram = oContext.szProgram;
        oOptions.szOutput = pParsed->lFiles.back();
        oOptions.lInputs.assign(pParsed->lFiles.begin(), pParsed->lFiles.end() - 1);
        if (oOptions.szBundle.empty())
            oOptions.szBundle = DefaultBundlePath(oContext.szProgram);
        oContext.nExitStatus = RunRecord(oOptions);
    });
}

void AddServerCommand(CLI::App& oApp, CommandContext& oContext) {
    struct Parsed {
        ServerOptions oOptions;
        std::vector<std::string> lChanges;
    };
    auto const pParsed = std::make_shared<Parsed>();
    pParsed->oOptions.szStateFolder = DefaultStateFolder();
    CLI::App* const pCommand = oApp.add_subcommand("server", "The audio server: loads the plug-in and plays to it");
    pCommand->add_option("INPUT", pParsed->oOptions.lInputs, kInputHelp)->required();
    AddPlayingOptions(*pCommand, pParsed->oOptions);
    AddChangeOption(*pCommand, pParsed->lChanges);
    pCommand
        ->add_option("--state", pParsed->oOptions.szStateFolder, "The folder for what the plug-in has the host keep")
        ->capture_default_str();
    pCommand
        ->add_option("--wait-for-recorder", pParsed->oOptions.nWaitForRecorder,
                     "Wait up to that many seconds until the plug-in has a connection to a recorder (play at once)")
        ->check(NumberFrom(0, 86400));
    pCommand->add_flag("--progress", pParsed->oOptions.bProgress, "Print a line ten times a second");
    AddControlOption(*pCommand, pParsed->oOptions.nControl);
    pCommand->callback([pParsed, &oContext] {
        ServerOptions& oOptions = pParsed->oOptions;
        if (oOptions.szBundle.empty())
            oOptions.szBundle = DefaultBundlePath(oContext.szProgram);
        for (std::string const& szChange : pParsed->lChanges)
            oOptions.lChanges.push_back(DeviceChange::Parse(szChange));
        std::stable_sort(oOptions.lChanges.begin(), oOptions.lChanges.end(),
                         [](DeviceChange const& a, DeviceChange const& b) { return a.nTime < b.nTime; });
        oContext.nExitStatus = RunServer(oOptions);
    });
}

void AddHelperCommand(CLI::App& oApp, CommandContext& oContext) {
    auto const pOptions = std::make_shared<HelperOptions>();
    CLI::App* const pCommand =
        oApp.add_subcommand("helper", "The helper service: tells plug-ins where the recorder is; one for each user");
    AddControlOption(*pCommand, pOptions->nControl);
    pCommand->callback([pOptions, &oContext] { oContext.nExitStatus = RunHelper(*pOptions); });
}

void AddRecorderCommand(CLI::App& oApp, CommandContext& oContext) {
    auto const pOptions = std::make_shared<RecorderOptions>();
    CLI::App* const pCommand = oApp.add_subcommand(
        "recorder", "The recorder: writes what the device sends to a WAV file, until Ctrl-C or SIGTERM");
    pCommand->add_option("OUTPUT", pOptions->szOutput, "The WAV file (32-bit float, stereo)")->required();
    pCommand
        ->add_option("--rate", pOptions->nRate,
                     "The sample rate in Hz to write into the file: what the device is set to")
        ->check(CLI::IsMember({44100, 48000}))
        ->capture_default_str();
    pCommand->add_flag("--force", pOptions->bReplace, "Replace OUTPUT if it exists");
    pCommand->add_flag("--progress", pOptions->bProgress, "Print a line ten times a second while audio arrives");
    AddControlOption(*pCommand, pOptions->nControl);
    pCommand->callback([pOptions, &oContext] { oContext.nExitStatus = RunRecorder(*pOptions); });
}

void AddInspectCommand(CLI::App& oApp, CommandContext& oContext) {
    auto const pOptions = std::make_shared<InspectOptions>();
    CLI::App* const pCommand =
        oApp.add_subcommand("inspect", "Show the device's objects and all their properties, as its host sees them");
    pCommand->add_option("--bundle", pOptions->szBundle, "The plug-in's bundle (found beside this program by itself)");
    pCommand->add_flag("--json", pOptions->bJson, "As JSON");
    pCommand->callback([pOptions, &oContext] {
        if (pOptions->szBundle.empty())
            pOptions->szBundle = DefaultBundlePath(oContext.szProgram);
        oContext.nExitStatus = RunInspect(*pOptions);
    });
}
