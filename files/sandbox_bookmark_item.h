// One path that the user has granted to a sandboxed process.
#pragma once

#include "base/fixed_text.h"
#include "base/mutex.h"

#include <Foundation/Foundation.h>

#include <cstdint>

// The keys of the user defaults under which an item's bookmark data is kept: owned C strings in the order in which they
// came. A key is there once. One thread at a time.
class LSandboxBookmarkKeys {
public:
    LSandboxBookmarkKeys() noexcept;
    ~LSandboxBookmarkKeys();
    LSandboxBookmarkKeys(LSandboxBookmarkKeys const&) = delete;
    LSandboxBookmarkKeys& operator=(LSandboxBookmarkKeys const& oOther) noexcept;

    std::size_t GetCount() const noexcept { return nCount; }
    char const* GetAt(std::size_t n) const noexcept { return pKeys[n]; }
    bool Contains(char const* szKey) const noexcept { return Find(szKey) != nCount; }
    bool Append(char const* szKey) noexcept; // false when there is no memory
    bool Remove(char const* szKey) noexcept; // false when it is not there
    void Empty() noexcept;

private:
    std::size_t Find(char const* szKey) const noexcept;

    char** pKeys = nullptr;
    std::size_t nCount = 0;
    std::size_t nCapacity = 0;
};

// A granted path with its URL. The item's operations take its mutex, which is recursive, and may be called on any
// thread; the manager's lists, which link the items, belong to the manager's caller.
class LSandboxBookmarkItem {
public:
    LSandboxBookmarkItem() noexcept;
    // Deleting an item stops no access.
    ~LSandboxBookmarkItem();
    LSandboxBookmarkItem(LSandboxBookmarkItem const&) = delete;
    LSandboxBookmarkItem& operator=(LSandboxBookmarkItem const&) = delete;

    // True when access is started, or stopped, in the end. A URL that knows nothing of access changes nothing.
    bool StartAccessingSecurityScopedResource() noexcept EXCLUDES(mtxItem);
    bool StopAccessingSecurityScopedResource() noexcept EXCLUDES(mtxItem);
    bool IsAccessStarted() const noexcept EXCLUDES(mtxItem);

    // A key counts as one more user of the item. False when it is there already, or is not there to be removed.
    bool AddKey(char const* szKey) noexcept EXCLUDES(mtxItem);
    bool RemoveKey(char const* szKey) noexcept EXCLUDES(mtxItem);

    // Takes over all but the place in a list; the URL is shared. The other item must not change meanwhile.
    void CopyFrom(LSandboxBookmarkItem const& oOther) noexcept EXCLUDES(mtxItem);

    LSandboxBookmarkItem* pNext = nullptr;
    char szPath[kLNameSize] = ""; // letter case does not count
    NSStrong<NSURL> pURL;
    bool bAccessStarted = false;
    bool bCallerFlag = false; // the caller's; nothing here reads it
    bool bSaved = false;      // bookmark data of it is in the user defaults
    LSandboxBookmarkKeys arKeys;
    bool bCopied = false; // by CopyFrom
    mutable LRecursiveMutex mtxItem;
    std::uint64_t nRefCount = 0; // users
};
