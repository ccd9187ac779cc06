#include "files/sandbox_bookmark_manager.h"

#include "files/folder.h"
#include "files/path.h"
#include "files/sandbox_path.h"

#include <strings.h>

#include <memory>
#include <new>

using Item = LSandboxBookmarkItem;

LSandboxBookmarkManager* LSandboxBookmarkManager::pInstance = nullptr;

namespace {

bool IsSamePath(char const* szOne, char const* szOther) noexcept {
    return strcasecmp(szOne, szOther) == 0;
}

void SetUserFolder(LStringLongTemplate<char>& szFolder, char const* szName) noexcept {
    char szPath[kLNameSize];
    szFolder.Reserve(kLNameSize);
    if (LFile::GetUserFolderNonSandboxed(szPath) &&
        LFile::_MakeFilePath(szPath, szPath, szName, "") < static_cast<int>(kLNameSize))
        szFolder.Set(szPath);
}

} // namespace

LSandboxBookmarkManager::LSandboxBookmarkManager() noexcept
    : arKeyNames(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks)) {
    SetUserFolder(szDownloads, "Downloads");
    SetUserFolder(szMovies, "Movies");
    SetUserFolder(szMusic, "Music");
    SetUserFolder(szPictures, "Pictures");
    LoadBookmarks();
}

void LSandboxBookmarkManager::Create() noexcept {
    if (!pInstance)
        pInstance = new (std::nothrow) LSandboxBookmarkManager;
}

void LSandboxBookmarkManager::Destroy() noexcept {
    if (!pInstance)
        return;
    pInstance->StoreKeyNames();
    delete pInstance;
    pInstance = nullptr;
}

LList<Item>& LSandboxBookmarkManager::ListOf(char const* szPath) noexcept {
    return LFile::RegularFileExists(szPath) ? lFiles : lFolders;
}

Item* LSandboxBookmarkManager::Find(char const* szPath) noexcept {
    return ListOf(szPath).Find([szPath](Item const& oItem) { return IsSamePath(oItem.szPath, szPath); });
}

Item* LSandboxBookmarkManager::FindByAccess(char const* szPath, bool bStarted) noexcept {
    return ListOf(szPath).Find([szPath, bStarted](Item const& oItem) {
        return IsSamePath(oItem.szPath, szPath) && oItem.IsAccessStarted() == bStarted;
    });
}

bool LSandboxBookmarkManager::AddFilePath(char const* szPath, NSURL* pURL, bool bCallerFlag, bool bSaveToSettings,
                                          char const* szKey) noexcept {
    if (!pInstance)
        return false;
    if (IsAccessAllowedByEntitlement(szPath) || pInstance->Find(szPath))
        return true;
    // An empty path would pass for a folder that holds everything, a cut one for another's.
    std::unique_ptr<Item> pItem(*szPath && strnlen(szPath, kLNameSize) < kLNameSize ? new (std::nothrow) Item
                                                                                    : nullptr);
    if (!pItem)
        return false;
    pItem->pURL = NSStrong<NSURL>::Retain(pURL);
    if (!pItem->StartAccessingSecurityScopedResource()) {
        pItem->StopAccessingSecurityScopedResource();
        return false;
    }
    LCopyFixed(pItem->szPath, szPath);
    pItem->bCallerFlag = bCallerFlag;
    Item& oItem = pInstance->ListOf(szPath).Insert(std::move(pItem));
    LCFOwner<CFStringRef> const key(
        bSaveToSettings && szKey ? CFStringCreateWithCString(nullptr, szKey, kCFStringEncodingUTF8) : nullptr);
    if (key && pInstance->InstanceSaveBookmarkToFile(oItem, key.Get())) {
        pInstance->InstanceAddKey(key.Get());
        oItem.AddKey(szKey);
    }
    return true;
}

bool LSandboxBookmarkManager::AddFilePathToSettings(char const* szPath, bool, char const* szKey) noexcept {
    if (!pInstance || !szKey || IsAccessAllowedByEntitlement(szPath))
        return false;
    Item* const pItem = pInstance->Find(szPath);
    LCFOwner<CFStringRef> const key(CFStringCreateWithCString(nullptr, szKey, kCFStringEncodingUTF8));
    if (!pItem || !key || !pInstance->InstanceSaveBookmarkToFile(*pItem, key.Get()))
        return false;
    pItem->AddKey(szKey);
    pInstance->InstanceAddKey(key.Get());
    return true;
}

bool LSandboxBookmarkManager::StartAccessingSecurityScopedResource(char const* szPath) noexcept {
    Item* const pItem = pInstance ? pInstance->FindByAccess(szPath, false) : nullptr;
    return pItem && pItem->StartAccessingSecurityScopedResource();
}

bool LSandboxBookmarkManager::StopAccessingSecurityScopedResource(char const* szPath) noexcept {
    Item* const pItem = pInstance ? pInstance->FindByAccess(szPath, true) : nullptr;
    return pItem && pItem->StopAccessingSecurityScopedResource();
}

bool LSandboxBookmarkManager::IsAccessStarted(char const* szPath) noexcept {
    if (!pInstance)
        return false;
    if (LFile::RegularFileExists(szPath) && pInstance->FindByAccess(szPath, true))
        return true;
    return pInstance->lFolders.Find([szPath](Item const& oItem) {
        return strncasecmp(oItem.szPath, szPath, std::strlen(oItem.szPath)) == 0 && oItem.IsAccessStarted();
    });
}

void LSandboxBookmarkManager::Retain(char const* szPath) noexcept {
    Item* const pItem = pInstance ? pInstance->Find(szPath) : nullptr;
    if (!pItem)
        return;
    LScopedLock const oLock(pItem->mtxItem);
    ++pItem->nRefCount;
}

void LSandboxBookmarkManager::Release(char const* szPath) noexcept {
    if (!pInstance)
        return;
    LList<Item>& lItems = pInstance->ListOf(szPath); // once: what is at the path may change meanwhile
    auto const IsIt = [szPath](Item const& oItem) { return IsSamePath(oItem.szPath, szPath); };
    Item* const pItem = lItems.Find(IsIt);
    if (!pItem)
        return;
    if (LScopedLock const oLock(pItem->mtxItem); pItem->nRefCount > 1) {
        --pItem->nRefCount;
        return;
    }
    lItems.Unlink(IsIt)->StopAccessingSecurityScopedResource();
}

bool LSandboxBookmarkManager::IsAccessAllowedByEntitlement(char const* szPath, bool) noexcept {
    char szOutside[kLNameSize];
    return LFile::IsPathInSandbox(szPath) && !LFile::MakeNonSandboxedFilePath(szOutside, szPath);
}
