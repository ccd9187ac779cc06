#include <Foundation/NSPathUtilities.h>

#include "platform/foundation/home.h"
#include "platform/foundation/text.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

std::string HomeFolder() {
    for (char const* szVariable : {"CFFIXED_USER_HOME", "HOME"})
        if (char const* const szHome = std::getenv(szVariable); szHome && szHome[0] == '/')
            return szHome;
    passwd oUser;
    passwd* pFound = nullptr;
    char sz[4096]; // the texts of the user's entry
    return getpwuid_r(getuid(), &oUser, sz, sizeof sz, &pFound) == 0 && pFound ? pFound->pw_dir : "/";
}

CFStringRef NSHomeDirectory() {
    return StringOf(HomeFolder());
}

CFArrayRef NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory, NSSearchPathDomainMask domains,
                                               bool expandTilde) {
    CFMutableArrayRef const found = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
    char const* const szFolder = directory == NSCachesDirectory               ? "/Library/Caches"
                                 : directory == NSApplicationSupportDirectory ? "/Library/Application Support"
                                                                              : nullptr;
    if (szFolder && domains & NSUserDomainMask)
        if (CFStringRef const path = StringOf((expandTilde ? HomeFolder() : "~") + szFolder)) {
            CFArrayAppendValue(found, path);
            CFRelease(path);
        }
    return found;
}
