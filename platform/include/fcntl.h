// Stands in for <fcntl.h>: the kernel's own header, and an open() that takes a whole-file lock as part of the open.
//
// Kept: O_EXLOCK and O_SHLOCK with the OS's values; the lock is flock's and lasts as long as the open file; with
// O_NONBLOCK a file that another holder has locked fails the open with EWOULDBLOCK, without it the open waits. An open
// that does not get its lock leaves the file's bytes alone: O_TRUNC is done under the lock. Both flags: exclusive.
// Differs from the OS:
// - O_TRUNC together with a lock needs a descriptor that can write, else the open fails with EINVAL.
// - A file that O_CREAT has just made can be seen, and locked by another, for an instant before its maker has the lock.
// - Files of kinds that can't be locked open without a lock, where the OS fails with EOPNOTSUPP.
#pragma GCC system_header

#include_next <fcntl.h> // outside of the guard, so that this file may be reached by two names

#ifndef LUMORA_PLATFORM_FCNTL_H
#define LUMORA_PLATFORM_FCNTL_H

#define O_SHLOCK 0x0010
#define O_EXLOCK 0x0020

static_assert(((O_SHLOCK | O_EXLOCK) & (O_ACCMODE | O_CREAT | O_EXCL | O_NOCTTY | O_TRUNC | O_APPEND | O_NONBLOCK)) ==
              0);

extern "C" int open(char const* path, int flags, ...) __asm__("platform_open");

#endif
