#include "files/folder_operations.h"

#include "base/cf_ref.h"
#include "files/folder.h"
#include "files/folder_iterator.h"
#include "files/path.h"

#include <Foundation/Foundation.h>

#include <copyfile.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using URL = NSStrong<NSURL>;
using String = LCFOwner<CFStringRef>;

struct FileNumber {
    dev_t nDevice = 0;
    ino_t nNode = 0;
    bool operator==(FileNumber const&) const = default;
};

FileNumber NumberOf(struct stat const& oStatus) noexcept {
    return {oStatus.st_dev, oStatus.st_ino};
}

bool ExistsItself(char const* szPath) noexcept {
    struct stat oStatus;
    return lstat(szPath, &oStatus) == 0; // a link that leads nowhere is there too
}

URL MakeURL(char const* szPath) noexcept {
    String const path(CFStringCreateWithCString(nullptr, szPath, kCFStringEncodingUTF8));
    return URL(path ? NSURL::fileURLWithPath(path.Get(), false) : nullptr); // null for a name that is no UTF-8
}

// The folder in which a file's replacement is made; goes with what is left in it.
class ReplacementFolder {
public:
    explicit ReplacementFolder(URL const& pTarget) noexcept {
        NSError oError;
        pFolder = URL(NSFileManager::defaultManager()->URLForDirectory(NSItemReplacementDirectory, NSUserDomainMask,
                                                                       pTarget.get(), true, &oError));
        if (!pFolder || oError.code != 0)
            return;
        String const name(pTarget->lastPathComponent());
        pItem = URL(pFolder->URLByAppendingPathComponent(name.Get()));
    }
    ~ReplacementFolder() {
        if (!pFolder)
            return;
        if (pItem)
            Remove(pItem, unlink);
        Remove(pFolder, rmdir);
    }
    ReplacementFolder(ReplacementFolder const&) = delete;
    ReplacementFolder& operator=(ReplacementFolder const&) = delete;

    URL const& GetItem() const noexcept { return pItem; } // null when there is no such folder

private:
    static void Remove(URL const& pURL, int (*Call)(char const*)) noexcept {
        char szPath[kLNameSize * 5]; // the folder's and the item's names may come on top of a path of 259 bytes
        String const path(pURL->path());
        if (path && CFStringGetCString(path.Get(), szPath, sizeof szPath, kCFStringEncodingUTF8))
            Call(szPath);
    }

    URL pFolder;
    URL pItem;
};

bool ReplaceFile(char const* szSource, char const* szTarget) noexcept {
    URL const pSource = MakeURL(szSource), pTarget = MakeURL(szTarget);
    if (!pSource || !pTarget)
        return false;
    ReplacementFolder const oReplacement(pTarget);
    NSFileManager* const pManager = NSFileManager::defaultManager();
    NSError oError;
    return oReplacement.GetItem() && pManager->copyItemAtURL(pSource.get(), oReplacement.GetItem().get(), &oError) &&
           pManager->replaceItemAtURL(pTarget.get(), oReplacement.GetItem().get(), nullptr,
                                      NSFileManagerItemReplacementUsingNewMetadataOnly, nullptr, &oError) &&
           oError.code == 0;
}

class TreeCopy {
public:
    explicit TreeCopy(FileNumber oTargetRoot) noexcept : oRoot(oTargetRoot) {}

    // Copies the entries of the source, from its current one on, into a folder that is there.
    void CopyEntries(LFile::FolderIterator& oSource, char const* szTarget) const noexcept {
        do {
            char szFrom[kLNameSize];
            char szTo[kLNameSize];
            if (oSource.IsDotFolder() || !oSource.GetPath(szFrom) ||
                LFile::_MakeFilePath(szTo, szTarget, oSource.GetName(), "") >= static_cast<int>(kLNameSize))
                continue;
            if (oSource.IsFolder())
                CopyFolder(oSource, szTo);
            else
                LFile::CopyFile(szFrom, szTo);
        } while (oSource.Next());
    }

private:
    // A link that stands where the target's folder should be is not written through.
    void CopyFolder(LFile::FolderIterator const& oParent, char const* szTo) const noexcept {
        struct stat oStatus;
        if (fstatat(oParent.GetDescriptor(), oParent.GetName(), &oStatus, AT_SYMLINK_NOFOLLOW) != 0 ||
            NumberOf(oStatus) == oRoot)
            return;
        mkdir(szTo, 0777);
        if (lstat(szTo, &oStatus) != 0 || !S_ISDIR(oStatus.st_mode))
            return;
        if (LFile::FolderIteratorAllFiles oBelow; oBelow.StartBelow(oParent))
            CopyEntries(oBelow, szTo);
    }

    FileNumber oRoot;
};

} // namespace

bool LFile::CopyFile(char const* szSource, char const* szTarget) noexcept {
    if (ExistsItself(szTarget))
        return ReplaceFile(szSource, szTarget);
    copyfile(szSource, szTarget, nullptr, COPYFILE_ALL | COPYFILE_NOFOLLOW);
    return true;
}

void LFile::CopyFolderFiles(char const* szSourceFolder, char const* szTargetFolder) noexcept {
    struct stat oSource;
    struct stat oTarget;
    if (stat(szSourceFolder, &oSource) != 0 || !S_ISDIR(oSource.st_mode))
        return;
    if ((!FolderExists(szTargetFolder) && !CreateFolderTree(szTargetFolder)) || stat(szTargetFolder, &oTarget) != 0 ||
        NumberOf(oSource) == NumberOf(oTarget))
        return;
    if (FolderIteratorAllFiles oFolder; oFolder.Start(szSourceFolder))
        TreeCopy(NumberOf(oTarget)).CopyEntries(oFolder, szTargetFolder);
}
