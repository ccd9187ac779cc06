// Which application of the desktop opens a URL.
#pragma once

#include <string>

// The path of its X.desktop file, "" when there is none. `szScheme` is the URL's; `szPath` is a file's path, for
// "file". Any thread.
std::string FindApplication(std::string const& szScheme, std::string const& szPath);
