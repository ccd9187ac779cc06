#include <Foundation/NSFileManager.h>

#include "platform/foundation/text.h"

#include <copyfile.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace {

std::string PathOf(NSURL* url) {
    CFStringRef const path = url->path();
    std::string const szPath = TextOf(path);
    CFRelease(path);
    return szPath;
}

bool IsFolder(std::string const& szPath) {
    struct stat oStatus;
    return lstat(szPath.c_str(), &oStatus) == 0 && S_ISDIR(oStatus.st_mode);
}

bool Refuse(NSError* error, int nCode) {
    Fail(error, nCode);
    return false;
}

} // namespace

NSFileManager* NSFileManager::defaultManager() {
    static NSFileManager* const pManager = new NSFileManager; // never destroyed
    return pManager;
}

NSURL* NSFileManager::URLForDirectory(NSSearchPathDirectory directory, NSSearchPathDomainMask domain,
                                      NSURL* appropriateForURL, bool create, NSError* error) {
    if (directory != NSItemReplacementDirectory || domain != NSUserDomainMask || !appropriateForURL || !create)
        return Fail(error, ENOTSUP);
    std::string const szItem = PathOf(appropriateForURL);
    std::string szFolder = szItem.substr(0, szItem.rfind('/') + 1) + ".replacement-XXXXXX";
    if (!mkdtemp(szFolder.data()))
        return Fail(error, errno);
    CFStringRef const path = StringOf(szFolder);
    NSURL* const url = NSURL::fileURLWithPath(path, true);
    CFRelease(path);
    return url;
}

bool NSFileManager::copyItemAtURL(NSURL* url, NSURL* toURL, NSError* error) {
    std::string const szFrom = PathOf(url);
    if (IsFolder(szFrom))
        return Refuse(error, EISDIR);
    return copyfile(szFrom.c_str(), PathOf(toURL).c_str(), nullptr, COPYFILE_ALL | COPYFILE_NOFOLLOW | COPYFILE_EXCL) ==
                   0
               ? true
               : Refuse(error, errno);
}

bool NSFileManager::replaceItemAtURL(NSURL* url, NSURL* withItemAtURL, CFStringRef backupItemName, NSUInteger options,
                                     NSURL** resultingItemURL, NSError* error) {
    if (backupItemName || resultingItemURL || options != NSFileManagerItemReplacementUsingNewMetadataOnly)
        return Refuse(error, ENOTSUP);
    std::string const szOld = PathOf(url), szNew = PathOf(withItemAtURL);
    if (IsFolder(szOld) || IsFolder(szNew))
        return Refuse(error, EISDIR);
    return std::rename(szNew.c_str(), szOld.c_str()) == 0 ? true : Refuse(error, errno);
}
