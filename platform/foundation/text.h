// Between the OS's strings and this folder's.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/NSStrong.h>

#include <string>

// The text in UTF-8; "" for null.
std::string TextOf(CFStringRef text);

// The caller's own reference; null when the bytes are no UTF-8.
CFStringRef StringOf(std::string const& szText);

// Stores the error where it is wanted; gives null, or false, for the caller to return.
std::nullptr_t Fail(NSError* error, int nCode);
