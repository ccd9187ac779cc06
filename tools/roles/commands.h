// The subcommands of `lumora`: each adds itself to the command line, and runs when it was named.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

// Shared by all: how the program was called, and the exit status of the command that ran.
struct CommandContext {
    std::string szProgram; // path to run this program again by
    int nExitStatus = 0;
};

void AddRecordCommand(CLI::App& oApp, CommandContext& oContext);
void AddHelperCommand(CLI::App& oApp, CommandContext& oContext);
void AddRecorderCommand(CLI::App& oApp, CommandContext& oContext);
void AddServerCommand(CLI::App& oApp, CommandContext& oContext);
void AddInspectCommand(CLI::App& oApp, CommandContext& oContext);
void AddSettingsCommand(CLI::App& oApp, CommandContext& oContext);
