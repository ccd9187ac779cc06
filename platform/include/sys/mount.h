// Stands in for the OS's <sys/mount.h>: what file system a path lies on.
//
// Kept: statfs's name, result and errno; f_mntonname is the mount point, f_mntfromname what is mounted.
// Differs from the OS:
// - Only the fields declared here. The kernel's own call of this name is not reachable beside this header.
// - A mount point that this process can't see (another namespace's) fails with ENOENT.
#pragma once
#pragma GCC system_header

#include <sys/cdefs.h>

#include <stdint.h>

#define MFSTYPENAMELEN 16
#define MAXPATHLEN 1024

struct statfs {
    uint32_t f_bsize;  // bytes of a block
    uint64_t f_blocks; // blocks in all
    uint64_t f_bfree;
    uint64_t f_bavail; // free to ordinary users
    uint64_t f_files;  // nodes in all
    uint64_t f_ffree;
    char f_fstypename[MFSTYPENAMELEN];
    char f_mntonname[MAXPATHLEN];
    char f_mntfromname[MAXPATHLEN];
};

__BEGIN_DECLS
int statfs(char const* szPath, struct statfs* pStatus) __asm__("platform_statfs");
__END_DECLS
