#include "tools/process/failure.h"
#include "tools/roles/commands.h"
#include "tools/settings/settings_command.h"

#include <memory>

namespace {

constexpr char kAbout[] =
    "Show and change the settings of the product's programs. Passwords are shown only with --show-passwords (list) and "
    "--password (get).";

constexpr char kSection[] = "A group of settings; in the preferences it may have slashes in it";
constexpr char kItem[] = "A setting's name there";
constexpr char kPlaces[] = "The shared settings are meant unless --hidden or --preferences is given.";

using Run = int (*)(SettingsOptions const&);
using Options = std::shared_ptr<SettingsOptions>;

// The parser's own words would repeat what was not expected, which may be half of a password with a space in it.
void RefuseMore(CLI::App const& oCommand) {
    if (oCommand.remaining_size(true) > 0)
        throw Failure(
            ExitCode::Usage,
            "there is a word too many, or an option that there is not. A value with spaces in it wants quotes, "
            "and -- in front of one that begins with a dash. See lumora settings --help.");
}

// "--password=secret" is refused, too, without saying it.
CLI::Option* AddFlag(CLI::App& oCommand, char const* szName, bool& bSet, char const* szAbout) {
    return oCommand.add_flag(szName, bSet, szAbout)->disable_flag_override();
}

CLI::App* AddAction(CLI::App& oSettings, CommandContext& oContext, Options const& pOptions, char const* szName,
                    char const* szAbout, Run Do) {
    CLI::App* const pAction = oSettings.add_subcommand(szName, szAbout);
    pAction->fallthrough()->allow_extras(); // the place may be named behind the action as well
    pAction->footer(kPlaces);
    pAction->callback([&oSettings, pOptions, &oContext, Do] {
        RefuseMore(oSettings);
        oContext.nExitStatus = Do(*pOptions);
    });
    return pAction;
}

void AddForce(CLI::App& oAction, SettingsOptions& oOptions) {
    AddFlag(oAction, "--force", oOptions.bForce, "Change a file that has an error as well: what it hides is dropped");
}

} // namespace

void AddSettingsCommand(CLI::App& oApp, CommandContext& oContext) {
    auto const pOptions = std::make_shared<SettingsOptions>();
    CLI::App* const pCommand = oApp.add_subcommand("settings", kAbout);
    pCommand->require_subcommand(0, 1)->allow_extras(); // the parser itself would only say that something is missing
    pCommand->callback([pCommand] {
        if (pCommand->get_subcommands().empty())
            throw Failure(ExitCode::Usage, "say what to do: get, set, list or delete. See lumora settings --help.");
    });
    auto const AddPlace = [&](char const* szName, SettingsPlace nPlace, char const* szAbout) {
        return pCommand
            ->add_flag_callback(
                szName, [pOptions, nPlace] { pOptions->nPlace = nPlace; }, szAbout)
            ->disable_flag_override();
    };
    CLI::Option* const pShared =
        AddPlace("--shared", SettingsPlace::Shared, "The settings that the programs share (the default)");
    CLI::Option* const pHidden =
        AddPlace("--hidden", SettingsPlace::Hidden, "The user's hidden settings")->excludes(pShared);
    AddPlace("--preferences", SettingsPlace::Preferences, "The user's preferences on this machine")
        ->excludes(pShared)
        ->excludes(pHidden);

    CLI::App* const pGet =
        AddAction(*pCommand, oContext, pOptions, "get", "Print the value of a setting", RunSettingsGet);
    pGet->add_option("SECTION", pOptions->szSection, kSection)->required();
    pGet->add_option("ITEM", pOptions->szItem, kItem)->required();
    AddFlag(*pGet, "--password", pOptions->bPassword, "The item's password, in clear");

    CLI::App* const pSet =
        AddAction(*pCommand, oContext, pOptions, "set", "Set a setting and read it back", RunSettingsSet);
    pSet->add_option("SECTION", pOptions->szSection, kSection)->required();
    pSet->add_option("ITEM", pOptions->szItem, kItem)->required();
    pSet->add_option("VALUE", pOptions->szValue,
                     "Without it the value is asked for, or taken from standard input: better for a password, for "
                     "others can see command lines. Behind -- it may begin with a dash");
    AddFlag(*pSet, "--password", pOptions->bPassword, "Keep it as the item's password, protected");
    AddForce(*pSet, *pOptions);

    CLI::App* const pList = AddAction(*pCommand, oContext, pOptions, "list",
                                      "Print every setting, or those of a section, one a line", RunSettingsList);
    pList->add_option("SECTION", pOptions->szSection, kSection);
    AddFlag(*pList, "--show-passwords", pOptions->bPassword, "Passwords in clear");

    CLI::App* const pDelete = AddAction(*pCommand, oContext, pOptions, "delete",
                                        "Delete an item and its password, or a whole section", RunSettingsDelete);
    pDelete->add_option("SECTION", pOptions->szSection, kSection)->required();
    pDelete->add_option("ITEM", pOptions->szItem, kItem);
    AddForce(*pDelete, *pOptions);
}
