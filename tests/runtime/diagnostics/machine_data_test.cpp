#include "platform/testing/machine.h"
#include "runtime/diagnostics/machine_data.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <set>
#include <string>

namespace {

using Writer = LFixedLengthStringWriterTemplate<char>;

std::string Bytes(std::uint64_t n) {
    return {reinterpret_cast<char const*>(&n), sizeof n};
}

struct MachineData : testing::Test {
    ~MachineData() override { PlatformResetMachine(); }

    void Set(std::string const& szBrand, std::vector<PlatformDevice> lDevices) {
        PlatformMachine oMachine;
        oMachine.lControls = {{"hw.memsize", Bytes((16384ull << 20) + 5)},
                              {"machdep.cpu.brand_string", szBrand + '\0'}};
        oMachine.lDevices = std::move(lDevices);
        PlatformSetMachine(oMachine);
    }
    std::string const szCPUs = std::to_string(sysconf(_SC_NPROCESSORS_CONF));
};

TEST_F(MachineData, NamesMemoryProcessorAndDisplays) {
    Set("CPU", {{"display", "first model"}, {"display", "second model"}});
    char szText[1000];
    Writer oText(szText);
    oText.Add("so far");
    LDebugGetMachineDataForBugReport(oText);
    EXPECT_EQ(oText.Text(),
              "so far&memphys=16384&cpu=CPU (" + szCPUs + " CPUs)&disp=GPU0:first modelGPU1:second model");

    PlatformMachine oNothing;
    oNothing.lControls = {{"hw.memsize", std::nullopt}, {"machdep.cpu.brand_string", std::nullopt}};
    oNothing.bRegistryFails = true;
    PlatformSetMachine(oNothing);
    Writer oEmpty(szText);
    LDebugGetMachineDataForCrashReport(oEmpty, -3, 7);
    EXPECT_EQ(oEmpty.Text(), "memfrhp=-3&memfrlg=7&&memphys=0&cpu= (" + szCPUs + " CPUs)&disp=");
}

TEST_F(MachineData, EscapesAllButAFewBytes) {
    Set("=~ \u00e9/!-._\x01Zz", {});
    char szOut[kLMachineDataSize];
    LDebugGetMachineDataForBugReport(szOut);
    EXPECT_EQ(szOut, "%26memphys%3D16384%26cpu%3D%3D~%20%C3%A9%2F!-._%01Zz%20%28" + szCPUs + "%20CPUs%29%26disp%3D");
    LDebugGetMachineDataForCrashReport(szOut, 1, 2);
    EXPECT_EQ(std::string(szOut).substr(0, 51), "memfrhp%3D1%26memfrlg%3D2%26%26memphys%3D16384%26cp");
}

TEST_F(MachineData, IsCutAtItsBuffersAlsoInsideAnEscape) {
    std::string szModel;
    while (szModel.size() < 258)
        szModel += "\u00e9";
    std::set<std::size_t> lLastEscapes; // how many characters of the last escape came through
    for (std::size_t nFiller = 0; nFiller < 3; ++nFiller) {
        Set(std::string(nFiller, 'x'), std::vector<PlatformDevice>(40, {"display", szModel}));
        std::string szOut(kLMachineDataSize + 2, '#');
        LDebugGetMachineDataForCrashReport(szOut.data(), 1, 2);
        EXPECT_EQ(szOut.find('\0'), kLMachineDataSize - 1);
        EXPECT_EQ(szOut.substr(kLMachineDataSize), "##");
        lLastEscapes.insert(kLMachineDataSize - 1 - szOut.rfind('%'));
    }
    EXPECT_EQ(lLastEscapes, (std::set<std::size_t>{1, 2, 3}));

    char szSmall[30]; // the plain text's own buffer
    Writer oSmall(szSmall);
    LDebugGetMachineDataForCrashReport(oSmall, 1, 2);
    EXPECT_STREQ(szSmall, "memfrhp=1&memfrlg=2&&memphys=");
    EXPECT_TRUE(oSmall.WasCut());
}

} // namespace
