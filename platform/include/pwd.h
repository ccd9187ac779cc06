// Stands in for <pwd.h>: the kernel's own header. getpwuid_r finds another home folder where a test has said so.
#pragma GCC system_header

#include_next <pwd.h> // outside of the guard, so that this file may be reached by two names

#ifndef LUMORA_PLATFORM_PWD_H
#define LUMORA_PLATFORM_PWD_H

extern "C" int getpwuid_r(uid_t user, struct passwd* entry, char* buffer, size_t size,
                          struct passwd** found) __asm__("platform_getpwuid_r");

#endif
