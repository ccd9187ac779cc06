#include "runtime/diagnostics/open_web_page.h"

#include "base/cf_ref.h"
#include "base/string_long.h"

#include <AppKit/NSWorkspace.h>
#include <dispatch/dispatch.h>

#include <cstring>

namespace {

using Url = NSStrong<NSURL>;

constexpr char kFileScheme[] = "file://";

// Null for bytes that are no UTF-8.
LCFOwner<CFStringRef> MakeText(char const* szText) noexcept {
    return LCFOwner<CFStringRef>(CFStringCreateWithCString(kCFAllocatorDefault, szText, kCFStringEncodingUTF8));
}

Url MakeFileUrl(char const* szPath) noexcept {
    auto const path = MakeText(szPath);
    return Url(path ? NSURL::fileURLWithPath(path.Get(), false) : nullptr);
}

Url MakeUrl(char const* szTarget) noexcept {
    if (std::strstr(szTarget, kFileScheme))
        return MakeFileUrl(szTarget + std::strlen(kFileScheme));
    if (szTarget[0] == '/')
        return MakeFileUrl(szTarget);
    LStringLong szUrl;
    bool const bWhole = (std::strstr(szTarget, "://") || szUrl.Append("http://")) && szUrl.Append(szTarget);
    auto const text = MakeText(szUrl.GetString());
    return Url(bWhole && text ? NSURL::URLWithString(text.Get()) : nullptr);
}

} // namespace

void LOpenWebPage(char const* szTarget) noexcept {
    Url const url = szTarget ? MakeUrl(szTarget) : Url();
    if (!url)
        return;
    NSWorkspace::sharedWorkspace()->openURL(url.get());
    dispatch_async(dispatch_get_main_queue(), [url] {
        NSWorkspace* const pWorkspace = NSWorkspace::sharedWorkspace();
        Url const application(pWorkspace->URLForApplicationToOpenURL(url.get()));
        if (application)
            pWorkspace->openURL(application.get());
    });
}
