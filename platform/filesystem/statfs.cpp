#include <sys/mount.h>

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// The mount table writes blanks, tabs, line ends and backslashes of a name as three octal digits behind a backslash.
void Unescape(char* szTo, size_t nSize, char const* szFrom) {
    size_t n = 0;
    while (*szFrom && n + 1 < nSize) {
        bool const bOctal = szFrom[0] == '\\' && szFrom[1] && szFrom[2] && szFrom[3];
        szTo[n++] =
            bOctal ? static_cast<char>((szFrom[1] - '0') * 64 + (szFrom[2] - '0') * 8 + szFrom[3] - '0') : szFrom[0];
        szFrom += bOctal ? 4 : 1;
    }
    szTo[n] = '\0';
}

// A line is "36 35 98:0 /root /mount/point options [tags] - type source superoptions".
bool ReadMount(char* szLine, unsigned long long nMount, struct statfs& oStatus) {
    char* szRest = nullptr;
    if (std::strtoull(szLine, &szRest, 10) != nMount)
        return false;
    char* szField = strtok_r(szRest, " ", &szRest); // the parent's number
    for (int n = 0; n < 3 && szField; ++n)
        szField = strtok_r(nullptr, " ", &szRest);
    if (!szField)
        return false;
    Unescape(oStatus.f_mntonname, sizeof oStatus.f_mntonname, szField);
    while (szField && std::strcmp(szField, "-") != 0)
        szField = strtok_r(nullptr, " ", &szRest);
    char const* const szType = strtok_r(nullptr, " ", &szRest);
    char const* const szSource = strtok_r(nullptr, " ", &szRest);
    Unescape(oStatus.f_fstypename, sizeof oStatus.f_fstypename, szType ? szType : "");
    Unescape(oStatus.f_mntfromname, sizeof oStatus.f_mntfromname, szSource ? szSource : "");
    return true;
}

bool FindMount(unsigned long long nMount, struct statfs& oStatus) {
    std::unique_ptr<FILE, int (*)(FILE*)> const pTable(std::fopen("/proc/self/mountinfo", "re"), std::fclose);
    char* szLine = nullptr;
    size_t nCapacity = 0;
    bool bFound = false;
    while (pTable && !bFound && getline(&szLine, &nCapacity, pTable.get()) > 0)
        bFound = ReadMount(szLine, nMount, oStatus);
    std::free(szLine);
    return bFound;
}

} // namespace

int statfs(char const* szPath, struct statfs* pStatus) {
    struct statvfs oVolume;
    struct statx oNode;
    if (statvfs(szPath, &oVolume) != 0 || statx(AT_FDCWD, szPath, 0, STATX_MNT_ID, &oNode) != 0)
        return -1;
    *pStatus = {};
    pStatus->f_bsize = static_cast<uint32_t>(oVolume.f_frsize);
    pStatus->f_blocks = oVolume.f_blocks;
    pStatus->f_bfree = oVolume.f_bfree;
    pStatus->f_bavail = oVolume.f_bavail;
    pStatus->f_files = oVolume.f_files;
    pStatus->f_ffree = oVolume.f_ffree;
    if (!(oNode.stx_mask & STATX_MNT_ID) || !FindMount(oNode.stx_mnt_id, *pStatus)) {
        errno = ENOENT;
        return -1;
    }
    return 0;
}
