// Everything at once, for the thread sanitizer, and for what must hold afterwards.
#include "tests/driver/driver_test.h"

#include "driver/state/state.h"
#include "platform/testing/objects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <functional>
#include <thread>

namespace {

constexpr int kRounds = 400;

} // namespace

TEST_F(Driver, ServesManyThreadsAtOnce) {
    long const nObjects = PlatformCountLiveObjects();
    std::atomic<bool> bGo{false};
    auto const read = [&](int) {
        for (auto const& [nObject, nSelector] : std::initializer_list<std::pair<UInt32, UInt32>>{{1, 'ownd'},
                                                                                                 {1, 'dev#'},
                                                                                                 {2, 'bxon'},
                                                                                                 {2, 'bdv#'},
                                                                                                 {3, 'nsrt'},
                                                                                                 {3, 'goin'},
                                                                                                 {8, 'sfmt'},
                                                                                                 {8, 'sact'},
                                                                                                 {9, 'lcsv'},
                                                                                                 {9, 'lcdv'},
                                                                                                 {10, 'bcvl'},
                                                                                                 {11, 'scci'},
                                                                                                 {12, 'scci'}}) {
            EXPECT_EQ(Get(nObject, At(nSelector), 40).nStatus, 0);
            EXPECT_EQ(Size(nObject, At(nSelector)).nStatus, 0);
        }
        TakeText(Get(2, At('lnam'), 8).lBytes);
    };
    auto const set = [&](int n) {
        UInt32 const nItem = static_cast<UInt32>(n % 4);
        CFStringRef const szName = CFStringCreateWithFormat(nullptr, nullptr, CFSTR("Box %d"), n);
        EXPECT_EQ(Set(2, 'lnam', Ref(szName)), 0);
        CFRelease(szName);
        EXPECT_EQ(Set(2, 'bxon', U({nItem & 1})), 0);
        EXPECT_EQ(Set(9, 'lcsv', F(static_cast<Float32>(nItem) / 4)), 0);
        EXPECT_EQ(Set(9, 'lcdv', F(static_cast<Float32>(-n % 96))), 0);
        EXPECT_EQ(Set(10, 'bcvl', U({nItem & 1})), 0);
        EXPECT_EQ(Set(11, 'scci', U({nItem})), 0);
        EXPECT_EQ(Set(8, 'sact', U({nItem & 1})), 0);
        EXPECT_EQ((*pDriver)->PerformDeviceConfigurationChange(pDriver, 3, n % 2 ? 48000 : 44100, nullptr), 0);
    };
    auto const startAndStop = [&](int) {
        EXPECT_EQ((*pDriver)->StartIO(pDriver, 3, 1), 0);
        EXPECT_EQ((*pDriver)->StopIO(pDriver, 3, 1), 0);
        (*pDriver)->AddRef(pDriver);
        (*pDriver)->Release(pDriver);
    };
    auto const cycle = [&](int) {
        Float64 nSampleTime = 0;
        UInt64 nHostTime = 0, nSeed = 0;
        float lBuffer[64] = {};
        EXPECT_EQ((*pDriver)->GetZeroTimeStamp(pDriver, 3, 1, &nSampleTime, &nHostTime, &nSeed), 0);
        EXPECT_EQ((*pDriver)->DoIOOperation(pDriver, 3, 8, 1, 'rite', 32, nullptr, lBuffer, nullptr), 0);
    };
    std::vector<std::thread> lThreads;
    for (std::function<void(int)> const& work :
         {std::function<void(int)>(read), {set}, {set}, {startAndStop}, {startAndStop}, {cycle}})
        lThreads.emplace_back([&bGo, work] {
            while (!bGo)
                std::this_thread::yield();
            for (int n = 0; n < kRounds; ++n)
                work(n);
        });
    bGo = true;
    for (auto& oThread : lThreads)
        oThread.join();
    oHost.TakeEvents();

    EXPECT_EQ(gVADRefCount, 0u);
    EXPECT_EQ(gVADIORunningCount, 0u);
    EXPECT_EQ(oHost.Stored("box acquired"), gVADBoxAcquired ? kCFBooleanTrue : kCFBooleanFalse)
        << "storage and state parted";
    EXPECT_EQ(Set(2, 'lnam', Ref(nullptr)), 0);
    EXPECT_EQ(PlatformCountLiveObjects(), nObjects);
}
