#include "runtime/diagnostics/stack_walker.h"

#include "base/cf_ref.h"
#include "base/fixed_text.h"
#include "runtime/diagnostics/debug_thread.h"
#include "settings/cf_string.h"

#include <Foundation/Foundation.h>
#include <pthread.h>

#include <limits>

namespace {

#define RULE "---------------------------------------------\n"
constexpr char kBegin[] = "\n" RULE "Stack Dump Begin for Thread";
constexpr char kBeginEnd[] = "\n" RULE;
constexpr char kComplete[] = "\n" RULE "Stack Dump Complete\n" RULE;
#undef RULE

void AddBanner(LStringLong& szOut) noexcept {
    LDebugThreadData const* const pThread = LDebugThreadFindData();
    szOut.Append(kBegin);
    if (LIsMainThread())
        szOut.Append(": MAIN");
    else if (pThread && pThread->szName[0])
        szOut.Append(": ") && szOut.Append(pThread->szName);
    else {
        char szNumber[24];
        LFixedWriter(szNumber).AddNumber(pthread_mach_thread_np(pthread_self()));
        szOut.Append(" ID: ") && szOut.Append(szNumber);
    }
    szOut.Append(kBeginEnd);
}

// False when there is no memory.
bool GetLine(CFArrayRef lines, CFIndex nLine, LStringLong& szLine) noexcept {
    auto const line = static_cast<CFStringRef>(CFArrayGetValueAtIndex(lines, nLine));
    return LCFString(static_cast<CFStringRef>(CFRetain(line))).GetString(szLine);
}

bool IsOfLogging(LStringLong const& szLine) noexcept {
    return szLine.View().find("LDebug") != std::string_view::npos ||
           szLine.View().find("Log") != std::string_view::npos;
}

void AddLines(CFArrayRef lines, std::uint64_t nMost, LStringLong& szOut) noexcept {
    LStringLong szLine;
    CFIndex const nLines = CFArrayGetCount(lines);
    CFIndex nLine = 1;
    while (nLine < nLines && GetLine(lines, nLine, szLine) && IsOfLogging(szLine))
        ++nLine;
    for (std::uint64_t nWritten = 0; nLine < nLines && nWritten < nMost; ++nWritten, ++nLine) {
        if (!GetLine(lines, nLine, szLine))
            return;
        if (nWritten > 0)
            szOut.AppendChar('\n');
        szOut.Append(szLine.View());
    }
}

} // namespace

// Its own frame is the first line of the list.
[[gnu::noinline]] bool LStackWalker::GetCallStackString(LStringLongTemplate<char>& szOut, unsigned int, void*,
                                                        bool bWithBanner) noexcept {
    szOut.Empty();
    NSAutoreleasePool const oPool;
    LCFOwner<CFArrayRef> const lines(NSThread::callStackSymbols());
    if (!lines || CFArrayGetCount(lines.Get()) < 2)
        return false;
    if (bWithBanner)
        AddBanner(szOut);
    AddLines(lines.Get(), nMaxFrames ? nMaxFrames : std::numeric_limits<std::uint64_t>::max(), szOut);
    if (bWithBanner)
        szOut.Append(kComplete);
    return true;
}
