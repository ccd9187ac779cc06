// The manager's side towards the user defaults: bookmarks restored and saved, and the list of their keys.
#include "files/sandbox_bookmark_manager.h"

#include "files/folder.h"

#include <memory>
#include <new>

namespace {

using Text = LCFOwner<CFStringRef>;
using Data = LCFOwner<CFDataRef>;
using Item = LSandboxBookmarkItem;

CFStringRef KeysKey() noexcept { return CFSTR("SECURITY_BOOKMARK_KEYS"); }

NSUserDefaults& Defaults() noexcept {
    return *NSUserDefaults::standardUserDefaults();
}

// Null when there is none, or something of another type.
template <class Ref>
LCFOwner<Ref> Stored(CFStringRef key, CFTypeID nType) noexcept {
    LCFOwner<CFTypeRef> object(Defaults().objectForKey(key));
    if (!object || CFGetTypeID(object.Get()) != nType)
        return {};
    return LCFOwner<Ref>(static_cast<Ref>(CFRetain(object.Get())));
}

CFRange WholeOf(CFArrayRef array) noexcept {
    return CFRangeMake(0, CFArrayGetCount(array));
}

Data MakeBookmark(Item const& oItem) noexcept {
    NSError oError;
    Data data(oItem.pURL ? oItem.pURL->bookmarkDataWithOptions(NSURLBookmarkCreationWithSecurityScope, nullptr, nullptr,
                                                               &oError)
                         : nullptr);
    return oError.code == 0 ? std::move(data) : Data();
}

// The URL's path in the item's buffer; false when it does not fit or nothing is there.
bool TakePath(Item& oItem) noexcept {
    Text const path(oItem.pURL->path());
    return path && CFStringGetCString(path.Get(), oItem.szPath, sizeof oItem.szPath, kCFStringEncodingUTF8) &&
           LFile::FileExists(oItem.szPath);
}

// Null when the data leads nowhere.
std::unique_ptr<Item> Resolve(CFDataRef data, bool& bStale) noexcept {
    NSError oError;
    NSStrong<NSURL> pURL(
        NSURL::URLByResolvingBookmarkData(data, NSURLBookmarkResolutionWithSecurityScope, nullptr, &bStale, &oError));
    std::unique_ptr<Item> pItem(pURL && oError.code == 0 ? new (std::nothrow) Item : nullptr);
    if (!pItem)
        return nullptr;
    pItem->pURL = std::move(pURL);
    return TakePath(*pItem) ? std::move(pItem) : nullptr;
}

} // namespace

void LSandboxBookmarkManager::StoreKeyNames() noexcept {
    Defaults().setObject(arKeyNames.Get(), KeysKey());
    Defaults().synchronize();
}

void LSandboxBookmarkManager::InstanceAddKey(CFStringRef key) noexcept {
    if (CFArrayContainsValue(arKeyNames.Get(), WholeOf(arKeyNames.Get()), key))
        return;
    CFArrayAppendValue(arKeyNames.Get(), key);
    StoreKeyNames();
}

void LSandboxBookmarkManager::ForgetKey(CFStringRef key) noexcept {
    for (CFIndex n; (n = CFArrayGetFirstIndexOfValue(arKeyNames.Get(), WholeOf(arKeyNames.Get()), key)) >= 0;)
        CFArrayRemoveValueAtIndex(arKeyNames.Get(), n);
    Defaults().removeObjectForKey(key);
    StoreKeyNames();
}

void LSandboxBookmarkManager::LoadBookmarks() noexcept {
    if (auto const stored = Stored<CFArrayRef>(KeysKey(), CFArrayGetTypeID()))
        for (CFIndex n = 0; n < CFArrayGetCount(stored.Get()); ++n)
            if (void const* const key = CFArrayGetValueAtIndex(stored.Get(), n);
                CFGetTypeID(key) == CFStringGetTypeID() && !CFEqual(key, KeysKey()))
                CFArrayAppendValue(arKeyNames.Get(), key);
    bool bChanged = false;
    LCFOwner<CFArrayRef> const keys(CFArrayCreateCopy(nullptr, arKeyNames.Get())); // the loop forgets some
    for (CFIndex n = 0; n < CFArrayGetCount(keys.Get()); ++n)
        bChanged |= LoadBookmark(static_cast<CFStringRef>(CFArrayGetValueAtIndex(keys.Get(), n)));
    if (!bChanged)
        return;
    InstanceSaveBookmarksToFile(true);
    InstanceSaveBookmarksToFile(false);
}

bool LSandboxBookmarkManager::LoadBookmark(CFStringRef key) noexcept {
    LCFOwner<CFTypeRef> const object(Defaults().objectForKey(key));
    auto const data = Stored<CFDataRef>(key, CFDataGetTypeID());
    if (!object || (data && CFDataGetLength(data.Get()) == 0)) {
        ForgetKey(key);
        return false;
    }
    bool bStale = false;
    std::unique_ptr<Item> pItem = data ? Resolve(data.Get(), bStale) : nullptr;
    if (!pItem) {
        ForgetKey(key);
        return true;
    }
    LStringLongTemplate<char> szKey;
    szKey.Reserve(
        static_cast<std::size_t>(CFStringGetMaximumSizeForEncoding(CFStringGetLength(key), kCFStringEncodingUTF8)) + 1);
    if (szKey.GetBuffer() &&
        CFStringGetCString(key, szKey.GetBuffer(), static_cast<CFIndex>(szKey.GetCapacity()), kCFStringEncodingUTF8))
        pItem->AddKey(szKey.GetString());
    if (bStale && !InstanceSaveBookmarkToFile(*pItem, key))
        return true;
    if (pItem->StartAccessingSecurityScopedResource()) {
        pItem->bSaved = true;
        LList<Item>& lItems = ListOf(pItem->szPath);
        lItems.Insert(std::move(pItem));
    }
    return false;
}

bool LSandboxBookmarkManager::InstanceSaveBookmarkToFile(LSandboxBookmarkItem& oItem, CFStringRef key) noexcept {
    if (CFEqual(key, KeysKey()))
        return false; // the list of keys would be lost
    Data const data = MakeBookmark(oItem);
    if (!data)
        return false;
    Defaults().setObject(data.Get(), key);
    if (!Defaults().synchronize())
        return false;
    oItem.bSaved = true;
    return true;
}

void LSandboxBookmarkManager::InstanceSaveBookmarksToFile(bool bFiles) noexcept {
    for (Item& oItem : bFiles ? lFiles : lFolders) {
        Data const data = oItem.bSaved && oItem.arKeys.GetCount() != 0 ? MakeBookmark(oItem) : Data();
        for (std::size_t n = 0; data && n < oItem.arKeys.GetCount(); ++n)
            if (Text const key(CFStringCreateWithCString(nullptr, oItem.arKeys.GetAt(n), kCFStringEncodingUTF8)); key)
                Defaults().setObject(data.Get(), key.Get());
    }
    Defaults().synchronize();
}
