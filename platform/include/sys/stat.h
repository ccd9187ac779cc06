// Stands in for the OS's <sys/stat.h>: the C library's own, and file flags.
//
// Kept: chflags follows a symbolic link, lchflags works on the link itself.
// Differs from the OS:
// - 0 is the one value that can be set (ENOTSUP else): it makes a file that is immutable or append-only ordinary again.
// - A file system without such flags, and whatever is no regular file or folder, has none to clear: success.
#pragma once
#pragma GCC system_header

#include_next <sys/stat.h>

#include <sys/cdefs.h>

#include <stdint.h>

__BEGIN_DECLS
int chflags(char const* szPath, uint32_t nFlags);
int lchflags(char const* szPath, uint32_t nFlags);
__END_DECLS
