#include "files/folder_operations.h"

#include "files/folder_iterator.h"
#include "runtime/sync/deadline.h"

#include <fcntl.h>
#include <sys/attr.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <ctime>

namespace {

struct DeleteManner {
    unsigned int nTimeoutMs = 0; // for a folder that is busy
    bool bClearFlags = false;
};

bool RemoveFolder(int hParent, char const* szName) noexcept {
    return unlinkat(hParent, szName, AT_REMOVEDIR) == 0;
}

bool RemoveBusyFolder(int hParent, char const* szName, unsigned int nTimeoutMs) noexcept {
    std::uint64_t nBudget = nTimeoutMs;
    std::uint64_t nPause = (nBudget + 127) / 128; // 64 bits: doubling must not come round to no pause
    while (!RemoveFolder(hParent, szName)) {
        if (errno != EBUSY || nBudget <= nPause)
            return false;
        LSleep(static_cast<unsigned int>(nPause));
        nBudget -= nPause;
        nPause *= 2;
    }
    return true;
}

void DeleteFile(LFile::FolderIterator const& oFolder, DeleteManner oManner) noexcept {
    char szPath[kLNameSize];
    if (oManner.bClearFlags && oFolder.GetPath(szPath))
        lchflags(szPath, 0); // of the entry itself, not of what a link leads to
    unlinkat(oFolder.GetDescriptor(), oFolder.GetName(), 0);
}

// Deletes what is in the folder, from the current entry on. Goes as deep as a path is long.
void DeleteEntries(LFile::FolderIterator& oFolder, DeleteManner oManner) noexcept {
    do {
        if (oFolder.IsDotFolder())
            continue;
        if (!oFolder.IsFolder()) {
            DeleteFile(oFolder, oManner);
            continue;
        }
        if (LFile::FolderIteratorAllFiles oBelow; oBelow.StartBelow(oFolder))
            DeleteEntries(oBelow, oManner);
        RemoveBusyFolder(oFolder.GetDescriptor(), oFolder.GetName(), oManner.nTimeoutMs);
    } while (oFolder.Next());
}

bool DeleteTree(char const* szFolder, DeleteManner oManner) noexcept {
    if (!*szFolder)
        return false;
    if (LFile::FolderIteratorAllFiles oFolder; oFolder.StartNotFollowing(szFolder))
        DeleteEntries(oFolder, oManner);
    return RemoveBusyFolder(AT_FDCWD, szFolder, oManner.nTimeoutMs);
}

// When the current entry was made, 0 when that can't be had.
std::time_t GetBirthTime(LFile::FolderIterator const& oFolder) noexcept {
    struct [[gnu::packed]] {
        std::uint32_t nLength;
        timespec oBirth;
    } oAnswer{};
    attrlist oWanted{};
    oWanted.bitmapcount = ATTR_BIT_MAP_COUNT;
    oWanted.commonattr = ATTR_CMN_CRTIME;
    bool const bKnown = getattrlistat(oFolder.GetDescriptor(), oFolder.GetName(), &oWanted, &oAnswer, sizeof oAnswer,
                                      FSOPT_NOFOLLOW) == 0;
    return bKnown ? oAnswer.oBirth.tv_sec : 0;
}

} // namespace

void LFile::DeleteOldFiles(char const* szFolder, char const* szPattern, int nDays) noexcept {
    constexpr int kSecondsPerDay = 86400;
    constexpr int kMostDays = INT_MAX / kSecondsPerDay; // beyond, the product would turn negative and everything be old
    if (nDays < 1)
        return;
    std::time_t const nCutOff = std::time(nullptr) - (nDays > kMostDays ? kMostDays : nDays) * kSecondsPerDay;
    FolderIterator oFolder;
    for (bool bAny = oFolder.Start(szFolder, szPattern); bAny; bAny = oFolder.Next())
        if (GetBirthTime(oFolder) < nCutOff)
            unlinkat(oFolder.GetDescriptor(), oFolder.GetName(), 0);
}

bool LFile::DeleteFolderTree(char const* szFolder) noexcept {
    return DeleteTree(szFolder, {});
}

bool LFile::DeleteFolderTree(char const* szFolder, unsigned int nTimeoutMs) noexcept {
    return DeleteTree(szFolder, {.nTimeoutMs = nTimeoutMs});
}

bool LFile::DeleteFolderTreeAlways(char const* szFolder) noexcept {
    return DeleteTree(szFolder, {.bClearFlags = true});
}

bool LFile::DeleteFolderAndFiles(char const* szFolder) noexcept {
    FolderIteratorAllFiles oFolder;
    for (bool bAny = oFolder.StartNotFollowing(szFolder); bAny; bAny = oFolder.Next())
        if (!oFolder.IsFolder())
            DeleteFile(oFolder, {});
    return RemoveFolder(AT_FDCWD, szFolder);
}
