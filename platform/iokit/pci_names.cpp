#include "platform/iokit/pci_names.h"

#include <cstdio>
#include <fstream>

namespace {

constexpr char const* kLists[] = {"/usr/share/misc/pci.ids", "/usr/share/hwdata/pci.ids", "/usr/share/pci.ids"};

// "8086" as such a list writes it.
std::string Hex(std::uint32_t nNumber) {
    char sz[16];
    std::snprintf(sz, sizeof sz, "%04x", nNumber);
    return sz;
}

// The list has a line "8086  Vendor", and below it, behind a tab, its devices: "\t1237  Device".
std::string FindIn(std::istream& oList, std::string const& szVendorId, std::string const& szDeviceId) {
    std::string szVendor;
    for (std::string szLine; std::getline(oList, szLine);) {
        if (szLine.empty() || szLine[0] == '#')
            continue;
        if (szLine[0] != '\t') {
            if (!szVendor.empty())
                break;
            if (szLine.starts_with(szVendorId + "  "))
                szVendor = szLine.substr(szVendorId.size() + 2);
        } else if (!szVendor.empty() && szLine.starts_with("\t" + szDeviceId + "  "))
            return szVendor + " " + szLine.substr(szDeviceId.size() + 3);
    }
    return "";
}

} // namespace

std::string PciDeviceName(std::uint32_t nVendor, std::uint32_t nDevice) {
    for (char const* szPath : kLists) {
        std::ifstream oList(szPath);
        if (std::string szName = FindIn(oList, Hex(nVendor), Hex(nDevice)); !szName.empty())
            return szName;
    }
    return "PCI device " + Hex(nVendor) + ":" + Hex(nDevice);
}
