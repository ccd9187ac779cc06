#include "tests/harness/leak_check.h"

int main(int nArguments, char** ppArguments) {
    testing::InitGoogleTest(&nArguments, ppArguments);
    testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck); // owned by the listener list
    return RUN_ALL_TESTS();
}
