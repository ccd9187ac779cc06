#include "runtime/sync/named_signal.h"

#include "base/cf_ref.h"
#include "base/fixed_text.h"
#include "runtime/sync/signal_object.h"

#include <Foundation/Foundation.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kBacklog = 5;
constexpr socklen_t kAddressLength = 106;
static_assert(offsetof(sockaddr_un, sun_path) + LSignalName::kMaxPath == kAddressLength);
static_assert(sizeof(sockaddr_un::sun_path) >= LSignalName::kMaxPath);

// Each part between the slashes names something below the folder.
bool StaysBelow(char const* szName) noexcept {
    for (char const* szPart = szName;; ++szPart) {
        std::size_t const nLength = std::strcspn(szPart, "/");
        bool const bDots = (nLength == 1 || nLength == 2) && std::strncmp(szPart, "..", nLength) == 0;
        if (nLength == 0 || bDots)
            return false;
        szPart += nLength;
        if (*szPart == '\0')
            return true;
    }
}

using FolderText = char[LSignalName::kMaxPath + 1]; // a folder that doesn't fit has no names that do

bool GetText(CFStringRef text, FolderText& szOut) noexcept {
    return text && CFStringGetCString(text, szOut, sizeof szOut, kCFStringEncodingUTF8);
}

// Adds nothing when the user has no such folder. The system is asked, and not HOME: within a sandbox the folder is the
// container's.
void AddSupportFolder(LFixedWriter& oPath) noexcept {
    FolderText szFolder;
    LCFOwner<CFArrayRef> const found(
        NSSearchPathForDirectoriesInDomains(NSApplicationSupportDirectory, NSUserDomainMask, true));
    if (found && CFArrayGetCount(found.Get()) > 0 &&
        GetText(static_cast<CFStringRef>(CFArrayGetValueAtIndex(found.Get(), 0)), szFolder)) {
        oPath.Add(szFolder);
        return;
    }
    LCFOwner<CFStringRef> const home(NSHomeDirectory());
    if (GetText(home.Get(), szFolder))
        oPath.Add(szFolder).Add("/Library/Application Support");
}

void ReadAway(int hSocket) noexcept {
    char cByte;
    while (hSocket >= 0) {
        ssize_t const nRead = read(hSocket, &cByte, 1);
        if (nRead == 0 || (nRead < 0 && errno != EINTR))
            return;
    }
}

void SetFlags(int hSocket) noexcept {
    fcntl(hSocket, F_SETFL, fcntl(hSocket, F_GETFL) | O_NONBLOCK);
    fcntl(hSocket, F_SETFD, fcntl(hSocket, F_GETFD) | FD_CLOEXEC);
}

} // namespace

LSignalName::LSignalName(char const* szName) noexcept {
    LFixedWriter oPath(szPath);
    AddSupportFolder(oPath);
    bool const bFolder = oPath.Length() > 0;
    oPath.Add('/').Add(szName);
    if (!bFolder || oPath.WasCut() || !StaysBelow(szName)) {
        szPath[0] = '\0';
        return;
    }
    oAddress.sun_family = AF_UNIX;
    std::memcpy(oAddress.sun_path, szPath, oPath.Length());
}

void LSignalName::MakeFolder() const noexcept {
    char szFolder[sizeof szPath];
    std::memcpy(szFolder, szPath, sizeof szPath);
    for (char* pSlash = std::strchr(szFolder + 1, '/'); pSlash; pSlash = std::strchr(pSlash + 1, '/')) {
        *pSlash = '\0';
        mkdir(szFolder, 0777);
        *pSlash = '/';
    }
}

bool LSignalName::Bind(int hSocket) const noexcept {
    return bind(hSocket, reinterpret_cast<sockaddr const*>(&oAddress), kAddressLength) == 0;
}

bool LSignalName::Connect(int hSocket) const noexcept {
    return connect(hSocket, reinterpret_cast<sockaddr const*>(&oAddress), kAddressLength) == 0;
}

void LSignalName::Signal() const noexcept {
    if (!IsValid())
        return;
    // Non-blocking: a waiter that does not take its signals must not hold us up; it has some to take already.
    LFileDescriptor const hSocket = MakeSocket();
    if (!hSocket.IsOpen() || !Connect(hSocket.Get()))
        return;
    char const cSignal = 1;
    send(hSocket.Get(), &cSignal, 1, MSG_NOSIGNAL); // the waiter may be gone by now, which must not kill us
}

LFileDescriptor LSignalName::MakeSocket() noexcept {
    LFileDescriptor hSocket(socket(AF_UNIX, SOCK_STREAM, 0));
    if (hSocket.IsOpen())
        SetFlags(hSocket.Get());
    return hSocket;
}

LSignalObjectNamedWaiter::LSignalObjectNamedWaiter(char const* szName) noexcept : oName(szName) {
    if (!oName.IsValid())
        return;
    oName.MakeFolder();
    LFileDescriptor hSocket = LSignalName::MakeSocket();
    if (!hSocket.IsOpen())
        return;
    unlink(oName.GetPath());
    if (!oName.Bind(hSocket.Get()))
        return;
    struct stat oFile;
    if (listen(hSocket.Get(), kBacklog) != 0 || lstat(oName.GetPath(), &oFile) != 0) {
        unlink(oName.GetPath());
        return;
    }
    nFileDevice = oFile.st_dev;
    nFileNumber = oFile.st_ino;
    hListening = std::move(hSocket);
}

LSignalObjectNamedWaiter::~LSignalObjectNamedWaiter() {
    // While the socket is open its file's number can't be another file's.
    if (IsListening() && IsFileMine())
        unlink(oName.GetPath());
}

bool LSignalObjectNamedWaiter::IsFileMine() const noexcept {
    struct stat oFile;
    return lstat(oName.GetPath(), &oFile) == 0 && oFile.st_dev == nFileDevice && oFile.st_ino == nFileNumber;
}

bool LSignalObjectNamedWaiter::WaitSignal(unsigned int nTimeout) noexcept {
    pollfd oEntry{hListening.Get(), POLLIN, 0};
    if (!LPoll(&oEntry, 1, nTimeout))
        return false;
    int hSocket;
    do
        hSocket = accept(hListening.Get(), nullptr, nullptr);
    while (hSocket < 0 && errno == EINTR);
    if (hSocket < 0)
        return false;
    SetFlags(hSocket); // Reset must not wait for a signaller that keeps its end open
    hAccepted.Reset(hSocket);
    return true;
}

void LSignalObjectNamedWaiter::Reset() noexcept {
    ReadAway(hAccepted.Get());
}

LSignalObjectNamed::~LSignalObjectNamed() {
    if (oName.IsValid())
        unlink(oName.GetPath());
}

void LSignalObjectNamed::Reset() noexcept {
    ReadAway(hSocket.Get());
}
