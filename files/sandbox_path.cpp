#include "files/sandbox_path.h"

#include "base/cf_ref.h"
#include "base/fixed_text.h"
#include "files/folder.h"
#include "files/path.h"

#include <Foundation/Foundation.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <strings.h>

#include <climits>
#include <cstdlib>

namespace {

// The process's home without a separator at its end; "" when it does not fit.
void GetHome(char (&szHome)[kLNameSize]) noexcept {
    LCFOwner<CFStringRef> const home(NSHomeDirectory());
    if (!home || !CFStringGetCString(home.Get(), szHome, sizeof szHome, kCFStringEncodingUTF8))
        szHome[0] = '\0';
    for (std::size_t n = std::strlen(szHome); n > 1 && szHome[n - 1] == '/';)
        szHome[--n] = '\0';
}

// Resolves the path; true when it then lies outside the container.
bool ResolveOutside(char (&szReal)[PATH_MAX], char const* szPath) noexcept {
    return realpath(szPath, szReal) && !LFile::IsPathInSandbox(szReal);
}

bool IsLink(char const* szPath) noexcept {
    struct stat oStatus;
    return lstat(szPath, &oStatus) == 0 && S_ISLNK(oStatus.st_mode);
}

bool Give(char* szOut, char const* szResolved, char const* szRest) noexcept {
    bool const bWhole = LFile::_MakeFilePath(szOut, szResolved, szRest, "") < static_cast<int>(kLNameSize);
    if (!bWhole)
        *szOut = '\0';
    return bWhole;
}

} // namespace

bool LFile::IsPathInSandbox(char const* szPath) noexcept {
    char szHome[kLNameSize];
    GetHome(szHome);
    return *szHome && strncasecmp(szHome, szPath, std::strlen(szHome)) == 0;
}

bool LFile::MakeNonSandboxedFilePath(char* szOut, char const* szPath) noexcept {
    char szHome[kLNameSize];
    char szReal[PATH_MAX];
    char szPrefix[PATH_MAX];
    LCopyFixed(szPrefix, szPath); // also apart from the output, which may be the input
    *szOut = '\0';
    auto const Outside = [&](char const* szResolved, char const* szRest) {
        bool const bOutside = ResolveOutside(szReal, szPrefix);
        if (bOutside)
            Give(szOut, szResolved, szRest);
        return bOutside;
    };
    if (FileExists(szPrefix))
        return Outside("", szReal);
    GetHome(szHome);
    if (!IsPathInSandbox(szPrefix))
        return false;
    // From the first component below the home on: the first link decides.
    for (char* p = szPrefix + std::strlen(szHome); *p; ++p) {
        if (*p == '/')
            continue;
        p += std::strcspn(p, "/");
        char const cEnd = *p;
        *p = '\0';
        if (IsLink(szPrefix))
            return Outside(szReal, cEnd ? p + 1 : "");
        *p = cEnd;
        if (!cEnd)
            break;
    }
    return false;
}

bool LFile::GetUserFolderNonSandboxed(char* szOut) noexcept {
    passwd oUser;
    passwd* pFound = nullptr;
    char sz[4096]; // the texts of the user's entry
    *szOut = '\0';
    return getpwuid_r(getuid(), &oUser, sz, sizeof sz, &pFound) == 0 && pFound && Give(szOut, "", oUser.pw_dir);
}
