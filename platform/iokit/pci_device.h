// The machine's PCI devices, as the kernel lists them, or as a test does.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct PciDevice {
    std::string szIOName; // "" for none
    std::string szModel;  // with its NUL
    bool bModelIsText = false;
    bool bReadable = true;
    std::uint32_t nClass = 0; // 24 bits: class, subclass, programming interface
    std::uint32_t nVendor = 0;
    std::uint32_t nDevice = 0;
};

// In the order of their addresses; nothing when they can't be listed.
std::optional<std::vector<PciDevice>> ListPciDevices();
