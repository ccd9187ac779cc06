#include <Foundation/NSUserDefaults.h>

#include "platform/filesystem/descriptor.h"
#include "platform/foundation/home.h"
#include "platform/foundation/text.h"
#include "platform/testing/sandbox.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <fcntl.h>

#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace {

struct Release {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};
using Object = std::shared_ptr<void const>;

Object Take(CFTypeRef object) {
    return object ? Object(object, Release()) : Object();
}

using Values = std::map<std::string, Object>;

std::string PreferencesFolder() {
    return HomeFolder() + "/Library/Preferences";
}
std::string PreferencesFile() {
    return PreferencesFolder() + "/" + program_invocation_short_name + ".plist";
}

bool MakeFolders(std::string const& szFolder) {
    struct stat oStatus;
    if (stat(szFolder.c_str(), &oStatus) == 0)
        return S_ISDIR(oStatus.st_mode);
    size_t const nSlash = szFolder.rfind('/');
    if (nSlash != 0 && nSlash != std::string::npos && !MakeFolders(szFolder.substr(0, nSlash)))
        return false;
    return mkdir(szFolder.c_str(), 0700) == 0 || errno == EEXIST;
}

std::optional<std::string> ReadFile(std::string const& szPath) {
    Descriptor const oFile(open(szPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!oFile.IsOpen())
        return std::nullopt;
    std::string szBytes;
    char sz[16384];
    for (ssize_t nRead; (nRead = read(oFile.Get(), sz, sizeof sz)) != 0;) {
        if (nRead < 0 && errno == EINTR)
            continue;
        if (nRead < 0)
            return std::nullopt;
        szBytes.append(sz, static_cast<size_t>(nRead));
    }
    return szBytes;
}

bool WriteFile(std::string const& szPath, std::string_view szBytes) {
    Descriptor const oFile(open(szPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    while (oFile.IsOpen() && !szBytes.empty()) {
        ssize_t const nWritten = write(oFile.Get(), szBytes.data(), szBytes.size());
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten <= 0)
            return false;
        szBytes.remove_prefix(static_cast<size_t>(nWritten));
    }
    return oFile.IsOpen() && fsync(oFile.Get()) == 0;
}

void CollectValue(void const* key, void const* value, void* pValues) {
    if (CFGetTypeID(key) == CFStringGetTypeID())
        (*static_cast<Values*>(pValues))[TextOf(static_cast<CFStringRef>(key))] = Take(CFRetain(value));
}

// Nothing for a file that is there and can't be understood.
std::optional<Values> ReadValues(std::string const& szPath) {
    struct stat oStatus;
    if (stat(szPath.c_str(), &oStatus) != 0)
        return Values();
    auto const szBytes = ReadFile(szPath);
    if (!szBytes)
        return std::nullopt;
    Object const pData = Take(
        CFDataCreate(nullptr, reinterpret_cast<UInt8 const*>(szBytes->data()), static_cast<CFIndex>(szBytes->size())));
    Object const pList = Take(CFPropertyListCreateWithData(nullptr, static_cast<CFDataRef>(pData.get()),
                                                           kCFPropertyListImmutable, nullptr, nullptr));
    if (!pList || CFGetTypeID(pList.get()) != CFDictionaryGetTypeID())
        return std::nullopt;
    Values oValues;
    CFDictionaryApplyFunction(static_cast<CFDictionaryRef>(pList.get()), CollectValue, &oValues);
    return oValues;
}

bool WriteValues(std::string const& szPath, Values const& oValues) {
    Object const pList =
        Take(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    auto const list = static_cast<CFMutableDictionaryRef>(const_cast<void*>(pList.get()));
    for (auto const& [szKey, pValue] : oValues)
        CFDictionarySetValue(list, Take(StringOf(szKey)).get(), pValue.get());
    Object const pData = Take(CFPropertyListCreateData(nullptr, list, kCFPropertyListXMLFormat_v1_0, 0, nullptr));
    auto const data = static_cast<CFDataRef>(pData.get());
    std::string const szNew = szPath + ".new"; // under the lock nobody else writes it
    return data &&
           WriteFile(szNew, {reinterpret_cast<char const*>(CFDataGetBytePtr(data)),
                             static_cast<size_t>(CFDataGetLength(data))}) &&
           std::rename(szNew.c_str(), szPath.c_str()) == 0;
}

// What the file holds, as far as this process has seen it, and what this process has changed since.
class Store {
public:
    Object Get(std::string const& szKey) {
        std::lock_guard const oLock(mtxStore);
        Load();
        auto const it = oValues.find(szKey);
        return it == oValues.end() ? Object() : it->second;
    }

    // A null value removes.
    void Set(std::string const& szKey, Object pValue) {
        std::lock_guard const oLock(mtxStore);
        Load();
        Apply(oValues, szKey, pValue);
        oChanges[szKey] = pValue;
    }

    bool Synchronize() {
        std::lock_guard const oLock(mtxStore);
        std::string const szFile = PreferencesFile();
        if (!MakeFolders(PreferencesFolder()))
            return false;
        Descriptor const oFolder(open(PreferencesFolder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!oFolder.IsOpen() || !LockWhole(oFolder.Get()))
            return false;
        auto oNow = ReadValues(szFile);
        if (!oNow && !oChanges.empty())
            std::rename(szFile.c_str(), (szFile + ".unreadable").c_str());
        Values oMerged = oNow.value_or(Values());
        for (auto const& [szKey, pValue] : oChanges)
            Apply(oMerged, szKey, pValue);
        if (!oChanges.empty() && !WriteValues(szFile, oMerged))
            return false;
        oValues = std::move(oMerged);
        oChanges.clear();
        bLoaded = true;
        return true;
    }

    void Forget() {
        std::lock_guard const oLock(mtxStore);
        oValues.clear();
        oChanges.clear();
        bLoaded = false;
    }

private:
    static void Apply(Values& oTo, std::string const& szKey, Object const& pValue) {
        if (pValue)
            oTo[szKey] = pValue;
        else
            oTo.erase(szKey);
    }
    static bool LockWhole(int hFolder) {
        int nResult;
        do
            nResult = flock(hFolder, LOCK_EX);
        while (nResult != 0 && errno == EINTR);
        return nResult == 0;
    }
    void Load() {
        if (!bLoaded)
            oValues = ReadValues(PreferencesFile()).value_or(Values());
        bLoaded = true;
    }

    std::mutex mtxStore; // guards all of it
    bool bLoaded = false;
    Values oValues, oChanges;
};

Store& TheStore() {
    static Store* const pStore = new Store; // never destroyed
    return *pStore;
}

} // namespace

NSUserDefaults* NSUserDefaults::standardUserDefaults() {
    static NSUserDefaults* const pDefaults = new NSUserDefaults; // never destroyed
    return pDefaults;
}

CFTypeRef NSUserDefaults::objectForKey(CFStringRef key) {
    Object const pValue = TheStore().Get(TextOf(key));
    return pValue ? CFRetain(pValue.get()) : nullptr;
}

void NSUserDefaults::setObject(CFTypeRef object, CFStringRef key) {
    if (Object const pCopy = Take(CFPropertyListCreateDeepCopy(nullptr, object, kCFPropertyListImmutable)))
        TheStore().Set(TextOf(key), pCopy);
}

void NSUserDefaults::removeObjectForKey(CFStringRef key) {
    TheStore().Set(TextOf(key), nullptr);
}

bool NSUserDefaults::synchronize() {
    return TheStore().Synchronize();
}

void PlatformForgetUserDefaults() {
    TheStore().Forget();
}
