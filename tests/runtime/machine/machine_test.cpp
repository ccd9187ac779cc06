#include "base/string_list.h"
#include "platform/testing/iokit.h"
#include "platform/testing/machine.h"
#include "platform/testing/objects.h"
#include "runtime/machine/cpu.h"
#include "runtime/machine/gpu.h"
#include "runtime/machine/memory.h"
#include "runtime/machine/os_version.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr std::uint64_t kMiB = 1 << 20;
constexpr std::uint64_t kUnlimited = RLIM_INFINITY;

struct FakedMachine : testing::Test {
    ~FakedMachine() override { PlatformResetMachine(); }
};
using Memory = FakedMachine;
using Machine = FakedMachine;

// A soft limit for the length of a scope.
template <class Resource>
class SoftLimit {
public:
    SoftLimit(Resource oWhich, std::uint64_t nLimit) : oResource(oWhich) {
        getrlimit(oResource, &oBefore);
        rlimit const oNew{std::min<rlim_t>(nLimit, oBefore.rlim_max), oBefore.rlim_max};
        setrlimit(oResource, &oNew);
    }
    ~SoftLimit() { setrlimit(oResource, &oBefore); }

private:
    Resource const oResource;
    rlimit oBefore;
};

TEST_F(Memory, HeapIsTheSmallerOfLimitAndMachineAsSignedNumbers) {
    auto const nPage = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    struct Row {
        char const* szWhat;
        std::uint64_t nDataLimit, nSpaceLimit, nVirtual, nAvailable;
        std::int64_t nHeap;
        bool bTaskFails;
    };
    std::uint64_t const kFree = 100'000 * nPage; // and as much is inactive and can be dropped together
    Row const lRows[] = {
        {"no limit", kUnlimited, kUnlimited, kMiB, 2 * kFree, std::int64_t(2 * kFree), false},
        {"data limit", 900 * kMiB, kUnlimited, 600 * kMiB, 2 * kFree, 300 * kMiB, false},
        {"past the data limit", 900 * kMiB, kUnlimited, 901 * kMiB, 2 * kFree, -std::int64_t(kMiB), false},
        {"address space", kUnlimited, 1u << 30, (1u << 30) - kMiB, kMiB, kMiB, false},
        {"past the address space", kUnlimited, 1u << 30, (1u << 30) + kMiB, 0, 0, false},
        {"task can't be asked", 700 * kMiB, kUnlimited, 0, 2 * kFree, 700 * kMiB, true},
    };
    for (Row const& oRow : lRows) {
        SCOPED_TRACE(oRow.szWhat);
        PlatformMachine oMachine;
        oMachine.nFreePages = 100'000;
        oMachine.nInactivePages = 60'000;
        oMachine.nPurgeablePages = 40'000;
        oMachine.nVirtualSize = oRow.nVirtual;
        oMachine.bTaskInfoFails = oRow.bTaskFails;
        PlatformSetMachine(oMachine);
        std::uint64_t nHeap, nAvailable, nFree;
        {
            SoftLimit const oData(RLIMIT_DATA, oRow.nDataLimit);
            SoftLimit const oSpace(RLIMIT_AS, oRow.nSpaceLimit);
            nHeap = LMemoryGetFreeHeapSize(); // nothing may allocate meanwhile
            nAvailable = LMemoryGetAvailableVirtualMemorySize();
            nFree = LMemoryGetLargestFreeRegionSize();
        }
        EXPECT_EQ(nAvailable, oRow.nAvailable);
        EXPECT_EQ(std::int64_t(nHeap), oRow.nHeap);
        EXPECT_EQ(nFree, kFree);
    }
}

