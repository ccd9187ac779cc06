#include "tools/process/private_folder.h"

#include "tools/process/failure.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char kPrefix[] = "lumora-run.";

std::string Parent() {
    char const* const szParent = std::getenv("TMPDIR");
    return szParent && *szParent ? szParent : "/tmp";
}

int OpenFolder(std::string const& szPath) {
    return open(szPath.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool IsOwn(int nFolder) {
    struct stat oStatus = {};
    return fstat(nFolder, &oStatus) == 0 && oStatus.st_uid == geteuid();
}

void DeleteTree(std::string const& szPath) {
    std::error_code oIgnored;
    std::filesystem::remove_all(szPath, oIgnored);
}

// What runs that were killed have left: nobody has it locked.
void DeleteLeftOvers(std::string const& szParent) {
    std::error_code oIgnored;
    for (auto const& oEntry : std::filesystem::directory_iterator(szParent, oIgnored)) {
        if (!oEntry.path().filename().string().starts_with(kPrefix))
            continue;
        int const nFolder = OpenFolder(oEntry.path());
        if (nFolder < 0)
            continue;
        if (IsOwn(nFolder) && flock(nFolder, LOCK_EX | LOCK_NB) == 0)
            DeleteTree(oEntry.path());
        close(nFolder);
    }
}

} // namespace

PrivateFolder::PrivateFolder() {
    std::string const szParent = Parent();
    DeleteLeftOvers(szParent);
    // Between its making and its locking another run may take the folder for a left-over: then there is another.
    for (struct stat oStatus = {}; oStatus.st_nlink == 0;) {
        if (nLock >= 0)
            close(nLock);
        szPath = szParent + "/" + kPrefix + "XXXXXX";
        if (!mkdtemp(szPath.data()))
            throw Failure(ExitCode::Service,
                          "cannot make a folder for this run (" + szPath + "): " + std::strerror(errno));
        nLock = OpenFolder(szPath);
        if (nLock < 0 && errno == ENOENT)
            continue;
        if (nLock < 0 || flock(nLock, LOCK_EX) != 0 || fstat(nLock, &oStatus) != 0) {
            int const nError = errno;
            DeleteTree(szPath);
            throw Failure(ExitCode::Service, "cannot lock the folder " + szPath + ": " + std::strerror(nError));
        }
    }
}

PrivateFolder::~PrivateFolder() {
    DeleteTree(szPath);
    close(nLock);
}
