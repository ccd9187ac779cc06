// A value that is not on the command line.
#pragma once

#include <string>

// At a terminal: asks for it by `szQuestion` on standard error and takes one line, unseen if it is a secret. Else: all
// that standard input holds, without the line's end behind it. Throws Failure when that can't be had or is no text.
std::string ReadTypedValue(std::string const& szQuestion, bool bSecret);
