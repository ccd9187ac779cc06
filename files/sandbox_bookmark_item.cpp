#include "files/sandbox_bookmark_item.h"

#include <cstdlib>

namespace {
constexpr std::size_t kFirstKeys = 256;
}

LSandboxBookmarkKeys::LSandboxBookmarkKeys() noexcept
    : pKeys(static_cast<char**>(std::malloc(kFirstKeys * sizeof(char*)))), nCapacity(pKeys ? kFirstKeys : 0) {}

LSandboxBookmarkKeys::~LSandboxBookmarkKeys() {
    Empty();
    std::free(pKeys);
}

LSandboxBookmarkKeys& LSandboxBookmarkKeys::operator=(LSandboxBookmarkKeys const& oOther) noexcept {
    if (this == &oOther)
        return *this;
    Empty();
    for (std::size_t n = 0; n < oOther.nCount; ++n)
        Append(oOther.pKeys[n]);
    return *this;
}

std::size_t LSandboxBookmarkKeys::Find(char const* szKey) const noexcept {
    std::size_t n = 0;
    while (n < nCount && std::strcmp(pKeys[n], szKey) != 0)
        ++n;
    return n;
}

bool LSandboxBookmarkKeys::Append(char const* szKey) noexcept {
    if (nCount == nCapacity) {
        std::size_t const nGrown = nCapacity ? nCapacity * 2 : kFirstKeys;
        void* const pGrown = std::realloc(pKeys, nGrown * sizeof(char*));
        if (!pGrown)
            return false;
        pKeys = static_cast<char**>(pGrown);
        nCapacity = nGrown;
    }
    char* const szCopy = strdup(szKey);
    if (szCopy)
        pKeys[nCount++] = szCopy;
    return szCopy;
}

bool LSandboxBookmarkKeys::Remove(char const* szKey) noexcept {
    std::size_t const nFound = Find(szKey);
    if (nFound == nCount)
        return false;
    std::free(pKeys[nFound]);
    --nCount;
    std::memmove(pKeys + nFound, pKeys + nFound + 1, (nCount - nFound) * sizeof(char*));
    return true;
}

void LSandboxBookmarkKeys::Empty() noexcept {
    while (nCount != 0)
        std::free(pKeys[--nCount]);
}

LSandboxBookmarkItem::LSandboxBookmarkItem() noexcept {
    mtxItem.Create();
}
LSandboxBookmarkItem::~LSandboxBookmarkItem() {
    mtxItem.Destroy();
}

bool LSandboxBookmarkItem::StartAccessingSecurityScopedResource() noexcept {
    LScopedLock const oLock(mtxItem);
    if (!bAccessStarted && pURL && pURL->respondsToSelector("startAccessingSecurityScopedResource"))
        bAccessStarted = pURL->startAccessingSecurityScopedResource();
    return bAccessStarted;
}

bool LSandboxBookmarkItem::StopAccessingSecurityScopedResource() noexcept {
    LScopedLock const oLock(mtxItem);
    if (bAccessStarted && pURL && pURL->respondsToSelector("stopAccessingSecurityScopedResource")) {
        pURL->stopAccessingSecurityScopedResource();
        bAccessStarted = false;
    }
    return !bAccessStarted;
}

bool LSandboxBookmarkItem::IsAccessStarted() const noexcept {
    LScopedLock const oLock(mtxItem);
    return bAccessStarted;
}

bool LSandboxBookmarkItem::AddKey(char const* szKey) noexcept {
    LScopedLock const oLock(mtxItem);
    if (arKeys.Contains(szKey) || !arKeys.Append(szKey))
        return false;
    ++nRefCount;
    return true;
}

bool LSandboxBookmarkItem::RemoveKey(char const* szKey) noexcept {
    LScopedLock const oLock(mtxItem);
    if (!arKeys.Remove(szKey))
        return false;
    nRefCount -= nRefCount != 0;
    return true;
}

void LSandboxBookmarkItem::CopyFrom(LSandboxBookmarkItem const& oOther) noexcept {
    LScopedLock const oLock(mtxItem);
    LCopyFixed(szPath, oOther.szPath);
    pURL = oOther.pURL;
    bAccessStarted = oOther.bAccessStarted;
    bCallerFlag = oOther.bCallerFlag;
    bSaved = oOther.bSaved;
    arKeys = oOther.arKeys;
    nRefCount = oOther.nRefCount;
    bCopied = true;
}
