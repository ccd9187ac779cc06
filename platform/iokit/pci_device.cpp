#include "platform/iokit/pci_device.h"

#include "platform/iokit/pci_names.h"
#include "platform/machine/fake.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

constexpr char kDevices[] = "/sys/bus/pci/devices";
constexpr std::uint32_t kDisplayClass = 0x03; // the uppermost of a class code's three bytes

// The kernel writes "0x030000".
std::optional<std::uint32_t> ReadNumber(fs::path const& oPath) {
    std::ifstream oFile(oPath);
    std::uint32_t nNumber = 0;
    return oFile >> std::hex >> nNumber ? std::optional(nNumber) : std::nullopt;
}

PciDevice Read(fs::path const& oFolder) {
    PciDevice oDevice;
    auto const nClass = ReadNumber(oFolder / "class");
    auto const nVendor = ReadNumber(oFolder / "vendor");
    auto const nDevice = ReadNumber(oFolder / "device");
    oDevice.bReadable = nClass && nVendor && nDevice;
    if (!oDevice.bReadable)
        return oDevice; // taken out between the listing and now
    oDevice.nClass = *nClass;
    oDevice.nVendor = *nVendor;
    oDevice.nDevice = *nDevice;
    char szOther[32];
    std::snprintf(szOther, sizeof szOther, "pci%x,%x", *nVendor, *nDevice);
    oDevice.szIOName = *nClass >> 16 == kDisplayClass ? "display" : szOther;
    oDevice.szModel = PciDeviceName(*nVendor, *nDevice) + '\0';
    return oDevice;
}

PciDevice Made(PlatformDevice const& oFake) {
    PciDevice oDevice;
    oDevice.szIOName = oFake.szIOName;
    oDevice.szModel = oFake.oModel == PlatformDevice::kNoModel ? "" : oFake.szModel;
    oDevice.bModelIsText = oFake.oModel == PlatformDevice::kModelText;
    oDevice.bReadable = !oFake.bUnreadable;
    return oDevice;
}

std::optional<std::vector<PciDevice>> ListOfTest(PlatformMachine const& oFake) {
    if (!oFake.lDevices)
        return std::nullopt;
    std::vector<PciDevice> lDevices;
    std::transform(oFake.lDevices->begin(), oFake.lDevices->end(), std::back_inserter(lDevices), Made);
    return lDevices;
}

} // namespace

std::optional<std::vector<PciDevice>> ListPciDevices() {
    if (WithFakeMachine([](PlatformMachine const& oFake) { return oFake.bRegistryFails; }))
        return std::nullopt;
    if (auto lFaked = WithFakeMachine(ListOfTest))
        return lFaked;
    std::vector<fs::path> lFolders;
    std::error_code oError; // a machine without a PCI bus has no such folder, and no devices
    for (fs::directory_iterator it(kDevices, oError), end; !oError && it != end; it.increment(oError))
        lFolders.push_back(it->path());
    std::sort(lFolders.begin(), lFolders.end());
    std::vector<PciDevice> lDevices;
    std::transform(lFolders.begin(), lFolders.end(), std::back_inserter(lDevices), Read);
    return lDevices;
}
