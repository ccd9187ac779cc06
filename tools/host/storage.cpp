#include "tools/host/storage.h"

#include "tools/process/failure.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char kFileName[] = "plugin_storage.plist";

bool WriteWhole(int nDescriptor, UInt8 const* pBytes, CFIndex nByteCount) {
    while (nByteCount > 0) {
        ssize_t const n = write(nDescriptor, pBytes, static_cast<size_t>(nByteCount));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        pBytes += n;
        nByteCount -= n;
    }
    return fsync(nDescriptor) == 0;
}

// Replaces the file's contents or leaves it as it was.
bool ReplaceFile(std::string const& szPath, CFDataRef pData) {
    std::string szTemporary = szPath + ".XXXXXX";
    int const nDescriptor = mkstemp(szTemporary.data());
    if (nDescriptor < 0)
        return false;
    bool const bWritten = WriteWhole(nDescriptor, CFDataGetBytePtr(pData), CFDataGetLength(pData));
    close(nDescriptor);
    if (bWritten && std::rename(szTemporary.c_str(), szPath.c_str()) == 0)
        return true;
    int const nError = errno;
    unlink(szTemporary.c_str());
    errno = nError;
    return false;
}

} // namespace

Storage::Storage(std::string const& szFolder) : szPath(szFolder + "/" + kFileName) {
    std::error_code oError;
    std::filesystem::path const oParent = std::filesystem::path(szFolder).parent_path();
    if (!oParent.empty())
        std::filesystem::create_directories(oParent, oError);
    if (!oError && mkdir(szFolder.c_str(), 0700) != 0 && errno != EEXIST)
        oError.assign(errno, std::generic_category());
    if (oError)
        throw Failure(ExitCode::Service, "cannot make the folder " + szFolder + " for the plug-in's storage: " +
                                             oError.message() + ". Name another with --state.");
    if (!std::filesystem::is_directory(szFolder, oError))
        throw Failure(ExitCode::Service, szFolder + ", for the plug-in's storage, is not a folder. Name another with "
                                                    "--state.");
    if (access(szFolder.c_str(), W_OK | X_OK) != 0)
        throw Failure(ExitCode::Service, "cannot use the folder " + szFolder + " for the plug-in's storage: " +
                                             std::strerror(errno) + ". Name another with --state.");
    LScopedLock oLock(mtx);
    Load();
}

void Storage::Load() {
    std::ifstream oFile(szPath, std::ios::binary);
    std::string const szBytes{std::istreambuf_iterator<char>(oFile), {}};
    LCFOwner<CFDataRef> const pData(
        CFDataCreate(nullptr, reinterpret_cast<UInt8 const*>(szBytes.data()), static_cast<CFIndex>(szBytes.size())));
    LCFOwner<CFPropertyListRef> const pList(
        oFile.is_open() ? CFPropertyListCreateWithData(nullptr, pData.Get(), kCFPropertyListImmutable, nullptr, nullptr)
                        : nullptr);
    if (pList && CFGetTypeID(pList.Get()) == CFDictionaryGetTypeID()) {
        pItems = LCFOwner<CFMutableDictionaryRef>(
            CFDictionaryCreateMutableCopy(nullptr, 0, static_cast<CFDictionaryRef>(pList.Get())));
        return;
    }
    if (oFile.is_open()) {
        std::string const szAside = szPath + ".damaged";
        std::rename(szPath.c_str(), szAside.c_str());
        std::fprintf(stderr, "lumora: %s is not a property list; it is kept as %s and storage starts empty.\n",
                     szPath.c_str(), szAside.c_str());
    }
    pItems = LCFOwner<CFMutableDictionaryRef>(
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

CFPropertyListRef Storage::Copy(CFStringRef pKey) {
    LScopedLock oLock(mtx);
    void const* pValue = CFDictionaryGetValue(pItems.Get(), pKey);
    return pValue ? CFRetain(pValue) : nullptr;
}

bool Storage::Write(CFStringRef pKey, CFPropertyListRef pValue) {
    LScopedLock oLock(mtx);
    CFDictionarySetValue(pItems.Get(), pKey, pValue);
    return Save();
}

bool Storage::Delete(CFStringRef pKey) {
    LScopedLock oLock(mtx);
    CFDictionaryRemoveValue(pItems.Get(), pKey);
    return Save();
}

bool Storage::Save() {
    LCFOwner<CFDataRef> const pData(
        CFPropertyListCreateData(nullptr, pItems.Get(), kCFPropertyListXMLFormat_v1_0, 0, nullptr));
    if (pData && ReplaceFile(szPath, pData.Get()))
        return true;
    std::fprintf(stderr, "lumora: cannot write the plug-in's storage %s: %s\n", szPath.c_str(),
                 pData ? std::strerror(errno) : "a value is of a type that can't be kept");
    return false;
}

std::string DefaultStateFolder() {
    char const* szState = std::getenv("XDG_STATE_HOME");
    if (szState && *szState == '/')
        return std::string(szState) + "/lumora";
    char const* szHome = std::getenv("HOME");
    if (!szHome || *szHome != '/') {
        passwd const* const pUser = getpwuid(geteuid());
        szHome = pUser ? pUser->pw_dir : "/";
    }
    return std::string(szHome) + "/.local/state/lumora";
}
