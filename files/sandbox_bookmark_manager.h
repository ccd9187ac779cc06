// The keeper of what the user has granted to a sandboxed process, over restarts.
#pragma once

#include "base/cf_ref.h"
#include "base/list.h"
#include "base/string_long.h"
#include "files/sandbox_bookmark_item.h"

// The one instance holds an item for each path that was granted, and keeps bookmark data in the user defaults under
// keys that callers choose; the list of those keys is there under "SECURITY_BOOKMARK_KEYS". A path is looked for among
// the files when a regular file is there, else among the folders; letter case does not count. Paths have at most 259
// bytes.
//
// Without an instance every static operation does nothing and gives false: a caller that comes before Create or after
// Destroy is told that nothing is granted, which is true. Create, Destroy, AddFilePath, AddFilePathToSettings and
// Release change the lists and the keys, which have no lock: no two of them, nor one of them and any other operation,
// may run at once.
class LSandboxBookmarkManager {
public:
    // Makes the instance, if there is none, with what the user defaults hold: each bookmark is resolved and its access
    // started. One whose file is gone is forgotten with its key; one that is stale is saved anew.
    static void Create() noexcept;
    // Saves the list of keys and deletes the instance with its items. No access is stopped.
    static void Destroy() noexcept;

    // Takes a grant for the path: the URL is retained and its access started. True without a record when the sandbox
    // allows the path anyway, and when the path has an item already. With bSaveToSettings the bookmark is saved under
    // the key; that this failed shows in nothing but the item's bSaved.
    static bool AddFilePath(char const* szPath, NSURL* pURL, bool bCallerFlag, bool bSaveToSettings,
                            char const* szKey) noexcept;
    // Saves the bookmark of a path that was added under one more key. The flag is not used.
    static bool AddFilePathToSettings(char const* szPath, bool bUnused, char const* szKey) noexcept;

    // The first item of the path whose access is stopped, or started. False when there is none.
    static bool StartAccessingSecurityScopedResource(char const* szPath) noexcept;
    static bool StopAccessingSecurityScopedResource(char const* szPath) noexcept;
    // Whether access to the path, or to a folder whose path it begins with, is started.
    static bool IsAccessStarted(char const* szPath) noexcept;

    // One user more, or less; with its last user the item goes and its access stops.
    static void Retain(char const* szPath) noexcept;
    static void Release(char const* szPath) noexcept;

    // Whether the path lies in the process's container and no link leads from there out of it. Works without an
    // instance. The flag is not used.
    static bool IsAccessAllowedByEntitlement(char const* szPath, bool bUnused = false) noexcept;

    static LSandboxBookmarkManager* pInstance; // null when there is none

    LList<LSandboxBookmarkItem> lFiles;   // regular files
    LList<LSandboxBookmarkItem> lFolders; // everything else, what is not there at the moment included
    LCFOwner<CFMutableArrayRef> arKeyNames;
    // The user's own folders, outside of the container.
    LStringLongTemplate<char> szDownloads, szMovies, szMusic, szPictures;

private:
    LSandboxBookmarkManager() noexcept;

    LList<LSandboxBookmarkItem>& ListOf(char const* szPath) noexcept;
    LSandboxBookmarkItem* Find(char const* szPath) noexcept;
    LSandboxBookmarkItem* FindByAccess(char const* szPath, bool bStarted) noexcept;

    void LoadBookmarks() noexcept;
    bool LoadBookmark(CFStringRef key) noexcept; // true when what is stored has changed
    void ForgetKey(CFStringRef key) noexcept;
    bool InstanceSaveBookmarkToFile(LSandboxBookmarkItem& oItem, CFStringRef key) noexcept;
    void InstanceSaveBookmarksToFile(bool bFiles) noexcept;
    void InstanceAddKey(CFStringRef key) noexcept;
    void StoreKeyNames() noexcept;
};
