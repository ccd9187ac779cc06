#include "tests/platform/corefoundation_fuzz.h"

#include "tests/platform/corefoundation.h"

#include <cstdlib>

int FuzzPropertyList(std::uint8_t const* bytes, std::size_t nByteCount) {
    Owned<CFDataRef> const data =
        CFDataCreateWithBytesNoCopy(nullptr, bytes, static_cast<CFIndex>(nByteCount), kCFAllocatorNull);
    for (CFOptionFlags const options : {kCFPropertyListImmutable, kCFPropertyListMutableContainersAndLeaves}) {
        Owned<CFPropertyListRef> const list = CFPropertyListCreateWithData(nullptr, data, options, nullptr, nullptr);
        if (!list)
            continue;
        Owned<CFDataRef> const written =
            CFPropertyListCreateData(nullptr, list, kCFPropertyListXMLFormat_v1_0, 0, nullptr);
        Owned<CFPropertyListRef> const again =
            written ? CFPropertyListCreateWithData(nullptr, written, options, nullptr, nullptr) : nullptr;
        if (!again || !CFEqual(list, again))
            std::abort();
    }
    return 0;
}
