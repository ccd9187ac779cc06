// Stands in for <AppKit/NSWorkspace.h>: URLs and applications opened for the user.
//
// Kept: opening returns at once, with whether something was started; what comes of it is not told. Opening the URL of
// an application starts it. Differs from the OS:
// - What opens URLs is the desktop's xdg-open; what starts an application, a file X.desktop, is gio. They run without a
//   shell, are nobody's children, and have none of this process's descriptors. Without the program: false.
// - The application for a URL is what the desktop's mimeapps.list and mimeinfo.cache files name for its scheme, or for
//   a file's kind, which its name says; an application that is not installed is passed over.
// - An application that runs already is started once more: whether it comes to the front is its own choice.
// - Results are the caller's own reference, as of <Foundation/NSURL.h>, unless they are called shared.
#pragma once

#include <Foundation/NSURL.h>

// Any thread.
class NSWorkspace : public NSObject {
public:
    static NSWorkspace* sharedWorkspace(); // shared
    bool openURL(NSURL* url);
    NSURL* URLForApplicationToOpenURL(NSURL* url); // null when there is none
};
