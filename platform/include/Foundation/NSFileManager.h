// Stands in for <Foundation/NSFileManager.h>: a file copied, and put safely in another's place.
//
// Kept: the replacement is one step, the old file is whole until then.
// Differs from the OS:
// - Results are the caller's own reference, as of <Foundation/NSURL.h>, unless they are called shared.
// - URLForDirectory knows the item-replacement directory in the user's domain only: a new, private folder beside the
//   item, hence on its volume. The caller removes it.
// - Folders are neither copied nor replaced (EISDIR). The copy of a link is the link.
// - replaceItemAtURL keeps no backup and takes the new item's metadata only, so it wants that option (ENOTSUP else).
#pragma once

#include <Foundation/NSURL.h>

typedef NSUInteger NSSearchPathDirectory;
typedef NSUInteger NSSearchPathDomainMask;
enum : NSUInteger {
    NSCachesDirectory = 13,
    NSApplicationSupportDirectory = 14,
    NSItemReplacementDirectory = 99,
    NSUserDomainMask = 1,
    NSFileManagerItemReplacementUsingNewMetadataOnly = 1,
};

// Any thread.
class NSFileManager : public NSObject {
public:
    static NSFileManager* defaultManager(); // shared
    NSURL* URLForDirectory(NSSearchPathDirectory directory, NSSearchPathDomainMask domain, NSURL* appropriateForURL,
                           bool create, NSError* error);
    bool copyItemAtURL(NSURL* url, NSURL* toURL, NSError* error);
    // `resultingItemURL` must be null, as must the backup's name.
    bool replaceItemAtURL(NSURL* url, NSURL* withItemAtURL, CFStringRef backupItemName, NSUInteger options,
                          NSURL** resultingItemURL, NSError* error);
};
