// Stands in for <sys/resource.h>: the kernel's own header, with "no limit" as the OS has it.
//
// Kept: RLIM_INFINITY is the largest signed number, so that limits can be compared and subtracted as signed ones.
#pragma GCC system_header

#include_next <sys/resource.h> // outside of the guard, so that this file may be reached by two names

#ifndef LUMORA_PLATFORM_SYS_RESOURCE_H
#define LUMORA_PLATFORM_SYS_RESOURCE_H

#undef RLIM_INFINITY
#define RLIM_INFINITY (((rlim_t)1 << 63) - 1)

extern "C" {
int getrlimit(__rlimit_resource_t resource, struct rlimit* limit) noexcept __asm__("platform_getrlimit");
int setrlimit(__rlimit_resource_t resource, struct rlimit const* limit) noexcept __asm__("platform_setrlimit");
}

#endif
