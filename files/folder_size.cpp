#include "files/folder_iterator.h"
#include "files/folder_operations.h"

#include "files/folder.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace {

std::int64_t SizeOfEntry(LFile::FolderIterator const& oFolder) noexcept {
    struct stat oStatus;
    bool const bKnown = fstatat(oFolder.GetDescriptor(), oFolder.GetName(), &oStatus, AT_SYMLINK_NOFOLLOW) == 0;
    return bKnown ? oStatus.st_size : 0;
}

// Of the entries from the current one on.
std::int64_t SizeOfEntries(LFile::FolderIterator& oFolder, bool bRecursive) noexcept {
    std::int64_t nBytes = 0;
    do {
        if (oFolder.IsDotFolder())
            continue;
        if (!oFolder.IsFolder())
            nBytes += SizeOfEntry(oFolder);
        else if (LFile::FolderIteratorAllFiles oBelow; bRecursive && oBelow.StartBelow(oFolder))
            nBytes += SizeOfEntries(oBelow, true);
    } while (oFolder.Next());
    return nBytes;
}

} // namespace

std::int64_t LFile::GetFolderSizeBytes(char const* szFolder, bool bRecursive) noexcept {
    FolderIteratorAllFiles oFolder;
    // Beside a file, nothing lies below the path that was given.
    return oFolder.Start(szFolder) ? SizeOfEntries(oFolder, bRecursive && FolderExists(szFolder)) : 0;
}
