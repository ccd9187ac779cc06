#include "tools/settings/settings_command.h"

#include "tools/process/failure.h"
#include "tools/settings/typed_value.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <thread>

namespace {

// Programs read a file for a moment, and a change that meets them is lost: it is made again until it is there.
constexpr int kMostAttempts = 20;
constexpr std::chrono::milliseconds kBetweenAttempts(50);

std::string NameOf(SettingsOptions const& oOptions) {
    return *oOptions.szSection + (oOptions.szItem ? "/" + *oOptions.szItem : "");
}

std::unique_ptr<SettingsStore> Open(SettingsOptions const& oOptions) {
    auto pStore = OpenSettings(oOptions.nPlace);
    if (oOptions.szSection)
        pStore->CheckSection(*oOptions.szSection);
    if (oOptions.szItem)
        pStore->CheckItem(*oOptions.szItem);
    return pStore;
}

// The text as one line that a terminal obeys nothing of: control characters, U+0080 to U+009F too, as their bytes'
// codes.
std::string Harmless(std::string const& szText) {
    std::string szLine;
    for (std::size_t n = 0; n < szText.size(); ++n) {
        auto const ByteAt = [&](std::size_t nAt) {
            return static_cast<unsigned char>(nAt < szText.size() ? szText[nAt] : 0);
        };
        unsigned char const c = ByteAt(n), cNext = ByteAt(n + 1);
        bool const bPair = c == 0xC2 && cNext >= 0x80 && cNext < 0xA0;
        char szCode[12] = {szText[n], '\0'};
        if (c == '\n' || c == '\t')
            std::snprintf(szCode, sizeof szCode, "\\%c", c == '\n' ? 'n' : 't');
        else if (bPair)
            std::snprintf(szCode, sizeof szCode, "\\x%02X\\x%02X", c, cNext);
        else if (c < ' ' || c == 0x7F)
            std::snprintf(szCode, sizeof szCode, "\\x%02X", c);
        szLine += szCode;
        n += bPair;
    }
    return szLine;
}

// The same for values and names, of which a backslash may be a part.
std::string OneLine(std::string szValue) {
    for (std::size_t n = 0; (n = szValue.find('\\', n)) != std::string::npos; n += 2)
        szValue.insert(n, 1, '\\');
    return Harmless(szValue);
}

void WarnOfDamage(SettingsStore const& oStore) {
    if (std::string const szDamage = oStore.Damage(); !szDamage.empty())
        std::fprintf(stderr, "lumora settings: %s can be read only as far as there is no error: %s\n",
                     oStore.Where().c_str(), Harmless(szDamage).c_str());
}

void RefuseDamage(SettingsStore const& oStore, bool bForce) {
    if (std::string const szDamage = oStore.Damage(); !szDamage.empty() && !bForce)
        throw Failure(ExitCode::Input, "there is an error in " + oStore.Where() +
                                           ", and a change would drop what can't " + "be read: " + Harmless(szDamage) +
                                           "\nRepair the file, or say --force.");
}

void Change(SettingsStore& oStore, std::function<bool()> const& Do, std::function<bool()> const& IsDone) {
    std::signal(SIGXFSZ, SIG_IGN); // a limit on files is to be a file that can't be written
    for (int n = 0; n < kMostAttempts; ++n) {
        if (n > 0)
            std::this_thread::sleep_for(kBetweenAttempts);
        if (Do() && IsDone())
            return;
    }
    throw Failure(ExitCode::Output,
                  "the change did not arrive in " + oStore.Where() + ": " + oStore.WhyNotWritten() + ".");
}

[[noreturn]] void SayThatThereIsNone(SettingsStore const& oStore, SettingsOptions const& oOptions) {
    std::string szHint;
    if (oOptions.szItem && oStore.Get(*oOptions.szSection, *oOptions.szItem, !oOptions.bPassword))
        szHint = oOptions.bPassword ? " There is a plain value: leave --password out."
                                    : " There is a password: say --password to see it.";
    throw Failure(ExitCode::Input, std::string("there is no ") + (oOptions.bPassword ? "password " : "setting ") +
                                       NameOf(oOptions) + " in " + oStore.Where() + "." + szHint);
}

} // namespace

int RunSettingsGet(SettingsOptions const& oOptions) {
    auto const pStore = Open(oOptions);
    WarnOfDamage(*pStore);
    auto const szValue = pStore->Get(*oOptions.szSection, *oOptions.szItem, oOptions.bPassword);
    if (!szValue)
        SayThatThereIsNone(*pStore, oOptions);
    std::printf("%s\n", szValue->c_str());
    return static_cast<int>(ExitCode::Success);
}

int RunSettingsList(SettingsOptions const& oOptions) {
    auto const pStore = Open(oOptions);
    WarnOfDamage(*pStore);
    if (oOptions.szSection && !pStore->Has(*oOptions.szSection, std::nullopt))
        SayThatThereIsNone(*pStore, oOptions);
    for (Setting const& oSetting : pStore->List())
        if (!oOptions.szSection || pStore->IsIn(*oOptions.szSection, oSetting))
            std::printf("%s/%s%s = %s\n", OneLine(oSetting.szSection).c_str(), OneLine(oSetting.szItem).c_str(),
                        oSetting.bPassword ? " (password)" : "",
                        oSetting.bPassword && !oOptions.bPassword ? "********" : OneLine(oSetting.szValue).c_str());
    return static_cast<int>(ExitCode::Success);
}

int RunSettingsSet(SettingsOptions const& oOptions) {
    auto const pStore = Open(oOptions);
    Setting oSetting{*oOptions.szSection, *oOptions.szItem, "", oOptions.bPassword};
    RefuseDamage(*pStore, oOptions.bForce);
    oSetting.szValue = oOptions.szValue
                           ? *oOptions.szValue
                           : ReadTypedValue((oOptions.bPassword ? "Password " : "Value of ") + NameOf(oOptions) + ": ",
                                            oOptions.bPassword);
    if (!oSetting.bPassword)
        pStore->CheckValue(oSetting.szValue);
    RefuseDamage(*pStore, oOptions.bForce); // somebody may have taken a while to type
    Change(
        *pStore, [&] { return pStore->Set(oSetting); },
        [&] { return pStore->Get(oSetting.szSection, oSetting.szItem, oSetting.bPassword) == oSetting.szValue; });
    return static_cast<int>(ExitCode::Success);
}

int RunSettingsDelete(SettingsOptions const& oOptions) {
    auto const pStore = Open(oOptions);
    RefuseDamage(*pStore, oOptions.bForce);
    if (!pStore->Has(*oOptions.szSection, oOptions.szItem))
        SayThatThereIsNone(*pStore, oOptions);
    Change(
        *pStore, [&] { return pStore->Delete(*oOptions.szSection, oOptions.szItem); },
        [&] { return !pStore->Has(*oOptions.szSection, oOptions.szItem); });
    return static_cast<int>(ExitCode::Success);
}
