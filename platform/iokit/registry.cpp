#include <IOKit/IOKitLib.h>

#include "platform/corefoundation/object.h"
#include "platform/iokit/pci_device.h"
#include "platform/testing/iokit.h"

#include <array>
#include <map>
#include <mutex>
#include <variant>

using cf::Held;

namespace {

constexpr io_object_t kFirstName = 0x10003, kNameStep = 0x100; // away from the names of threads

struct Iterator {
    std::vector<PciDevice> lDevices;
    std::size_t nNext = 0;
};
using Object = std::variant<Iterator, PciDevice>;

// What callers hold, by name. Never destroyed: objects may be released while the process ends.
struct Registry {
    std::mutex mutex; // guards what follows; a leaf
    std::map<io_object_t, Object> objects;
    io_object_t nextName = kFirstName;

    static Registry& Get() {
        static Registry& registry = *new Registry;
        return registry;
    }

    // Under the mutex.
    io_object_t Enter(Object object) {
        io_object_t const name = nextName;
        nextName += kNameStep;
        objects.emplace(name, std::move(object));
        return name;
    }
    template <class Kind>
    Kind* Find(io_object_t name) {
        auto const it = objects.find(name);
        return it == objects.end() ? nullptr : std::get_if<Kind>(&it->second);
    }
};

Held<CFStringRef> Text(std::string const& szText) {
    return Held<CFStringRef>(CFStringCreateWithBytes(nullptr, reinterpret_cast<UInt8 const*>(szText.data()),
                                                     static_cast<CFIndex>(szText.size()), kCFStringEncodingUTF8,
                                                     false));
}

Held<CFDataRef> Data(void const* pBytes, std::size_t nBytes) {
    return Held<CFDataRef>(CFDataCreate(nullptr, static_cast<UInt8 const*>(pBytes), static_cast<CFIndex>(nBytes)));
}

void Set(CFMutableDictionaryRef properties, CFStringRef key, CFTypeRef value) {
    if (value)
        CFDictionarySetValue(properties, key, value);
}

void SetNumber(CFMutableDictionaryRef properties, CFStringRef key, std::uint32_t nNumber) {
    std::array<UInt8, 4> lBytes;
    for (std::size_t n = 0; n < lBytes.size(); ++n)
        lBytes[n] = static_cast<UInt8>(nNumber >> 8 * n);
    Set(properties, key, Data(lBytes.data(), lBytes.size()).Get());
}

CFMutableDictionaryRef MakeProperties(PciDevice const& oDevice) {
    CFMutableDictionaryRef const properties =
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    if (!oDevice.szIOName.empty())
        Set(properties, CFSTR("IOName"), Text(oDevice.szIOName).Get());
    if (oDevice.bModelIsText)
        Set(properties, CFSTR("model"), Text(oDevice.szModel).Get());
    else if (!oDevice.szModel.empty())
        Set(properties, CFSTR("model"), Data(oDevice.szModel.data(), oDevice.szModel.size()).Get());
    SetNumber(properties, CFSTR("class-code"), oDevice.nClass);
    SetNumber(properties, CFSTR("vendor-id"), oDevice.nVendor);
    SetNumber(properties, CFSTR("device-id"), oDevice.nDevice);
    return properties;
}

} // namespace

int PlatformCountRegistryObjects() {
    std::lock_guard const lock(Registry::Get().mutex);
    return static_cast<int>(Registry::Get().objects.size());
}

CFMutableDictionaryRef IOServiceMatching(char const* name) {
    CFMutableDictionaryRef const matching =
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    Set(matching, CFSTR("IOProviderClass"), Text(name).Get());
    return matching;
}

kern_return_t IOServiceGetMatchingServices(mach_port_t, CFDictionaryRef matching, io_iterator_t* existing) {
    if (!matching)
        return kIOReturnBadArgument;
    Held<CFDictionaryRef> const used(matching);
    auto const wanted = cf::As<CFStringRef>(CFDictionaryGetValue(matching, CFSTR("IOProviderClass")), cf::kTypeString);
    Iterator iterator;
    if (wanted && CFEqual(wanted, CFSTR("IOPCIDevice"))) {
        auto lDevices = ListPciDevices();
        if (!lDevices)
            return kIOReturnError;
        iterator.lDevices = std::move(*lDevices);
    }
    std::lock_guard const lock(Registry::Get().mutex);
    *existing = Registry::Get().Enter(std::move(iterator));
    return kIOReturnSuccess;
}

io_object_t IOIteratorNext(io_iterator_t iterator) {
    auto& registry = Registry::Get();
    std::lock_guard const lock(registry.mutex);
    auto* const pIterator = registry.Find<Iterator>(iterator);
    if (!pIterator || pIterator->nNext == pIterator->lDevices.size())
        return IO_OBJECT_NULL;
    return registry.Enter(pIterator->lDevices[pIterator->nNext++]);
}

kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, CFMutableDictionaryRef* properties,
                                                CFAllocatorRef, IOOptionBits) {
    auto& registry = Registry::Get();
    std::lock_guard const lock(registry.mutex);
    auto const* const pDevice = registry.Find<PciDevice>(entry);
    if (!pDevice)
        return kIOReturnBadArgument;
    if (!pDevice->bReadable)
        return kIOReturnNoDevice;
    *properties = MakeProperties(*pDevice);
    return kIOReturnSuccess;
}

kern_return_t IOObjectRelease(io_object_t object) {
    auto& registry = Registry::Get();
    std::lock_guard const lock(registry.mutex);
    return registry.objects.erase(object) == 1 ? kIOReturnSuccess : kIOReturnBadArgument;
}
