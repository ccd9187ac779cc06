#include "files/folder_iterator.h"

#include "files/folder.h"
#include "files/path.h"
#include "files/separator.h"
#include "files/wildcard.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

namespace LFile {

FolderIterator::~FolderIterator() {
    Close();
}

void FolderIterator::Close() noexcept {
    if (pFolder)
        closedir(pFolder);
    pFolder = nullptr;
    oEntry.d_name[0] = '\0';
}

bool FolderIterator::StartAt(int hParent, char const* szOpen, int nFlags, char const* szFolderToKeep,
                             char const* szPatternToKeep, bool bExact) noexcept {
    Close();
    int const hFolder = openat(hParent, szOpen, O_RDONLY | O_DIRECTORY | O_CLOEXEC | nFlags);
    if (hFolder < 0)
        return false;
    pFolder = fdopendir(hFolder);
    if (!pFolder) {
        close(hFolder);
        return false;
    }
    LCopyFixed(szFolder, szFolderToKeep);
    LCopyFixed(szPattern, szPatternToKeep);
    bExactName = bExact;
    return Next();
}

bool FolderIterator::Start(char const* szFolderToList, char const* szPatternToMatch) noexcept {
    return StartAt(AT_FDCWD, szFolderToList, 0, szFolderToList, szPatternToMatch, false);
}

bool FolderIterator::Start(char const* szPath) noexcept {
    if (!RegularFileExists(szPath))
        return Start(szPath, "*");
    char szFolderPart[kLNameSize];
    std::size_t const nPath = strnlen(szPath, kLNameSize);
    std::size_t const nPart = LLastPartOfPath(szPath, nPath);
    std::size_t const nFolder = std::min(nPart > 1 ? nPart - 1 : nPart, kLNameSize - 1);
    std::memcpy(szFolderPart, szPath, nFolder);
    szFolderPart[nFolder] = '\0';
    char const* const szNamePart = szPath + nPart;
    // A name alone is that of a file in the current folder.
    return StartAt(AT_FDCWD, nFolder ? szFolderPart : ".", 0, szFolderPart, *szNamePart ? szNamePart : "*",
                   *szNamePart != '\0');
}

bool FolderIterator::StartNotFollowing(char const* szFolderToList) noexcept {
    char szOpen[PATH_MAX]; // "link/" is what the link leads to
    std::size_t nLength = strnlen(szFolderToList, sizeof szOpen);
    if (nLength == sizeof szOpen)
        return false;
    while (nLength > 1 && szFolderToList[nLength - 1] == '/')
        --nLength;
    std::memcpy(szOpen, szFolderToList, nLength);
    szOpen[nLength] = '\0';
    return StartAt(AT_FDCWD, szOpen, O_NOFOLLOW, szFolderToList, "*", false);
}

bool FolderIterator::StartBelow(FolderIterator const& oParent) noexcept {
    char szPath[kLNameSize];
    return oParent.GetPath(szPath) &&
           StartAt(oParent.GetDescriptor(), oParent.GetName(), O_NOFOLLOW, szPath, "*", false);
}

bool FolderIterator::_GetNextFile() noexcept {
    oEntry.d_name[0] = '\0';
    dirent const* const pNext = pFolder ? readdir(pFolder) : nullptr;
    if (!pNext) {
        Close();
        return false;
    }
    oEntry.d_ino = pNext->d_ino;
    oEntry.d_type = pNext->d_type;
    LCopyFixed(oEntry.d_name, pNext->d_name);
    return true;
}

bool FolderIterator::Next() noexcept {
    while (_GetNextFile())
        if (_Matches(oEntry.d_name))
            return true;
    return false;
}

bool FolderIterator::IsDotFolderOrMetadata(char const* szName) const noexcept {
    return szName && (std::strcmp(szName, ".") == 0 || std::strcmp(szName, "..") == 0 ||
                      std::strncmp(szName, "__MACOSX", 8) == 0);
}

bool FolderIterator::_Matches(char const* szName) const noexcept {
    if (IsDotFolderOrMetadata(szName))
        return false;
    return bExactName ? IsFileAskedFor(szName) : LMatchesWildcard(szPattern, szName);
}

// A volume that ignores letter case lists the file as it was named, not as it was asked for.
bool FolderIterator::IsFileAskedFor(char const* szName) const noexcept {
    struct stat oAsked;
    struct stat oListed;
    return std::strcmp(szPattern, szName) == 0 ||
           (strcasecmp(szPattern, szName) == 0 && pFolder &&
            fstatat(dirfd(pFolder), szPattern, &oAsked, AT_SYMLINK_NOFOLLOW) == 0 &&
            fstatat(dirfd(pFolder), szName, &oListed, AT_SYMLINK_NOFOLLOW) == 0 && oAsked.st_ino == oListed.st_ino);
}

bool FolderIterator::IsDotFolder() const noexcept {
    return std::strcmp(oEntry.d_name, ".") == 0 || std::strcmp(oEntry.d_name, "..") == 0;
}

bool FolderIterator::IsFolder() const noexcept {
    if (oEntry.d_type != DT_UNKNOWN)
        return oEntry.d_type == DT_DIR;
    struct stat oStatus; // the file system does not say in its listing
    return pFolder && fstatat(dirfd(pFolder), oEntry.d_name, &oStatus, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(oStatus.st_mode);
}

int FolderIterator::GetDescriptor() const noexcept {
    return pFolder ? dirfd(pFolder) : -1;
}

bool FolderIterator::GetPath(char* szOut) const noexcept {
    return static_cast<std::size_t>(_MakeFilePath(szOut, szFolder, oEntry.d_name, "")) < kLNameSize;
}

bool FolderIteratorAllFiles::_Matches(char const*) const noexcept {
    return true;
}

} // namespace LFile
