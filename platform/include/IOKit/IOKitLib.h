// Stands in for <IOKit/IOKitLib.h>: the registry of the machine's devices. Any thread; an iterator one thread at a time.
//
// Kept: a look-up uses up one reference to its dictionary, found or not; iterators and entries are the caller's, to be
// given back by IOObjectRelease; an iterator at its end gives IO_OBJECT_NULL, as does one that is none. A device that
// goes meanwhile stays in the iterator, and its properties can't be had.
// Differs from the OS:
// - Services are found by class, and "IOPCIDevice" is the one class; any other finds an iterator without entries.
// - A PCI device has the properties "IOName" (text), "class-code", "vendor-id", "device-id" (data, 4 bytes, lowest first)
//   and "model" (data, a text in UTF-8 and its NUL). "IOName" is "display" for what shows pictures and "pci" plus the two
//   IDs for anything else, as in "pci8086,1237".
// - The model is what the machine's list of PCI devices calls it, vendor first; without a list or an entry in it, "PCI
//   device 8086:1237".
// - `options` and the allocator mean nothing; the main port is not looked at.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <mach/kern_return.h>
#include <mach/port.h>

typedef mach_port_t io_object_t;
typedef io_object_t io_iterator_t;
typedef io_object_t io_registry_entry_t;
typedef io_object_t io_service_t;
typedef UInt32 IOOptionBits;
typedef kern_return_t IOReturn;

#define IO_OBJECT_NULL ((io_object_t)0)
#define kIOReturnSuccess KERN_SUCCESS
#define kIOReturnError ((IOReturn)0xe00002bc)
#define kIOReturnBadArgument ((IOReturn)0xe00002c2)
#define kIOReturnNoDevice ((IOReturn)0xe00002c0)
#define kIOMasterPortDefault MACH_PORT_NULL

extern "C" {

// {"IOProviderClass": name}, the caller's.
CFMutableDictionaryRef IOServiceMatching(char const* name);
// Releases `matching`. kIOReturnBadArgument for null, kIOReturnError when the devices can't be listed.
kern_return_t IOServiceGetMatchingServices(mach_port_t mainPort, CFDictionaryRef matching, io_iterator_t* existing);
io_object_t IOIteratorNext(io_iterator_t iterator);
// The properties are the caller's. kIOReturnBadArgument for what is no entry, kIOReturnNoDevice for one that has gone.
kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, CFMutableDictionaryRef* properties,
                                                CFAllocatorRef allocator, IOOptionBits options);
// kIOReturnBadArgument for what is no object.
kern_return_t IOObjectRelease(io_object_t object);

} // extern "C"
