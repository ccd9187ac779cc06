#include "files/system_folders.h"

#include "base/cf_ref.h"
#include "files/folder.h"
#include "files/path.h"

#include <Foundation/Foundation.h>

namespace {

constexpr char kProductFolder[] = "LumoraVADPlugin";

bool GetText(CFStringRef text, char* szOut) noexcept {
    return text && CFStringGetCString(text, szOut, kLNameSize, kCFStringEncodingUTF8);
}

bool FindFolder(char* szOut, NSSearchPathDirectory nWhich) noexcept {
    LCFOwner<CFArrayRef> const found(NSSearchPathForDirectoriesInDomains(nWhich, NSUserDomainMask, true));
    return found && CFArrayGetCount(found.Get()) > 0 &&
           GetText(static_cast<CFStringRef>(CFArrayGetValueAtIndex(found.Get(), 0)), szOut);
}

// The path of the user's folder, or "".
bool GetUserFolder(char* szOut, NSSearchPathDirectory nWhich, char const* szInHome) noexcept {
    if (FindFolder(szOut, nWhich))
        return true;
    LCFOwner<CFStringRef> const home(NSHomeDirectory());
    bool const bWhole =
        GetText(home.Get(), szOut) && LFile::_MakeFilePath(szOut, szOut, szInHome, "") < static_cast<int>(kLNameSize);
    if (!bWhole)
        *szOut = '\0';
    return bWhole;
}

// Another process may make it at the same moment.
bool Ensure(char const* szFolder) noexcept {
    return LFile::FolderExists(szFolder) || LFile::CreateFolderTree(szFolder) || LFile::FolderExists(szFolder);
}

} // namespace

bool LFile::GetTempFolder(char* szOut) noexcept {
    return GetUserFolder(szOut, NSCachesDirectory, "Library/Caches") && Ensure(szOut);
}

bool LFile::FindUserDataFolder(char* szOut) noexcept {
    return GetUserFolder(szOut, NSApplicationSupportDirectory, "Library/Application Support");
}

bool LFile::GetUserDataFolderApp(char* szOut) noexcept {
    return GetUserDataFolderAppSubFolder(szOut, "");
}

bool LFile::GetUserDataFolderAppSubFolder(char* szOut, char const* szSubFolder) noexcept {
    char szProduct[kLNameSize];
    bool const bFound = FindUserDataFolder(szProduct) &&
                        _MakeFilePath(szProduct, szProduct, kProductFolder, "") < static_cast<int>(kLNameSize) &&
                        _MakeFilePath(szOut, szProduct, szSubFolder, "") < static_cast<int>(kLNameSize);
    if (!bFound) {
        *szOut = '\0';
        return false;
    }
    if (!*szSubFolder)
        szOut[std::strlen(szProduct)] = '\0'; // the separator that the join put behind it
    return Ensure(szOut);
}
