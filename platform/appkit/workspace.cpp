#include <AppKit/NSWorkspace.h>

#include "platform/appkit/application_finder.h"
#include "platform/appkit/launcher.h"
#include "platform/foundation/text.h"
#include "platform/testing/workspace.h"

#include <mutex>
#include <optional>

namespace {

std::mutex mtxRecord;
std::optional<std::vector<std::string>> lRecord; // there while a recorder is; guarded by mtxRecord

std::string Taken(CFStringRef text) {
    std::string szText = TextOf(text);
    if (text)
        CFRelease(text);
    return szText;
}

// False when nobody records.
bool Record(char const* szCall, NSURL* url) {
    std::lock_guard const lock(mtxRecord);
    if (lRecord)
        lRecord->push_back(szCall + Taken(url->absoluteString()));
    return lRecord.has_value();
}

} // namespace

PlatformWorkspaceRecorder::PlatformWorkspaceRecorder() {
    std::lock_guard const lock(mtxRecord);
    lRecord.emplace();
}

PlatformWorkspaceRecorder::~PlatformWorkspaceRecorder() {
    std::lock_guard const lock(mtxRecord);
    lRecord.reset();
}

std::vector<std::string> PlatformWorkspaceRecorder::Calls() const {
    std::lock_guard const lock(mtxRecord);
    return *lRecord;
}

NSWorkspace* NSWorkspace::sharedWorkspace() {
    static NSWorkspace* const pWorkspace = new NSWorkspace; // never destroyed
    return pWorkspace;
}

bool NSWorkspace::openURL(NSURL* url) {
    if (Record("openURL: ", url))
        return true;
    std::string const szPath = url->isFileURL() ? Taken(url->path()) : "";
    if (szPath.ends_with(".desktop"))
        return Launch({"gio", "launch", szPath});
    return Launch({"xdg-open", Taken(url->absoluteString())});
}

NSURL* NSWorkspace::URLForApplicationToOpenURL(NSURL* url) {
    std::string szFound = "/Applications/Recorder.app";
    if (!Record("URLForApplicationToOpenURL: ", url))
        szFound = FindApplication(Taken(url->scheme()), url->isFileURL() ? Taken(url->path()) : "");
    if (szFound.empty())
        return nullptr;
    CFStringRef const path = StringOf(szFound);
    NSURL* const application = path ? NSURL::fileURLWithPath(path, false) : nullptr;
    if (path)
        CFRelease(path);
    return application;
}
