// Stands in for <sys/sysctl.h>: what the kernel says of the machine and of itself. Any thread.
//
// Kept: with `oldp` null `*oldlenp` receives the size; a buffer that is too small is filled and fails with ENOMEM; a
// text carries its NUL; a name that is not known fails with ENOENT. Differs from the OS:
// - The names are hw.memsize (8 bytes), machdep.cpu.brand_string, kern.osrelease and kern.osproductversion (texts), and
//   of the numbers those of the first and the third. Nothing can be set (EPERM).
// - hw.memsize is the memory that the kernel has to give, without what firmware and kernel image keep.
// - kern.osproductversion is the kernel's version without what a distribution puts behind its numbers: "6.1.0".
// - A machine whose kernel does not name its processor has no brand string (ENOENT).
#pragma once

#include <sys/cdefs.h>
#include <sys/types.h>

#define CTL_KERN 1
#define CTL_HW 6

#define KERN_OSRELEASE 2 // of CTL_KERN
#define HW_MEMSIZE 24    // of CTL_HW: uint64_t, bytes

__BEGIN_DECLS
int sysctl(int* name, u_int namelen, void* oldp, size_t* oldlenp, void* newp, size_t newlen);
int sysctlbyname(char const* name, void* oldp, size_t* oldlenp, void* newp, size_t newlen);
__END_DECLS
