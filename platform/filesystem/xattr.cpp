#include <sys/xattr.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>

namespace {

constexpr char kPrefix[] = "user.";
constexpr size_t kMostOfName = 255; // the kernel's, prefix and all

class KernelName {
public:
    explicit KernelName(char const* szName) {
        size_t const nLength = std::strlen(szName);
        if (sizeof kPrefix - 1 + nLength > kMostOfName)
            return;
        std::memcpy(szKernelName, kPrefix, sizeof kPrefix - 1);
        std::memcpy(szKernelName + sizeof kPrefix - 1, szName, nLength + 1);
    }
    char const* Get() const { return szKernelName; }

private:
    char szKernelName[kMostOfName + 1] = "";
};

// The kernel has a call of its own for each form that does not follow links.
long KernelCall(long nFollowing, long nNotFollowing, int nOptions) {
    return nOptions & XATTR_NOFOLLOW ? nNotFollowing : nFollowing;
}

int Fail(int nError) {
    errno = nError;
    return -1;
}

} // namespace

int setxattr(char const* szPath, char const* szName, void const* pValue, size_t nSize, uint32_t nPosition,
             int nOptions) {
    constexpr int kCreate = 1; // the kernel's flags have other numbers
    constexpr int kReplace = 2;
    KernelName const oName(szName);
    if (nPosition != 0)
        return Fail(EINVAL);
    if (!*oName.Get())
        return Fail(ENAMETOOLONG);
    int const nFlags = (nOptions & XATTR_CREATE ? kCreate : 0) | (nOptions & XATTR_REPLACE ? kReplace : 0);
    return static_cast<int>(
        syscall(KernelCall(SYS_setxattr, SYS_lsetxattr, nOptions), szPath, oName.Get(), pValue, nSize, nFlags));
}

ssize_t getxattr(char const* szPath, char const* szName, void* pValue, size_t nSize, uint32_t nPosition, int nOptions) {
    KernelName const oName(szName);
    if (nPosition != 0)
        return Fail(EINVAL);
    if (!*oName.Get())
        return Fail(ENAMETOOLONG);
    return syscall(KernelCall(SYS_getxattr, SYS_lgetxattr, nOptions), szPath, oName.Get(), pValue, nSize);
}

int removexattr(char const* szPath, char const* szName, int nOptions) {
    KernelName const oName(szName);
    if (!*oName.Get())
        return Fail(ENAMETOOLONG);
    return static_cast<int>(syscall(KernelCall(SYS_removexattr, SYS_lremovexattr, nOptions), szPath, oName.Get()));
}
