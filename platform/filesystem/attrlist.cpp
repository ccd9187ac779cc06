#include <sys/attr.h>

#include <sys/stat.h>

#include <fcntl.h>

#include <cerrno>
#include <cstring>

namespace {

struct __attribute__((packed)) Answer {
    uint32_t nLength;
    timespec oBirth;
};
static_assert(sizeof(Answer) == 20);

bool AsksForBirthOnly(attrlist const& oAsked) {
    return oAsked.bitmapcount == ATTR_BIT_MAP_COUNT && oAsked.commonattr == ATTR_CMN_CRTIME && !oAsked.volattr &&
           !oAsked.dirattr && !oAsked.fileattr && !oAsked.forkattr;
}

} // namespace

int getattrlistat(int hFolder, char const* szPath, void* pAttributes, void* pBuffer, size_t nSize,
                  unsigned long nOptions) {
    if (!AsksForBirthOnly(*static_cast<attrlist const*>(pAttributes)) || nSize < sizeof(Answer)) {
        errno = EINVAL;
        return -1;
    }
    struct statx oNode;
    int const nFlags = nOptions & FSOPT_NOFOLLOW ? AT_SYMLINK_NOFOLLOW : 0;
    if (statx(hFolder, szPath, nFlags, STATX_BTIME | STATX_CTIME, &oNode) != 0)
        return -1;
    auto const& oTime = oNode.stx_mask & STATX_BTIME ? oNode.stx_btime : oNode.stx_ctime;
    Answer const oAnswer{sizeof(Answer), {static_cast<time_t>(oTime.tv_sec), static_cast<long>(oTime.tv_nsec)}};
    std::memcpy(pBuffer, &oAnswer, sizeof oAnswer);
    return 0;
}

int getattrlist(char const* szPath, void* pAttributes, void* pBuffer, size_t nSize, uint32_t nOptions) {
    return getattrlistat(AT_FDCWD, szPath, pAttributes, pBuffer, nSize, nOptions);
}
