// A folder for one run, that nobody else can look into and that goes with it.
#pragma once

#include <string>

// Made with mode 0700 under $TMPDIR or /tmp, and deleted with everything in it when the object ends. A run that is
// killed can't do that; its folder, which is locked as long as it lives, is deleted when the next one is made. Throws
// Failure(Service) when it can't be made.
class PrivateFolder {
public:
    PrivateFolder();
    ~PrivateFolder();
    PrivateFolder(PrivateFolder const&) = delete;
    PrivateFolder& operator=(PrivateFolder const&) = delete;

    std::string const& Path() const noexcept { return szPath; }

private:
    std::string szPath;
    int nLock = -1;
};
