#include "platform/foundation/bookmark.h"

#include "platform/filesystem/descriptor.h"

#include <sys/stat.h>

#include <dirent.h>
#include <fcntl.h>

#include <climits>
#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr char kMagic[8] = {'L', 'B', 'K', 'M', 'A', 'R', 'K', '1'};
constexpr size_t kMostPath = PATH_MAX;
constexpr int kMostEntries = 50'000; // looked at before a file counts as gone

struct Header {
    char magic[8];
    std::uint64_t nCheck; // over all that follows
    std::uint64_t nNode;
    std::int64_t nBirthSeconds;
    std::uint32_t nBirthNanoseconds;
    std::int32_t nHandleType;
    std::uint32_t nHandle;
    std::uint32_t nPath;
};
static_assert(sizeof(Header) == 48);
constexpr size_t kUnchecked = offsetof(Header, nNode);

// FNV-1a: against damage, not against forgery.
std::uint64_t CheckOf(std::string_view szBytes) {
    std::uint64_t nCheck = 0xCBF29CE484222325;
    for (unsigned char const nByte : szBytes)
        nCheck = (nCheck ^ nByte) * 0x100000001B3;
    return nCheck;
}

std::string FolderOf(std::string const& szPath) {
    size_t const nSlash = szPath.rfind('/');
    return nSlash == std::string::npos ? "." : nSlash == 0 ? "/" : szPath.substr(0, nSlash);
}

bool IsFolder(std::string const& szPath) {
    struct stat oStatus;
    return stat(szPath.c_str(), &oStatus) == 0 && S_ISDIR(oStatus.st_mode);
}

std::string NearestFolder(std::string szPath) {
    do
        szPath = FolderOf(szPath);
    while (!IsFolder(szPath) && szPath != "/" && szPath != ".");
    return szPath;
}

union Handle {
    file_handle o;
    char bytes[sizeof(file_handle) + MAX_HANDLE_SZ];
};

} // namespace

std::optional<Bookmark> Bookmark::OfFile(std::string const& szFile) {
    struct statx oStatus;
    if (statx(AT_FDCWD, szFile.c_str(), 0, STATX_INO | STATX_BTIME, &oStatus) != 0)
        return std::nullopt;
    Bookmark oMark;
    oMark.szPath = szFile;
    oMark.nNode = oStatus.stx_ino;
    oMark.nBirthSeconds = oStatus.stx_btime.tv_sec;
    oMark.nBirthNanoseconds = oStatus.stx_btime.tv_nsec;
    Handle oHandle{};
    int nMount = 0;
    oHandle.o.handle_bytes = MAX_HANDLE_SZ;
    if (name_to_handle_at(AT_FDCWD, szFile.c_str(), &oHandle.o, &nMount, AT_SYMLINK_FOLLOW) == 0) {
        oMark.nHandleType = oHandle.o.handle_type;
        oMark.szHandle.assign(oHandle.bytes + sizeof(file_handle), oHandle.o.handle_bytes);
    }
    return oMark;
}

std::string Bookmark::Bytes() const {
    Header oHeader{};
    std::memcpy(oHeader.magic, kMagic, sizeof kMagic);
    oHeader.nNode = nNode;
    oHeader.nBirthSeconds = nBirthSeconds;
    oHeader.nBirthNanoseconds = nBirthNanoseconds;
    oHeader.nHandleType = nHandleType;
    oHeader.nHandle = static_cast<std::uint32_t>(szHandle.size());
    oHeader.nPath = static_cast<std::uint32_t>(szPath.size());
    std::string szBytes(reinterpret_cast<char const*>(&oHeader), sizeof oHeader);
    szBytes += szHandle + szPath;
    std::uint64_t const nCheck = CheckOf(std::string_view(szBytes).substr(kUnchecked));
    std::memcpy(szBytes.data() + offsetof(Header, nCheck), &nCheck, sizeof nCheck);
    return szBytes;
}

std::optional<Bookmark> Bookmark::FromBytes(std::string_view szBytes) {
    Header oHeader;
    if (szBytes.size() < sizeof oHeader)
        return std::nullopt;
    std::memcpy(&oHeader, szBytes.data(), sizeof oHeader);
    std::string_view const szRest = szBytes.substr(sizeof oHeader);
    if (std::memcmp(oHeader.magic, kMagic, sizeof kMagic) != 0 ||
        oHeader.nCheck != CheckOf(szBytes.substr(kUnchecked)) || oHeader.nHandle > MAX_HANDLE_SZ ||
        oHeader.nHandle > szRest.size() || oHeader.nPath != szRest.size() - oHeader.nHandle ||
        oHeader.nPath > kMostPath)
        return std::nullopt;
    Bookmark oMark;
    oMark.nNode = oHeader.nNode;
    oMark.nBirthSeconds = oHeader.nBirthSeconds;
    oMark.nBirthNanoseconds = oHeader.nBirthNanoseconds;
    oMark.nHandleType = oHeader.nHandleType;
    oMark.szHandle = szRest.substr(0, oHeader.nHandle);
    oMark.szPath = szRest.substr(oHeader.nHandle);
    bool const bUsable = !oMark.szPath.empty() && oMark.szPath.find('\0') == std::string::npos;
    return bUsable ? std::optional(oMark) : std::nullopt;
}

