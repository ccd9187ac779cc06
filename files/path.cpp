#include "files/path.h"

#include "files/separator.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>

namespace {

constexpr std::size_t kMostOfFolder = kLNameSize - 2; // leaves room for the separator and the NUL

std::size_t CopyPath(char* szOut, char const* pFrom, std::size_t nLength) noexcept {
    nLength = std::min(nLength, kLNameSize - 1);
    std::memmove(szOut, pFrom, nLength);
    szOut[nLength] = '\0';
    return nLength;
}

std::size_t CopyPath(char* szOut, char const* szFrom) noexcept {
    return CopyPath(szOut, szFrom, strnlen(szFrom, kLNameSize - 1));
}

// Where the extension begins in the part from `nPart` to `nLength`, or nLength when it has none.
std::size_t FindDot(char const* szPath, std::size_t nPart, std::size_t nLength) noexcept {
    for (std::size_t n = nLength; n > nPart; --n)
        if (szPath[n - 1] == '.')
            return n - 1;
    return nLength;
}

} // namespace

int LFile::_MakeFilePath(char* szOut, char const* szFolder, char const* szName, char const* szExt) noexcept {
    char szPath[kLNameSize]; // apart from the output, which may be one of the inputs
    std::size_t const nFolder = std::strlen(szFolder);
    bool const bSeparate = nFolder != 0 && !LIsPathSeparator(szFolder[std::min(nFolder, kMostOfFolder) - 1]);
    std::size_t const nWhole = nFolder + bSeparate + std::strlen(szName) + std::strlen(szExt);
    LFixedWriter oPath(szPath);
    oPath.Add(szFolder, std::min(nFolder, kMostOfFolder));
    if (bSeparate)
        oPath.Add('/');
    oPath.Add(szName).Add(szExt);
    std::memcpy(szOut, szPath, oPath.Length() + 1);
    bool const bCut = oPath.WasCut() || nFolder > kMostOfFolder;
    return static_cast<int>(std::min<std::size_t>(bCut ? std::max(nWhole, kLNameSize) : nWhole, INT_MAX));
}

void LFile::MakeFilePathF(char* szOut, char const* szFolder, char const* szFormat, ...) noexcept {
    char szName[kLNameSize];
    va_list oArguments;
    va_start(oArguments, szFormat);
    if (std::vsnprintf(szName, sizeof szName, szFormat, oArguments) < 0)
        szName[0] = '\0';
    va_end(oArguments);
    _MakeFilePath(szOut, szFolder, szName, "");
}

int LFile::_MakeFilePathSecure(char* szOut, char const* szFolder, char const* szName, char const* szExt) noexcept {
    std::size_t const nFolder = strnlen(szFolder, kMostOfFolder);
    if (std::size_t const nDot = FindDot(szFolder, 0, nFolder); nDot != nFolder)
        szFolder += nDot + 1 + LIsPathSeparator(szFolder[nDot + 1]);
    szName += LLastPartOfPath(szName, std::strlen(szName));
    std::size_t const nExt = std::strlen(szExt);
    std::size_t const nPart = LLastPartOfPath(szExt, nExt);
    std::size_t const nDot = FindDot(szExt, nPart, nExt);
    return _MakeFilePath(szOut, szFolder, szName, szExt + (nDot != nExt ? nDot : nPart));
}

std::size_t LFile::_GetFolderFromPath(char* szOut, char const* szPath) noexcept {
    std::size_t const nPart = LLastPartOfPath(szOut, CopyPath(szOut, szPath));
    std::size_t nFolder = nPart != 0 ? nPart - 1 : 0;
    if (nFolder == 0 && szOut[0] == '/')
        nFolder = 1;
    szOut[nFolder] = '\0';
    return nFolder;
}

std::size_t LFile::_GetBaseFolderFromPath(char* szOut, char const* szPath) noexcept {
    std::size_t const nPath = strnlen(szPath, kLNameSize - 1);
    std::size_t nBase = std::min<std::size_t>(nPath, 2);
    while (nBase < nPath && !LIsPathSeparator(szPath[nBase++])) {
    }
    if (nBase >= 2 && LIsPathSeparator(szPath[nBase - 1]))
        --nBase;
    return CopyPath(szOut, szPath, nBase);
}

void LFile::_GetFileFromPath(char* szOut, char const* szPath) noexcept {
    CopyPath(szOut, szPath + LLastPartOfPath(szPath, std::strlen(szPath)));
}

std::size_t LFile::_GetFileNameFromPath(char* szOut, char const* szPath) noexcept {
    _GetFileFromPath(szOut, szPath);
    std::size_t const nLength = std::strlen(szOut);
    std::size_t const nDot = FindDot(szOut, 0, nLength);
    if (nDot == nLength || nDot == 0)
        return 0;
    szOut[nDot] = '\0';
    return nDot;
}

void LFile::_GetFileExtensionFromPath(char* szOut, char const* szPath) noexcept {
    std::size_t const nLength = std::strlen(szPath);
    std::size_t const nDot = FindDot(szPath, LLastPartOfPath(szPath, nLength), nLength);
    CopyPath(szOut, szPath + nDot, nLength - nDot);
}

void LFile::_ApplyNewFileExtension(char* szOut, char const* szPath, char const* szNewExt) noexcept {
    char szNew[kLNameSize]; // apart from the output, which may be one of the inputs
    std::size_t const nPath = strnlen(szPath, kLNameSize - 1);
    std::size_t const nDot = FindDot(szPath, LLastPartOfPath(szPath, nPath), nPath);
    LFixedWriter oNew(szNew);
    oNew.Add(szPath, nDot == 0 ? nPath : nDot).Add(szNewExt);
    std::memcpy(szOut, szNew, oNew.Length() + 1);
}
