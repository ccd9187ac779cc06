#include <Foundation/NSURL.h>

#include "platform/corefoundation/object.h"
#include "platform/foundation/bookmark.h"
#include "platform/foundation/text.h"
#include "platform/testing/sandbox.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <mutex>

using cf::Held;

namespace {

std::atomic<long> nStartedAccesses{0};
std::mutex mtxRefused;
std::string szRefused; // guarded by mtxRefused

// Without the beginning of an escape that the text's end cuts short.
std::string WithoutCutEscape(std::string const& szText) {
    auto const nLast = szText.rfind('%');
    bool const bCut = nLast != szText.npos && szText.size() - nLast < 3 &&
                      szText.find_first_not_of("0123456789ABCDEFabcdef", nLast + 1) == szText.npos;
    return bCut ? szText.substr(0, nLast) : szText;
}

bool IsRefused(std::string const& szPath) {
    std::lock_guard const oLock(mtxRefused);
    return szPath == szRefused;
}

} // namespace

long PlatformStartedAccesses() {
    return nStartedAccesses;
}

void PlatformRefuseAccess(std::string const& szPath) {
    std::lock_guard const oLock(mtxRefused);
    szRefused = szPath;
}

NSURL* NSURL::fileURLWithPath(CFStringRef path, bool) {
    return new NSURL(TextOf(path));
}

NSURL* NSURL::URLWithString(CFStringRef text) {
    std::string const szText = TextOf(text);
    std::string const szWhole = WithoutCutEscape(szText);
    Held<CFStringRef> const whole(StringOf(szWhole));
    Held<CFURLRef> const url(CFURLCreateWithString(nullptr, whole.Get(), nullptr));
    if (!url)
        return nullptr;
    Held<CFStringRef> const scheme(CFURLCopyScheme(url.Get()));
    Held<CFStringRef> const path(CFURLCopyFileSystemPath(url.Get(), kCFURLPOSIXPathStyle));
    if (TextOf(scheme.Get()) == "file")
        return path && szWhole == szText ? new NSURL(TextOf(path.Get())) : nullptr;
    return new NSURL(TextOf(path.Get()), szText);
}

CFStringRef NSURL::absoluteString() const {
    if (!isFileURL())
        return StringOf(szOther);
    Held<CFStringRef> const text(path());
    Held<CFURLRef> const url(text ? CFURLCreateWithFileSystemPath(nullptr, text.Get(), kCFURLPOSIXPathStyle, false)
                                  : nullptr);
    return url ? static_cast<CFStringRef>(CFRetain(CFURLGetString(url.Get()))) : nullptr;
}

CFStringRef NSURL::scheme() const {
    return StringOf(isFileURL() ? "file" : szOther.substr(0, szOther.find(':')));
}

NSURL::~NSURL() {
    nStartedAccesses -= nAccess;
}

NSURL* NSURL::URLByResolvingBookmarkData(CFDataRef data, NSUInteger options, NSURL* relativeURL,
                                         bool* bookmarkDataIsStale, NSError* error) {
    if (options != NSURLBookmarkResolutionWithSecurityScope || relativeURL)
        return Fail(error, EINVAL);
    auto const oMark = Bookmark::FromBytes(
        {reinterpret_cast<char const*>(CFDataGetBytePtr(data)), static_cast<size_t>(CFDataGetLength(data))});
    if (!oMark)
        return Fail(error, EBADMSG);
    auto const oPlace = oMark->Find();
    if (!oPlace)
        return Fail(error, ENOENT);
    if (bookmarkDataIsStale)
        *bookmarkDataIsStale = oPlace->bStale;
    return new NSURL(oPlace->szPath);
}

CFDataRef NSURL::bookmarkDataWithOptions(NSUInteger options, CFArrayRef resourceKeys, NSURL* relativeURL,
                                         NSError* error) const {
    if (options != NSURLBookmarkCreationWithSecurityScope || resourceKeys || relativeURL)
        return Fail(error, EINVAL);
    auto const oMark = Bookmark::OfFile(szPath);
    if (!oMark)
        return Fail(error, errno);
    std::string const szBytes = oMark->Bytes();
    return CFDataCreate(nullptr, reinterpret_cast<UInt8 const*>(szBytes.data()), static_cast<CFIndex>(szBytes.size()));
}

CFStringRef NSURL::path() const {
    return StringOf(szPath);
}

CFStringRef NSURL::lastPathComponent() const {
    std::string const szTrimmed = szPath.substr(0, szPath.find_last_not_of('/') + 1);
    return StringOf(szTrimmed.substr(szTrimmed.rfind('/') + 1));
}

NSURL* NSURL::URLByAppendingPathComponent(CFStringRef component) const {
    return new NSURL((szPath.ends_with('/') ? szPath : szPath + "/") + TextOf(component));
}

bool NSURL::respondsToSelector(char const* szSelector) const noexcept {
    return std::strcmp(szSelector, "startAccessingSecurityScopedResource") == 0 ||
           std::strcmp(szSelector, "stopAccessingSecurityScopedResource") == 0;
}

bool NSURL::startAccessingSecurityScopedResource() {
    if (!isFileURL() || access(szPath.c_str(), F_OK) != 0 || IsRefused(szPath))
        return false;
    ++nAccess;
    ++nStartedAccesses;
    return true;
}

void NSURL::stopAccessingSecurityScopedResource() {
    for (long nNow = nAccess; nNow > 0;)
        if (nAccess.compare_exchange_weak(nNow, nNow - 1)) {
            --nStartedAccesses;
            return;
        }
}
