// Stands in for the OS's <copyfile.h>: a file, a symbolic link or a folder's own attributes copied.
//
// Kept: names, flags, 0 or -1 with errno. Data is shared with the source where the file system can do that, else copied
// in the kernel; holes stay holes. COPYFILE_NOFOLLOW copies a link as a link and never writes through one. A target
// that exists is overwritten in place, unless COPYFILE_EXCL refuses it. Attributes that the target's file system does
// not take, and an owner that this user can't give, are left out without an error; a file whose owner is left out loses
// its set-user and set-group bits.
// Differs from the OS:
// - The state must be null, and of the flags only those declared here are known (EINVAL else). COPYFILE_STAT, _ACL and
//   _XATTR are one: what asks for one of them gets all.
// - A target that this call made is removed again when its data can't be copied in whole.
// - Pipes, sockets and devices are ENOTSUP.
#pragma once
#pragma GCC system_header

#include <sys/cdefs.h>

#include <stdint.h>

typedef struct _copyfile_state* copyfile_state_t;
typedef uint32_t copyfile_flags_t;

#define COPYFILE_ACL (1 << 0)
#define COPYFILE_STAT (1 << 1)
#define COPYFILE_XATTR (1 << 2)
#define COPYFILE_DATA (1 << 3)
#define COPYFILE_SECURITY (COPYFILE_STAT | COPYFILE_ACL)
#define COPYFILE_METADATA (COPYFILE_SECURITY | COPYFILE_XATTR)
#define COPYFILE_ALL (COPYFILE_METADATA | COPYFILE_DATA)
#define COPYFILE_EXCL (1 << 17)
#define COPYFILE_NOFOLLOW_SRC (1 << 18)
#define COPYFILE_NOFOLLOW_DST (1 << 19)
#define COPYFILE_NOFOLLOW (COPYFILE_NOFOLLOW_SRC | COPYFILE_NOFOLLOW_DST)

__BEGIN_DECLS
int copyfile(char const* szFrom, char const* szTo, copyfile_state_t pState, copyfile_flags_t nFlags);
__END_DECLS
