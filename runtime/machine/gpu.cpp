#include "runtime/machine/gpu.h"

#include "base/cf_ref.h"
#include "base/fixed_text.h"
#include "base/utf.h"

#include <IOKit/IOKitLib.h>

namespace {

// An object of the registry, released at the end of the scope.
class RegistryObject {
public:
    explicit RegistryObject(io_object_t nToTake) noexcept : nObject(nToTake) {}
    ~RegistryObject() {
        if (nObject != IO_OBJECT_NULL)
            IOObjectRelease(nObject);
    }
    RegistryObject(RegistryObject const&) = delete;
    RegistryObject& operator=(RegistryObject const&) = delete;

    io_object_t Get() const noexcept { return nObject; }

private:
    io_object_t const nObject;
};

bool IsDisplay(CFDictionaryRef properties) noexcept {
    auto const name = static_cast<CFStringRef>(CFDictionaryGetValue(properties, CFSTR("IOName")));
    return name && CFGetTypeID(name) == CFStringGetTypeID() &&
           CFStringCompare(name, CFSTR("display"), kCFCompareCaseInsensitive) == kCFCompareEqualTo;
}

void AddModel(CFDictionaryRef properties, LStringListTemplate<char>& lOut) noexcept {
    auto const model = static_cast<CFDataRef>(CFDictionaryGetValue(properties, CFSTR("model")));
    if (!model || CFGetTypeID(model) != CFDataGetTypeID())
        return;
    auto const* const pBytes = CFDataGetBytePtr(model);
    auto const nBytes = static_cast<std::size_t>(CFDataGetLength(model));
    std::size_t const nLength = nBytes ? strnlen(reinterpret_cast<char const*>(pBytes), nBytes) : 0; // it has a NUL
    LCFOwner<CFStringRef> const text(
        CFStringCreateWithBytes(nullptr, pBytes, static_cast<CFIndex>(nLength), kCFStringEncodingUTF8, false));
    if (!text)
        return;
    char szModel[kLNameSize];
    LCopyUTF8(szModel, sizeof szModel, {reinterpret_cast<char const*>(pBytes), nLength});
    lOut.Add(szModel);
}

} // namespace

void LMachineGetGPUDescriptions(LStringListTemplate<char>& lOut) noexcept {
    lOut.Empty();
    io_iterator_t nIterator = IO_OBJECT_NULL;
    if (IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("IOPCIDevice"), &nIterator) !=
        kIOReturnSuccess)
        return;
    RegistryObject const oIterator(nIterator);
    while (io_object_t const nDevice = IOIteratorNext(oIterator.Get())) {
        RegistryObject const oDevice(nDevice);
        CFMutableDictionaryRef taken = nullptr;
        if (IORegistryEntryCreateCFProperties(nDevice, &taken, kCFAllocatorDefault, 0) != kIOReturnSuccess)
            continue;
        LCFOwner<CFMutableDictionaryRef> const properties(taken);
        if (IsDisplay(properties.Get()))
            AddModel(properties.Get(), lOut);
    }
}
