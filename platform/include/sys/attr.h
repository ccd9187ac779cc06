// Stands in for the OS's <sys/attr.h> and, from its <unistd.h>, getattrlist: when a file was made.
//
// Kept: the request's layout; the answer is a length of 4 bytes and then the attribute, without padding.
// Differs from the OS:
// - ATTR_CMN_CRTIME is the one attribute that can be asked for (EINVAL else).
// - Where the file system does not keep the time of birth, the time of the last status change stands for it.
#pragma once
#pragma GCC system_header

#include <sys/cdefs.h>
#include <sys/types.h>

#include <stdint.h>
#include <time.h>

#define ATTR_BIT_MAP_COUNT 5
#define ATTR_CMN_CRTIME 0x00000200
#define FSOPT_NOFOLLOW 0x00000001

typedef uint32_t attrgroup_t;

struct attrlist {
    uint16_t bitmapcount;
    uint16_t reserved;
    attrgroup_t commonattr;
    attrgroup_t volattr;
    attrgroup_t dirattr;
    attrgroup_t fileattr;
    attrgroup_t forkattr;
};

__BEGIN_DECLS
int getattrlist(char const* szPath, void* pAttributes, void* pBuffer, size_t nSize, uint32_t nOptions);
int getattrlistat(int hFolder, char const* szPath, void* pAttributes, void* pBuffer, size_t nSize,
                  unsigned long nOptions);
__END_DECLS
