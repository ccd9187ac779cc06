#include "tests/harness/leak_check.h"

#include <thread>

int main(int nArguments, char** ppArguments) {
    std::thread([] {}).join(); // the thread sanitizer starts a thread of its own with the first: before anybody counts
    testing::InitGoogleTest(&nArguments, ppArguments);
    testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck); // owned by the listener list
    return RUN_ALL_TESTS();
}
