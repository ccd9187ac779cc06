// Stands in for <Foundation/NSUserDefaults.h>: the user's settings of this program.
//
// Kept: values are property-list objects, copied when set; what is set is seen at once by this process, and by others
// and after a restart once it is synchronised. Changes of several processes to different keys all survive.
// Differs from the OS:
// - Results are the caller's own reference, as of <Foundation/NSURL.h>, unless they are called shared.
// - The store is a file, Library/Preferences/<domain>.plist in the process's home (NSHomeDirectory), an XML property
//   list, replaced in one step. The domain is the program's name.
// - The file is read at the first use and at each synchronize, and written by synchronize alone. One that can't be
//   understood counts as empty, and is set aside as <domain>.plist.unreadable before it is replaced.
// - A value that is no property-list object is not set.
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
