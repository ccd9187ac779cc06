// Fails every test that leaves a descriptor open or a thread running that was not there before it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

// What /proc says of this process, in a form that two moments can be compared by.
struct ProcessCounts {
    std::vector<std::string> lDescriptors; // "7 socket:[1234]", in order of number
    int nThreads = 0;

    static ProcessCounts Now();
};

// Installed by the harness's main(). A test that hands its work to the platform's pools need not wait for them: the
// check gives threads that are on their way out twenty seconds to be gone before it calls them leaked.
class LeakCheck : public testing::EmptyTestEventListener {
public:
    void OnTestStart(testing::TestInfo const&) override;
    void OnTestEnd(testing::TestInfo const&) override;

private:
    ProcessCounts oBefore;
};
