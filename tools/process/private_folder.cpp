#include "tools/process/private_folder.h"

#include "tools/process/failure.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <unistd.h>

PrivateFolder::PrivateFolder() {
    // A socket's path is short: under a long $TMPDIR there would be no room for the service's name.
    constexpr size_t kLongestParent = 24;
    char const* szParent = std::getenv("TMPDIR");
    szPath = szParent && *szParent && std::strlen(szParent) <= kLongestParent ? szParent : "/tmp";
    szPath += "/lumora.XXXXXX";
    if (!mkdtemp(szPath.data()))
        throw Failure(ExitCode::Service, "cannot make a folder for this run (" + szPath + "): " + std::strerror(errno));
}

PrivateFolder::~PrivateFolder() {
    std::error_code oIgnored;
    std::filesystem::remove_all(szPath, oIgnored);
}
