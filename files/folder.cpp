#include "files/folder.h"

#include "files/path.h"
#include "files/separator.h"

#include <sys/stat.h>

namespace {

// The kind of what the path leads to (S_IFREG, S_IFDIR ...), 0 when it leads nowhere.
mode_t KindAt(char const* szPath) noexcept {
    struct stat oStatus;
    return stat(szPath, &oStatus) == 0 ? oStatus.st_mode & S_IFMT : 0;
}

// The folder cut at its last separator: "/" when that comes first, "" without one.
void CutAtLastSeparator(char* szOut, char const* szFolder) noexcept {
    std::size_t const nPart = LLastPartOfPath(szFolder, std::strlen(szFolder));
    std::size_t const nParent = nPart > 1 ? nPart - 1 : nPart;
    std::memcpy(szOut, szFolder, nParent);
    szOut[nParent] = '\0';
    if (nParent == 1 && nPart == 1)
        szOut[0] = '/';
}

} // namespace

bool LFile::FileExists(char const* szPath) noexcept {
    return KindAt(szPath) != 0;
}
bool LFile::FolderExists(char const* szPath) noexcept {
    return KindAt(szPath) == S_IFDIR;
}
bool LFile::RegularFileExists(char const* szPath) noexcept {
    return KindAt(szPath) == S_IFREG;
}

bool LFile::CreateFolderTree(char const* szFolder) noexcept {
    char szParent[kLNameSize];
    if (strnlen(szFolder, kLNameSize) == kLNameSize)
        return false; // its parents would be those of another path
    CutAtLastSeparator(szParent, szFolder);
    // Another process may make it at the same moment.
    if (*szParent && !FileExists(szParent) && !CreateFolderTree(szParent) && !FileExists(szParent))
        return false;
    return mkdir(szFolder, 0777) == 0;
}