bool Bookmark::IsAt(std::string const& szFile) const {
    struct statx oStatus;
    return statx(AT_FDCWD, szFile.c_str(), 0, STATX_INO | STATX_BTIME, &oStatus) == 0 && oStatus.stx_ino == nNode &&
           oStatus.stx_btime.tv_sec == nBirthSeconds && oStatus.stx_btime.tv_nsec == nBirthNanoseconds;
}

std::optional<Bookmark::Place> Bookmark::Find() const {
    if (IsAt(szPath))
        return Place{szPath, false};
    bool bGone = false;
    if (auto const szFound = FindByHandle(bGone))
        return Place{*szFound, true};
    int nLeft = kMostEntries;
    if (auto const szFound = bGone ? std::nullopt : FindBelow(FolderOf(szPath), "", nLeft, false))
        return Place{*szFound, true};
    struct stat oStatus;
    if (stat(szPath.c_str(), &oStatus) == 0)
        return Place{szPath, true}; // saved anew under its old name
    if (auto const szFound = bGone ? std::nullopt : FindByNode())
        return Place{*szFound, true};
    return std::nullopt;
}

// Only a process that may read everything can open a file by its handle.
std::optional<std::string> Bookmark::FindByHandle(bool& bGone) const {
    Handle oHandle{};
    if (szHandle.empty() || szHandle.size() > MAX_HANDLE_SZ)
        return std::nullopt;
    oHandle.o.handle_type = nHandleType;
    oHandle.o.handle_bytes = static_cast<unsigned>(szHandle.size());
    std::memcpy(oHandle.bytes + sizeof(file_handle), szHandle.data(), szHandle.size());
    Descriptor const oVolume(open(NearestFolder(szPath).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    Descriptor const oFile(oVolume.IsOpen() ? open_by_handle_at(oVolume.Get(), &oHandle.o, O_PATH | O_CLOEXEC) : -1);
    if (!oFile.IsOpen()) {
        bGone = oVolume.IsOpen() && errno == ESTALE;
        return std::nullopt;
    }
    char szFound[PATH_MAX];
    std::string const szLink = "/proc/self/fd/" + std::to_string(oFile.Get());
    ssize_t const nLength = readlink(szLink.c_str(), szFound, sizeof szFound);
    std::string const szFile(szFound, nLength > 0 ? static_cast<size_t>(nLength) : 0);
    return nLength > 0 && IsAt(szFile) ? std::optional(szFile) : std::nullopt;
}

// In the folder and, deep, in those below it on the same volume, save for the one already seen.
std::optional<std::string> Bookmark::FindBelow(std::string const& szFolder, std::string const& szSeen, int& nLeft,
                                               bool bDeep) const {
    std::vector<std::string> lFolders{szFolder};
    struct stat oRoot;
    if (stat(szFolder.c_str(), &oRoot) != 0)
        return std::nullopt;
    while (!lFolders.empty()) {
        std::string const szHere = lFolders.back() == "/" ? "/" : lFolders.back() + "/";
        std::unique_ptr<DIR, int (*)(DIR*)> const pFolder(opendir(lFolders.back().c_str()), closedir);
        lFolders.pop_back();
        struct stat oHere;
        if (!pFolder || fstat(dirfd(pFolder.get()), &oHere) != 0 || oHere.st_dev != oRoot.st_dev)
            continue;
        while (dirent const* const pEntry = readdir(pFolder.get())) {
            std::string const szName = pEntry->d_name;
            if (szName == "." || szName == "..")
                continue;
            if (--nLeft < 0)
                return std::nullopt;
            if (pEntry->d_ino == nNode && pEntry->d_type != DT_LNK && IsAt(szHere + szName))
                return szHere + szName;
            if (bDeep && pEntry->d_type == DT_DIR && szHere + szName != szSeen)
                lFolders.push_back(szHere + szName);
        }
    }
    return std::nullopt;
}

std::optional<std::string> Bookmark::FindByNode() const {
    int nLeft = kMostEntries;
    std::string szSeen;
    for (std::string szFolder = NearestFolder(szPath); nLeft > 0; szFolder = FolderOf(szFolder)) {
        if (auto const szFound = FindBelow(szFolder, szSeen, nLeft, true))
            return szFound;
        if (szFolder == "/" || szFolder == ".")
            break;
        szSeen = szFolder;
    }
    return std::nullopt;
}
