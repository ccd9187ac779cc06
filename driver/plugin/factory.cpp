#include "driver/plugin/factory.h"

#include "driver/plugin/interface.h"

void* LVirtualAudioDevice_Create(CFAllocatorRef, CFUUIDRef pTypeUUID) {
    return pTypeUUID && CFEqual(pTypeUUID, kAudioServerPlugInTypeUUID) ? &gVADDriverRef : nullptr;
}
