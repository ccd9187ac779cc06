// Host door: preference files that can't be understood, which to the programs that use them are empty.
#pragma once

#include <CoreFoundation/CFString.h>

#include <string>

// The path of these preferences' file when it can be read and is no property list with a dictionary at its top; "" when
// it is one, when there is none and when it can't be read. What is set and synchronised replaces such a file, which is
// then kept beside it as "<path>.unreadable". Any thread.
std::string DamagedPreferenceFile(CFStringRef applicationID, CFStringRef userName, CFStringRef hostName);