TEST_F(Memory, WhatCantBeAskedIsNothing) {
    for (auto pFails : {&PlatformMachine::bHostStatisticsFails, &PlatformMachine::bHostPageSizeFails}) {
        PlatformMachine oMachine;
        oMachine.*pFails = true;
        PlatformSetMachine(oMachine);
        EXPECT_EQ(LMemoryGetLargestFreeRegionSize(), 0u);
        EXPECT_EQ(LMemoryGetAvailableVirtualMemorySize(), 0u);
        EXPECT_EQ(LMemoryGetFreeHeapSize(), 0u);
    }
    PlatformMachine oMachine;
    oMachine.lControls["hw.memsize"] = std::nullopt;
    PlatformSetMachine(oMachine);
    EXPECT_EQ(LMemoryGetPhysicalMemorySize(), 0u);
    PlatformResetMachine();
    auto const nInstalled = static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES) * sysconf(_SC_PAGESIZE));
    EXPECT_EQ(LMemoryGetPhysicalMemorySize(), nInstalled);
    EXPECT_LT(LMemoryGetLargestFreeRegionSize(), nInstalled);
    EXPECT_GT(LMemoryGetLargestFreeRegionSize(), 0u);
}

TEST_F(Machine, NamesProcessorAndSystem) {
    std::string const szLong(258, 'x');
    struct {
        std::optional<std::string> oBrand;
        std::string szExpected;
    } const lBrands[] = {{std::string("Some CPU @ 2 GHz\0", 17), "Some CPU @ 2 GHz"},
                         {szLong + "\u00e9z" + '\0', szLong},
                         {std::nullopt, ""}};
    for (auto const& oRow : lBrands) {
        PlatformMachine oMachine;
        oMachine.lControls["machdep.cpu.brand_string"] = oRow.oBrand;
        PlatformSetMachine(oMachine);
        char szName[260] = "not emptied";
        LMachineGetCPUDescription(szName);
        EXPECT_EQ(szName, oRow.szExpected);
    }
    struct {
        std::optional<std::string> oVersion;
        int nMajor, nMinor, nBugFix;
    } const lVersions[] = {{std::string("10.15.7\0", 8), 10, 15, 7},
                           {std::string("11.2\0", 5), 11, 2, 0},
                           {std::string("12\0", 3), 12, 0, 0},
                           {std::string("x.1\0", 4), 0, 0, 0},
                           {std::string("99999999999.1\0", 14), 0, 0, 0},
                           {std::nullopt, 0, 0, 0}};
    for (auto const& oRow : lVersions) {
        PlatformMachine oMachine;
        oMachine.lControls["kern.osproductversion"] = oRow.oVersion;
        PlatformSetMachine(oMachine);
        int nMajor = -1, nMinor = -1, nBugFix = -1;
        EXPECT_EQ(LGetOSVersion(&nMajor, &nMinor, &nBugFix), oRow.oVersion.has_value());
        EXPECT_EQ(nMajor, oRow.nMajor);
        EXPECT_EQ(nMinor, oRow.nMinor);
        EXPECT_EQ(nBugFix, oRow.nBugFix);
    }
}

TEST_F(Machine, ListsWhatShowsPictures) {
    std::string const szLong(258, 'm');
    PlatformMachine oMachine;
    oMachine.lDevices = {{"pci8086,1237", "a bridge"},
                         {"display", std::string("First model\0", 12)},
                         {"display", "gone", PlatformDevice::kModelData, true},
                         {"DISPLAY", szLong + "\u00e9"},
                         {"display", "a text", PlatformDevice::kModelText},
                         {"display", "", PlatformDevice::kNoModel},
                         {"display", "bad \xff"},
                         {"", "without a name"},
                         {"Display", "Last"}};
    PlatformSetMachine(oMachine);
    long const nObjects = PlatformCountLiveObjects();
    LStringListTemplate<char> lNames;
    lNames.Add("from before");
    LMachineGetGPUDescriptions(lNames);
    std::vector<std::string> lSeen;
    lNames.ForEach([&](LStringLong const& szName) { lSeen.push_back(szName.GetString()); });
    EXPECT_EQ(lSeen, (std::vector<std::string>{"First model", szLong, "Last"}));
    oMachine.bRegistryFails = true;
    PlatformSetMachine(oMachine);
    LMachineGetGPUDescriptions(lNames);
    EXPECT_TRUE(lNames.IsEmpty());
    EXPECT_EQ(PlatformCountLiveObjects(), nObjects);
    EXPECT_EQ(PlatformCountRegistryObjects(), 0);
}

} // namespace
