#include "files/path_resolve.h"

#include "files/file_name.h"
#include "files/separator.h"

#include <sys/mount.h>
#include <sys/stat.h>

#include <cstdio>

namespace {

bool IsAbsolute(char const* szPath) noexcept {
    if (LIsPathSeparator(szPath[0]))
        return true;
    while (*szPath && *szPath != ':' && !LIsPathSeparator(*szPath))
        ++szPath;
    return *szPath == ':';
}

// Cuts the folder behind the separator before its last part, so that the next level can be cut the same way. False when
// it is too short to have one.
bool RemoveOneLevel(char* szFolder) noexcept {
    std::size_t const nLength = std::strlen(szFolder);
    if (nLength < 2)
        return false;
    for (std::size_t n = nLength; n > 4; --n) // from the third character from the end; the first two are left alone
        if (LIsPathSeparator(szFolder[n - 3])) {
            szFolder[n - 2] = '\0';
            break;
        }
    return true;
}

bool StartsWithDots(char const* szPath, std::size_t nDots) noexcept {
    for (std::size_t n = 0; n < nDots; ++n)
        if (szPath[n] != '.')
            return false;
    return LIsPathSeparator(szPath[nDots]);
}

bool IsTaken(char const* szPath) noexcept {
    struct stat oStatus;
    return lstat(szPath, &oStatus) == 0;
}

} // namespace

void LFile::MakeAbsoluteFilePath(char* szOut, char const* szBaseFolder, char const* szPath,
                                 char const* szExt) noexcept {
    if (IsAbsolute(szPath)) {
        _MakeFilePath(szOut, "", szPath, szExt);
        return;
    }
    char szFolder[kLNameSize];
    LCopyFixed(szFolder, szBaseFolder);
    for (;;)
        if (StartsWithDots(szPath, 1))
            szPath += 2;
        else if (StartsWithDots(szPath, 2) && RemoveOneLevel(szFolder))
            szPath += 3;
        else
            break;
    _MakeFilePath(szOut, szFolder, szPath, szExt);
}

bool LFile::GetRelativePathFromAbsolutePath(char* szOut, char const* szBaseFolder, char const* szPath) noexcept {
    auto const Ends = [](char c) { return c == '\0' || LIsPathSeparator(c); };
    auto const Fail = [szOut] { return szOut[0] = '\0', false; };
    std::size_t n = 0;
    for (;; ++n) {
        char const cBase = szBaseFolder[n];
        if (Ends(cBase) ? !Ends(szPath[n]) : cBase != szPath[n])
            return Fail();
        if (cBase == '\0' || (LIsPathSeparator(cBase) && szBaseFolder[n + 1] == '\0'))
            break;
        if (szPath[n] == '\0')
            return Fail();
    }
    char const* const szRest = szPath + n + (szPath[n] != '\0');
    std::size_t const nRest = strnlen(szRest, kLNameSize - 1);
    std::memmove(szOut, szRest, nRest);
    szOut[nRest] = '\0';
    return true;
}

char* LFile::MakeUniqueOrderedFilePath(char* szOut, char const* szFolder, char const* szName,
                                       char const* szExt) noexcept {
    char szPath[kLNameSize];
    char szCounted[kLNameSize];
    bool bWhole = true;
    _MakeFilePath(szPath, szFolder, szName, szExt);
    for (unsigned int nCounter = 0; bWhole && IsTaken(szPath); ++nCounter) {
        int const nLength = std::snprintf(szCounted, sizeof szCounted, "%s_%u", szName, nCounter);
        bWhole = static_cast<std::size_t>(nLength) < sizeof szCounted &&
                 static_cast<std::size_t>(_MakeFilePath(szPath, szFolder, szCounted, szExt)) < kLNameSize;
    }
    std::strcpy(szOut, bWhole ? szPath : "");
    return szOut;
}

void LFile::GetHumanReadableDriveFromPath(char* szOut, char const* szPath) noexcept {
    struct statfs oFileSystem;
    if (statfs(szPath, &oFileSystem) == 0) {
        _MakeFilePath(szOut, "", oFileSystem.f_mntonname, "");
        return;
    }
    std::size_t nDrive = 0;
    while (nDrive < kLNameSize - 3 && LFileIsLetterOrNumber(szPath[nDrive]))
        ++nDrive;
    if (nDrive != 0) {
        std::memmove(szOut, szPath, nDrive);
        std::strcpy(szOut + nDrive, ":\\");
    } else
        std::strcpy(szOut, szPath[0] == '/' ? "/" : "");
}
