// Stands in for the OS's <sys/xattr.h>: extended attributes by path and by descriptor.
//
// Kept: names, argument order, results. A missing attribute is ENOATTR; a file system without any is ENOTSUP.
// Differs from the OS:
// - An attribute "com.x" of the OS is the kernel's "user.com.x", which only regular files and folders carry.
// - `nPosition` must be 0 (EINVAL else). XATTR_NOFOLLOW, XATTR_CREATE and XATTR_REPLACE are the only options.
#pragma once
#pragma GCC system_header

#include <sys/cdefs.h>
#include <sys/types.h>

#include <errno.h>
#include <stdint.h>

#define XATTR_NOFOLLOW 0x0001
#define XATTR_CREATE 0x0002
#define XATTR_REPLACE 0x0004
#define ENOATTR ENODATA

__BEGIN_DECLS
int setxattr(char const* szPath, char const* szName, void const* pValue, size_t nSize, uint32_t nPosition,
             int nOptions) __asm__("platform_setxattr");
ssize_t getxattr(char const* szPath, char const* szName, void* pValue, size_t nSize, uint32_t nPosition,
                 int nOptions) __asm__("platform_getxattr");
int removexattr(char const* szPath, char const* szName, int nOptions) __asm__("platform_removexattr");
__END_DECLS
