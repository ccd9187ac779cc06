// Stands in for <Foundation/NSPathUtilities.h>: where this process's home and the folders in it are.
//
// Kept: a sandboxed process's home is its container, not the user's home.
// Differs from the OS:
// - Results are the caller's own reference, as of <Foundation/NSURL.h>, unless they are called shared.
// - The container is what CFFIXED_USER_HOME names (which the OS honours too); without it the home is HOME's and, last,
//   the password database's.
// - NSSearchPathForDirectoriesInDomains knows the caches and the Application Support folder of the user; anything else
//   gives an empty array. The folders need not exist.
#pragma once

#include <Foundation/NSFileManager.h>

CFStringRef NSHomeDirectory();
CFArrayRef NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory, NSSearchPathDomainMask domains,
                                             bool expandTilde);
