// What PCI devices are called.
#pragma once

#include <cstdint>
#include <string>

// "Vendor Device" from the machine's pci.ids, else "PCI device 8086:1237".
std::string PciDeviceName(std::uint32_t nVendor, std::uint32_t nDevice);
