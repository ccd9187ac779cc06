#include "runtime/diagnostics/debug_output.h"
#include "runtime/diagnostics/debug_thread.h"
#include "runtime/diagnostics/stack_walker.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

// Each adds a frame of its own: what it returns depends on what it called.
struct Dump {
    std::string szText;
    bool bMade = false;
};

[[gnu::noinline]] Dump Innermost(LStackWalker& oWalker, bool bBanner) {
    LStringLong szText;
    szText.Append("from before");
    Dump oDump;
    oDump.bMade = oWalker.GetCallStackString(szText, 7, nullptr, bBanner);
    oDump.szText = szText.GetString();
    return oDump;
}
[[gnu::noinline]] Dump LDebugTrace(LStackWalker& oWalker, bool bBanner) {
    Dump oDump = Innermost(oWalker, bBanner);
    oDump.bMade = oDump.bMade && !oDump.szText.empty();
    return oDump;
}
[[gnu::noinline]] Dump WriteLogLine(LStackWalker& oWalker, bool bBanner) {
    LStringLong szText;
    Dump oDump;
    oDump.bMade = oWalker.GetCallStackString(szText, 0, &szText, bBanner);
    oDump.szText = szText.GetString();
    return oDump;
}
[[gnu::noinline]] Dump Caller(LStackWalker& oWalker, bool bBanner) {
    Dump oDump = WriteLogLine(oWalker, bBanner);
    oDump.bMade = oDump.bMade && !oDump.szText.empty();
    return oDump;
}

namespace {

std::vector<std::string> Lines(std::string const& szText) {
    std::vector<std::string> lLines;
    std::istringstream oText(szText);
    for (std::string szLine; std::getline(oText, szLine);)
        lLines.push_back(szLine);
    return lLines;
}

bool Has(std::string const& szLine, char const* szWhat) {
    return szLine.find(szWhat) != szLine.npos;
}

constexpr char kRule[] = "---------------------------------------------\n";

std::string WithBanner(std::string const& szWho, std::string const& szLines) {
    return "\n" + (kRule + ("Stack Dump Begin for Thread" + szWho) + "\n" + kRule) + szLines + "\n" + kRule +
           "Stack Dump Complete\n" + kRule;
}

TEST(StackWalker, WritesTheCallersFrames) {
    LStackWalker oAll;
    Dump const oDump = LDebugTrace(oAll, false);
    auto const lLines = Lines(oDump.szText);
    ASSERT_TRUE(oDump.bMade);
    ASSERT_GT(lLines.size(), 3u);
    EXPECT_TRUE(std::regex_match(
        lLines[0],
        std::regex(
            "1   tests_runtime_diagnostics {11}0x[0-9a-f]{16} Innermost\\(LStackWalker&, bool\\) \\+ [1-9][0-9]*")))
        << lLines[0];
    EXPECT_TRUE(Has(lLines[1], "LDebugTrace(")); // behind the first line of another kind nothing is left out
    EXPECT_TRUE(Has(lLines[2], "StackWalker_WritesTheCallersFrames_Test"));
    EXPECT_NE(oDump.szText.back(), '\n');

    for (std::uint64_t nMost : {1, 2, 3}) {
        LStackWalker oFew(nMost);
        EXPECT_EQ(Lines(LDebugTrace(oFew, false).szText).size(), nMost);
    }
    LStackWalker oOne(1);
    EXPECT_TRUE(Has(Caller(oOne, false).szText, " Caller(")) << "logging's own frames come first";
}

TEST(StackWalker, NamesTheThreadInItsBanner) {
    LStackWalker oOne(1);
    auto const Check = [&](std::string const& szWho) {
        Dump const oDump = LDebugTrace(oOne, true);
        EXPECT_EQ(oDump.szText, WithBanner(szWho, Lines(oDump.szText).at(4)));
    };
    LDebugThreadDataStartThread("Name");
    Check(": MAIN");
    LDebugThreadDataStopThread();
    std::thread([&] {
        Check(" ID: " + std::to_string(pthread_mach_thread_np(pthread_self())));
        LDebugThreadDataStartThread("Worker");
        Check(": Work");
        LDebugThreadSetName("");
        Check(" ID: " + std::to_string(pthread_mach_thread_np(pthread_self())));
        LDebugThreadDataStopThread();
    }).join();
}

TEST(DebugOutput, GoesToStandardErrorCutAndAtOnce) {
    testing::internal::CaptureStderr();
    OutputDebugStringF("%s %d|", "text", 5);
    OutputDebugStringF("%s", std::string(600, 'x').c_str());
    LRDFAULT("not");
    LRDFAULT("this", 3);
    LRDFAULTF("%s", "either");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "text 5|" + std::string(511, 'x'));
}

} // namespace
