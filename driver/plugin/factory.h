// The bundle's one entry for the host.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

// Named by the bundle's information property list. The driver's reference (an AudioServerPlugInDriverRef, the same one
// always, not counted: QueryInterface counts) when the type is kAudioServerPlugInTypeUUID, else null. The allocator is
// not used. Any thread.
[[gnu::visibility("default")]] void* LVirtualAudioDevice_Create(CFAllocatorRef pAllocator, CFUUIDRef pTypeUUID);

} // extern "C"
