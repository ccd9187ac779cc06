#include "tests/harness/leak_check.h"

#include "platform/testing/quiesce.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

ProcessCounts ProcessCounts::Now() {
    ProcessCounts oNow;
    std::error_code error;
    for (auto const& oEntry : fs::directory_iterator("/proc/self/fd", error)) {
        auto const szTarget = fs::read_symlink(oEntry.path(), error).string();
        if (!error && szTarget.find("/proc/") != 0) // not the listing's own descriptor
            oNow.lDescriptors.push_back(oEntry.path().filename().string() + " " + szTarget);
    }
    std::sort(oNow.lDescriptors.begin(), oNow.lDescriptors.end());
    for ([[maybe_unused]] auto const& oEntry : fs::directory_iterator("/proc/self/task", error))
        ++oNow.nThreads;
    return oNow;
}

void LeakCheck::OnTestStart(testing::TestInfo const&) {
    PlatformQuiesce();
    oBefore = ProcessCounts::Now();
}

void LeakCheck::OnTestEnd(testing::TestInfo const&) {
    using namespace std::chrono_literals;
    PlatformQuiesce();
    ProcessCounts oAfter = ProcessCounts::Now();
    for (int n = 0; n < 2000 && (oAfter.nThreads > oBefore.nThreads || oAfter.lDescriptors != oBefore.lDescriptors);
         ++n) {
        std::this_thread::sleep_for(10ms);
        oAfter = ProcessCounts::Now();
    }
    EXPECT_LE(oAfter.nThreads, oBefore.nThreads) << "the test left threads running";
    for (auto const& szDescriptor : oAfter.lDescriptors)
        if (!std::binary_search(oBefore.lDescriptors.begin(), oBefore.lDescriptors.end(), szDescriptor))
            ADD_FAILURE() << "the test left a descriptor open: " << szDescriptor;
}
