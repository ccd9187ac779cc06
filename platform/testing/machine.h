// Test door: another machine than the one that the tests run on, and calls about it that fail.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct PlatformDevice {
    enum Model { kModelData, kModelText, kNoModel };

    std::string szIOName; // "": it has none
    std::string szModel;  // bytes, or text, as oModel says
    Model oModel = kModelData;
    bool bUnreadable = false; // its properties can't be had
};

// What is left as it is here is the real machine's.
struct PlatformMachine {
    // By the name of sysctlbyname: the answer's bytes, with a text's NUL; or nothing, for ENOENT.
    std::map<std::string, std::optional<std::string>> lControls;
    std::optional<std::vector<PlatformDevice>> lDevices; // all PCI devices
    bool bRegistryFails = false;                         // no device can be looked up
    std::optional<std::uint64_t> nVirtualSize;           // of this task, bytes
    std::optional<std::uint32_t> nFreePages;
    std::optional<std::uint32_t> nInactivePages;
    std::optional<std::uint32_t> nPurgeablePages;
    bool bTaskInfoFails = false;
    bool bHostStatisticsFails = false;
    bool bHostPageSizeFails = false;
};

// From now on, in this process. Any thread.
void PlatformSetMachine(PlatformMachine oMachine);
// The real machine again.
void PlatformResetMachine();
