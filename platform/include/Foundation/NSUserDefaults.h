// Stands in for <Foundation/NSUserDefaults.h>: the user's settings of this program.
//
// Kept: they are the preferences of this program for this user on any host (<CoreFoundation/CFPreferences.h>), with all
// that is said there: values are property-list objects, copied when set; what is set is seen at once by this process,
// and by others and after a restart once it is synchronised.
// Differs from the OS:
// - Results are the caller's own reference, as of <Foundation/NSURL.h>, unless they are called shared.
// - The domain is the program's name; no other one is searched.
// - What can't be kept (see there) is not set.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/NSObject.h>

// Any thread.
class NSUserDefaults : public NSObject {
public:
    static NSUserDefaults* standardUserDefaults(); // shared
    CFTypeRef objectForKey(CFStringRef key); // null when there is none
    void setObject(CFTypeRef object, CFStringRef key);
    void removeObjectForKey(CFStringRef key);
    bool synchronize(); // false when the file can't be written; the changes are kept for the next time
};
