// Stands in for <Foundation/NSURL.h>: URLs, and of files with security scope and bookmarks.
//
// Kept: bookmark data is opaque, survives the process, and finds its file again after it was renamed or moved within
// its file system, saying then that it is stale. Access is started and stopped, and each start wants its stop.
// Differs from the OS:
// - Nothing here is autoreleased: what a function returns is the caller's own reference. Strings, data and arrays are
//   the CoreFoundation objects, which are the same there.
// - No sandbox stands behind it: a scope opens nothing that the user may not open anyway. Starting access fails
//   for what is not there, and when the test door says so.
// - Every file URL has security scope, the one that a panel gives and the one made from a path.
// - A URL of anything but a file has its text and its parts, nothing else; access to it can't be started. The text may
//   end inside an escape, which stays as it is: whoever opens a URL whose end was cut off still gets what is left.
// - Both options must be the ones declared here; no resource values and no relative URL (EINVAL else).
// - A file that was replaced at its path is found there, stale. Where the kernel does not let this user open a file by
//   its number, a renamed one is looked for in its old folder and then below the nearest folders that still exist.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/NSStrong.h>

#include <atomic>
#include <string>

enum : NSUInteger {
    NSURLBookmarkResolutionWithSecurityScope = 1024,
    NSURLBookmarkCreationWithSecurityScope = 2048,
};

// Any thread.
class NSURL : public NSObject {
public:
    static NSURL* fileURLWithPath(CFStringRef path, bool isDirectory);
    // Null for a text that makes no absolute URL by itself.
    static NSURL* URLWithString(CFStringRef text);
    // Null, with the error, for data that is none or leads nowhere any more.
    static NSURL* URLByResolvingBookmarkData(CFDataRef data, NSUInteger options, NSURL* relativeURL,
                                             bool* bookmarkDataIsStale, NSError* error);

    // Null, with the error, when the file is not there.
    CFDataRef bookmarkDataWithOptions(NSUInteger options, CFArrayRef resourceKeys, NSURL* relativeURL,
                                      NSError* error) const;
    bool isFileURL() const noexcept { return szOther.empty(); }
    CFStringRef absoluteString() const; // escaped
    CFStringRef scheme() const;
    CFStringRef path() const; // a file's: without escapes
    CFStringRef lastPathComponent() const;
    NSURL* URLByAppendingPathComponent(CFStringRef component) const;
    bool respondsToSelector(char const* szSelector) const noexcept override;
    virtual bool startAccessingSecurityScopedResource();
    virtual void stopAccessingSecurityScopedResource();

protected:
    explicit NSURL(std::string szPathToHold) : szPath(std::move(szPathToHold)) {}
    ~NSURL() override;

private:
    NSURL(std::string szPathToHold, std::string szUrl) : szPath(std::move(szPathToHold)), szOther(std::move(szUrl)) {}

    std::string const szPath;  // UTF-8
    std::string const szOther; // the whole text of a URL that is no file's, else empty
    std::atomic<long> nAccess{0};
};
