#include "platform/corefoundation/preference_file.h"

#include "platform/corefoundation/property_list.h"
#include "platform/corefoundation/string_object.h"

#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFNumber.h>
#include <CoreFoundation/CFPropertyList.h>

#include <sys/file.h>

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

namespace cf {

namespace {

bool MakeFolders(std::string const& szFolder, mode_t nMode) {
    struct stat oStatus;
    if (stat(szFolder.c_str(), &oStatus) == 0)
        return S_ISDIR(oStatus.st_mode);
    if (errno != ENOENT) // of a path that is too long, every folder above it would be tried
        return false;
    size_t const nSlash = szFolder.rfind('/');
    if (nSlash != 0 && nSlash != std::string::npos && !MakeFolders(szFolder.substr(0, nSlash), nMode))
        return false;
    if (mkdir(szFolder.c_str(), nMode) != 0)
        return errno == EEXIST;
    return chmod(szFolder.c_str(), nMode) == 0; // whatever the process's mask leaves of it
}

std::optional<std::string> ReadAll(int hFile) {
    std::string szBytes;
    char sz[16384];
    for (ssize_t nRead; (nRead = read(hFile, sz, sizeof sz)) != 0;) { // it may grow while it is read
        if (nRead < 0 && errno == EINTR)
            continue;
        if (nRead < 0 || szBytes.size() + static_cast<size_t>(nRead) > kLargestPreferenceFile)
            return std::nullopt;
        szBytes.append(sz, static_cast<size_t>(nRead));
    }
    return szBytes;
}

bool WriteAll(int hFile, std::string_view szBytes) {
    while (!szBytes.empty()) {
        ssize_t const nWritten = write(hFile, szBytes.data(), szBytes.size());
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten <= 0)
            return false;
        szBytes.remove_prefix(static_cast<size_t>(nWritten));
    }
    return true;
}

void StoreEntry(void const* key, void const* value, void* pValues) {
    Store(*static_cast<Preferences*>(pValues), static_cast<CFStringRef>(key), value);
}

std::optional<Preferences> FromBytes(std::string_view szBytes) {
    Held<CFPropertyListRef> const list(ReadXmlList(szBytes, kCFPropertyListImmutable));
    if (!IsOfType(list.Get(), kTypeDictionary))
        return std::nullopt;
    Preferences lValues;
    CFDictionaryApplyFunction(static_cast<CFDictionaryRef>(list.Get()), StoreEntry, &lValues);
    return lValues;
}

Held<CFMutableDictionaryRef> MakeDictionary() {
    return Held<CFMutableDictionaryRef>(
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

std::optional<std::string> ToBytes(Preferences const& lValues) {
    auto const list = MakeDictionary();
    for (auto const& [units, oEntry] : lValues)
        CFDictionarySetValue(list.Get(), oEntry.key.Get(), oEntry.value.Get());
    return WriteXmlList(list.Get());
}

// Later than `tBefore`, by a nanosecond at least: so that files that follow each other within one tick of the kernel's
// clock, at an inode that was free again, differ.
timespec NowAfter(timespec tBefore) {
    timespec tNow;
    clock_gettime(CLOCK_REALTIME, &tNow);
    if (tNow.tv_sec > tBefore.tv_sec || (tNow.tv_sec == tBefore.tv_sec && tNow.tv_nsec > tBefore.tv_nsec))
        return tNow;
    if (++tBefore.tv_nsec == 1'000'000'000)
        tBefore = {tBefore.tv_sec + 1, 0};
    return tBefore;
}

} // namespace

void Store(Preferences& lTo, CFStringRef key, CFPropertyListRef value) {
    auto it = lTo.find(key->sText);
    if (it == lTo.end()) {
        Held<CFStringRef> ownKey(CFStringCreateCopy(nullptr, key));
        std::u16string_view const units = ownKey.Get()->sText;
        it = lTo.emplace(units, Preference{std::move(ownKey), {}}).first;
    }
    it->second.value = Held<CFPropertyListRef>::Retaining(value);
}

bool CanBeKept(CFStringRef key, CFPropertyListRef value) noexcept {
    auto const list = MakeDictionary();
    CFDictionarySetValue(list.Get(), key, value ? value : kCFBooleanTrue);
    if (!CFPropertyListIsValid(list.Get(), kCFPropertyListXMLFormat_v1_0))
        return false;
    auto const szBytes = WriteXmlList(list.Get());
    return szBytes && szBytes->size() <= kLargestPreferenceFile;
}

std::optional<Preferences> PreferenceFile::ReadIfChanged() noexcept {
    struct stat oStatus;
    bool const bThere = stat(szPath.c_str(), &oStatus) == 0;
    if (!bThere && (errno == ENOENT || errno == ENOTDIR)) {
        if (std::exchange(eState, State::kAbsent) == State::kAbsent)
            return std::nullopt;
        oIdentity = FileIdentity();
        return Preferences();
    }
    if (bThere && (eState == State::kRead || eState == State::kDamaged) && FileIdentity(oStatus) == oIdentity)
        return std::nullopt;
    eState = State::kFailed;
    Descriptor const oFile(open(szPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    // Of the file that was opened: the one that was looked at may have been replaced since.
    if (!oFile.IsOpen() || fstat(oFile.Get(), &oStatus) != 0 || !S_ISREG(oStatus.st_mode))
        return Preferences();
    oIdentity = FileIdentity(oStatus);
    auto const szBytes = ReadAll(oFile.Get());
    if (!szBytes)
        return Preferences();
    auto lValues = FromBytes(*szBytes);
    eState = lValues ? State::kRead : State::kDamaged;
    return lValues ? std::move(lValues) : Preferences();
}

int PreferenceFile::OpenFolder() const noexcept {
    std::string const szFolder = szPath.substr(0, szPath.rfind('/'));
    return MakeFolders(szFolder, bShared ? 0755 : 0700) ? open(szFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)
                                                        : -1;
}

PreferenceFile::WriteLock::WriteLock(PreferenceFile const& oFile) noexcept : oFolder(oFile.OpenFolder()) {
    int nResult = -1;
    do
        nResult = flock(oFolder.Get(), LOCK_EX);
    while (nResult != 0 && errno == EINTR);
    bHeld = nResult == 0;
}

PreferenceFile::WriteLock::~WriteLock() {
    if (bHeld)
        flock(oFolder.Get(), LOCK_UN); // a child forked meanwhile has the descriptor too, and would keep the lock
}

bool PreferenceFile::SetAside() const noexcept {
    std::string const szAside = szPath + ".unreadable";
    for (int n = 1;; ++n) {
        std::string const szFree = n == 1 ? szAside : szAside + "." + std::to_string(n);
        if (link(szPath.c_str(), szFree.c_str()) == 0) // unlike a rename, it spares what was set aside before
            return true;
        if (errno != EEXIST)
            return false;
    }
}

bool PreferenceFile::WriteNew(std::string const& szNew, std::string_view szBytes,
                              FileIdentity& oWritten) const noexcept {
    mode_t const nMode = bShared ? 0644 : 0600;
    unlink(szNew.c_str()); // one that was left behind may be another user's, or have another name
    Descriptor const oFile(open(szNew.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, nMode));
    timespec const tChanged[2] = {{0, UTIME_NOW}, NowAfter(oIdentity.tChanged)};
    struct stat oStatus;
    if (!oFile.IsOpen() || fchmod(oFile.Get(), nMode) != 0 || !WriteAll(oFile.Get(), szBytes) ||
        futimens(oFile.Get(), tChanged) != 0 || fsync(oFile.Get()) != 0 || fstat(oFile.Get(), &oStatus) != 0)
        return false;
    oWritten = FileIdentity(oStatus);
    return true;
}

bool PreferenceFile::Replace(Preferences const& lValues, WriteLock const& oLock) noexcept {
    auto const szBytes = ToBytes(lValues);
    std::string const szNew = szPath + ".new"; // under the lock nobody else writes it
    FileIdentity oWritten;
    if (!szBytes || szBytes->size() > kLargestPreferenceFile)
        return false;
    if (!WriteNew(szNew, *szBytes, oWritten) || (eState == State::kDamaged && !SetAside()) ||
        std::rename(szNew.c_str(), szPath.c_str()) != 0) {
        unlink(szNew.c_str());
        return false;
    }
    oIdentity = oWritten;
    eState = State::kRead;
    // The new name, too, outlives a loss of power, where folders can be flushed.
    return fsync(oLock.Folder()) == 0 || errno == EINVAL;
}

} // namespace cf
