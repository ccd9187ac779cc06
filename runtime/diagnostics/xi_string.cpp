#include "runtime/diagnostics/xi_string.h"

#include "base/fixed_text.h"
#include "runtime/diagnostics/debug_thread.h"
#include "runtime/machine/os_version.h"

namespace {

// Commands 1 to 4; a fifth is one that is not known, and says which came before it.
constexpr char const* kCommands[] = {"GloIni1", "GuiIni2", "GuiDes3", "GloDes4"};
constexpr std::uint32_t kUnknownCommand = 5;

void AddCommand(LFixedWriter& oOut) noexcept {
    auto const Number = [](std::uint32_t dwCommand) { return static_cast<std::int32_t>(dwCommand); };
    std::uint32_t const dwCommand = gwDebugCurrentCommand;
    if (dwCommand >= 1 && dwCommand < kUnknownCommand)
        oOut.Add(kCommands[dwCommand - 1]);
    else if (dwCommand == kUnknownCommand)
        oOut.Add("Ukn0(LstCmd").AddSigned(Number(gwDebugLastCommand)).Add(')');
    else
        oOut.Add("(Cmd").AddSigned(Number(dwCommand)).Add(')');
}

void AddThread(LFixedWriter& oOut) noexcept {
    {
        LScopedLock const oLock(loDebugThreads);
        LDebugThreadData const* const pThread = LDebugThreadFindData();
        bool const bNamedByNumber = pThread && pThread->szName[0] >= '0' && pThread->szName[0] <= '9';
        oOut.Add(!pThread ? "Unknown" : bNamedByNumber ? "" : pThread->szName);
        oOut.Add(pThread ? pThread->szLastDialog : "");
    }
    if (LIsMainThread())
        AddCommand(oOut);
}

} // namespace

void LDebugGenerateXIString(char* szOut, char const* szPrefix, char const* szReason) noexcept {
    int nMajor = 0;
    int nMinor = 0;
    LGetOSVersion(&nMajor, &nMinor, nullptr);
    LFixedWriter oOut(szOut, kLNameSize);
    oOut.Add(szPrefix ? szPrefix : "").Add("-MacIntel").AddSigned(nMajor).AddNumber(static_cast<unsigned>(nMinor), 2);
    oOut.Add('-').Add(szReason ? szReason : "").Add('-');
    AddThread(oOut);
}
