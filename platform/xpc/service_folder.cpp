#include "platform/xpc/service_folder.h"

#include "platform/host/services.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace platform {
namespace {

constexpr size_t kMaxName = 80; // so that every address below fits its 108 bytes, however deep the folder lies
constexpr char kNewSocket[] = ".new";
constexpr int kBacklog = 64;

bool IsFolder(std::string const& szPath) {
    struct stat oStatus;
    return ::stat(szPath.c_str(), &oStatus) == 0 && S_ISDIR(oStatus.st_mode);
}

std::string OwnUser() {
    return std::to_string(::geteuid());
}

// Ours alone, or a sentence about why not.
std::string ProblemOf(std::string const& szPath, struct stat const& oStatus) {
    char szMode[16];
    std::snprintf(szMode, sizeof szMode, "%04o", static_cast<unsigned>(oStatus.st_mode & 07777));
    if (!S_ISDIR(oStatus.st_mode))
        return szPath + " is not a folder.";
    if (oStatus.st_uid != ::geteuid())
        return szPath + " belongs to user " + std::to_string(oStatus.st_uid) + ", not to you (user " + OwnUser() + ").";
    if ((oStatus.st_mode & 0077) != 0)
        return szPath + " is open to other users (mode " + szMode + "); make it 0700.";
    return {};
}

// Opens a folder that must be ours alone, no link in its place; `bMake` makes it first when it is not there.
FileDescriptor OpenPrivateFolder(std::string const& szPath, bool bMake, std::string& szProblem) {
    if (bMake && ::mkdir(szPath.c_str(), 0700) != 0 && errno != EEXIST) {
        szProblem = szPath + " can't be made: " + std::strerror(errno) + ".";
        return FileDescriptor();
    }
    FileDescriptor oFolder(::open(szPath.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat oStatus;
    if (!oFolder || ::fstat(oFolder.Get(), &oStatus) != 0) {
        struct stat oEntry; // a folder of another user's may deny even the open: say whose it is
        if (::lstat(szPath.c_str(), &oEntry) == 0)
            szProblem = ProblemOf(szPath, oEntry);
        if (szProblem.empty())
            szProblem = szPath + " can't be opened: " + std::strerror(errno) + ".";
        return FileDescriptor();
    }
    szProblem = ProblemOf(szPath, oStatus);
    return szProblem.empty() ? std::move(oFolder) : FileDescriptor();
}

struct RuntimeFolder {
    std::string szPath;
    bool bOurs; // in a folder open to all: ours to make, and to check
};

RuntimeFolder FindRuntimeFolder() {
    if (char const* const szPath = std::getenv("XDG_RUNTIME_DIR"); szPath && szPath[0] == '/')
        return {szPath, false};
    std::string szOfUser = "/run/user/" + OwnUser();
    if (IsFolder(szOfUser))
        return {std::move(szOfUser), false};
    return {"/tmp/lumora-" + OwnUser(), true};
}

FileDescriptor OpenServicesFolder(bool bMake, std::string& szProblem) {
    RuntimeFolder const oRuntime = FindRuntimeFolder();
    if (oRuntime.bOurs && !OpenPrivateFolder(oRuntime.szPath, bMake, szProblem))
        return FileDescriptor();
    return OpenPrivateFolder(oRuntime.szPath + "/mach-services", bMake, szProblem);
}

// An address by way of the folder's descriptor: short, and the folder that was checked, not one put in its place.
sockaddr_un AddressIn(FileDescriptor const& oFolder, char const* szName) {
    sockaddr_un oAddress{};
    oAddress.sun_family = AF_UNIX;
    std::snprintf(oAddress.sun_path, sizeof oAddress.sun_path, "/proc/self/fd/%d/%s", oFolder.Get(), szName);
    return oAddress;
}

FileDescriptor NewSocket() {
    return FileDescriptor(gSystemCalls.socket.load()(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

ConnectResult ConnectIn(FileDescriptor const& oFolder, std::string const& szName, FileDescriptor& oSocket) {
    oSocket = NewSocket();
    sockaddr_un const oAddress = AddressIn(oFolder, szName.c_str());
    auto const* const pAddress = reinterpret_cast<sockaddr const*>(&oAddress);
    if (!oSocket)
        return ConnectResult::Refused;
    if (Uninterrupted([&] { return gSystemCalls.connect.load()(oSocket.Get(), pAddress, sizeof oAddress); }) == 0)
        return ConnectResult::Connected;
    int const nError = errno;
    oSocket.Reset();
    return nError == EAGAIN ? ConnectResult::Busy : ConnectResult::Refused;
}

} // namespace

bool IsServiceName(std::string const& szName) noexcept {
    return !szName.empty() && szName.size() <= kMaxName && szName[0] != '.' && szName.find('/') == std::string::npos;
}

bool PeerCredentials::Read(int nSocket) noexcept {
    ucred oCredentials;
    socklen_t nLength = sizeof oCredentials;
    if (::getsockopt(nSocket, SOL_SOCKET, SO_PEERCRED, &oCredentials, &nLength) != 0)
        return false;
    nProcess = oCredentials.pid;
    nUser = oCredentials.uid;
    return true;
}

ConnectResult ConnectToService(std::string const& szName, FileDescriptor& oSocket) noexcept {
    std::string szProblem;
    if (!IsServiceName(szName))
        return ConnectResult::Refused;
    FileDescriptor const oFolder = OpenServicesFolder(false, szProblem);
    if (!oFolder)
        return ConnectResult::Refused;
    ConnectResult const eResult = ConnectIn(oFolder, szName, oSocket);
    PeerCredentials oPeer;
    if (eResult == ConnectResult::Connected && (!oPeer.Read(oSocket.Get()) || oPeer.nUser != ::geteuid())) {
        oSocket.Reset();
        return ConnectResult::Refused;
    }
    return eResult;
}

// The folder's lock makes looking and taking one step; the rename makes the name appear with somebody listening.
bool ServedName::Serve(std::string const& szNameToServe) {
    std::string szProblem;
    if (!IsServiceName(szNameToServe))
        return false;
    FileDescriptor const oFolder = OpenServicesFolder(true, szProblem);
    if (!oFolder || Uninterrupted([&] { return ::flock(oFolder.Get(), LOCK_EX); }) != 0)
        return false;
    FileDescriptor oProbe;
    if (ConnectIn(oFolder, szNameToServe, oProbe) != ConnectResult::Refused)
        return false;
    FileDescriptor oNew = NewSocket();
    sockaddr_un const oAddress = AddressIn(oFolder, kNewSocket);
    ::unlinkat(oFolder.Get(), kNewSocket, 0); // of a server that died between the next lines
    struct stat oStatus;
    if (!oNew || ::bind(oNew.Get(), reinterpret_cast<sockaddr const*>(&oAddress), sizeof oAddress) != 0 ||
        ::listen(oNew.Get(), kBacklog) != 0 ||
        ::fstatat(oFolder.Get(), kNewSocket, &oStatus, AT_SYMLINK_NOFOLLOW) != 0 ||
        ::renameat(oFolder.Get(), kNewSocket, oFolder.Get(), szNameToServe.c_str()) != 0)
        return false;
    szName = szNameToServe;
    oSocket = std::move(oNew);
    nDevice = oStatus.st_dev;
    nInode = oStatus.st_ino;
    return true;
}

void ServedName::Withdraw() noexcept {
    if (!oSocket)
        return;
    std::string szProblem;
    FileDescriptor const oFolder = OpenServicesFolder(false, szProblem);
    struct stat oStatus;
    if (oFolder && Uninterrupted([&] { return ::flock(oFolder.Get(), LOCK_EX); }) == 0 &&
        ::fstatat(oFolder.Get(), szName.c_str(), &oStatus, AT_SYMLINK_NOFOLLOW) == 0 && oStatus.st_dev == nDevice &&
        oStatus.st_ino == nInode)
        ::unlinkat(oFolder.Get(), szName.c_str(), 0);
    oSocket.Reset();
}

} // namespace platform

std::string MachServicesFolder() {
    return platform::FindRuntimeFolder().szPath + "/mach-services";
}

std::string MachServicesFolderProblem() {
    std::string szProblem;
    platform::OpenServicesFolder(true, szProblem);
    return szProblem;
}
