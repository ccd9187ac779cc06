// How much memory there is, in bytes. Any thread; nothing allocates or waits.
#pragma once

#include <cstdint>

// What this process may still put on its heap: its soft limit for data (RLIMIT_DATA) less its virtual size, or what
// LMemoryGetAvailableVirtualMemorySize says when that is less. A process that is past its limit has less than nothing:
// the result is a negative number then, and has to be taken as a signed one to be seen as such. All bits are set when
// the limit can't be had.
std::uint64_t LMemoryGetFreeHeapSize() noexcept;

// What the machine could give this process without taking anything from another: pages that are free, inactive or can
// be dropped at once, within what the limit of its address space (RLIMIT_AS) leaves. Never negative; 0 when the machine
// can't be asked.
std::uint64_t LMemoryGetAvailableVirtualMemorySize() noexcept;

// The machine's free pages. 0 when it can't be asked.
std::uint64_t LMemoryGetLargestFreeRegionSize() noexcept;

// The memory that is installed. 0 when it can't be asked.
std::uint64_t LMemoryGetPhysicalMemorySize() noexcept;
