#include <CoreFoundation/CFPreferences.h>

#include "platform/corefoundation/preference_file.h"
#include "platform/corefoundation/string_object.h"
#include "platform/foundation/home.h"
#include "platform/foundation/text.h"
#include "platform/host/preferences.h"
#include "platform/testing/preferences.h"

#include <CoreFoundation/CFPropertyList.h>

#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <mutex>
#include <vector>

CFStringRef const kCFPreferencesAnyApplication = CFSTR("kCFPreferencesAnyApplication");
CFStringRef const kCFPreferencesCurrentApplication = CFSTR("kCFPreferencesCurrentApplication");
CFStringRef const kCFPreferencesAnyHost = CFSTR("kCFPreferencesAnyHost");
CFStringRef const kCFPreferencesCurrentHost = CFSTR("kCFPreferencesCurrentHost");
CFStringRef const kCFPreferencesAnyUser = CFSTR("kCFPreferencesAnyUser");
CFStringRef const kCFPreferencesCurrentUser = CFSTR("kCFPreferencesCurrentUser");

namespace {

using cf::PreferenceFile;
using cf::Preferences;

// What one file holds, and over it what this process has changed since it last synchronised. Any thread.
class Domain {
public:
    Domain(std::string const& szPath, bool bForEverybody) : oFile(szPath, bForEverybody) {}

    CFPropertyListRef Copy(CFStringRef key) {
        std::lock_guard const oLock(mtxDomain);
        Refresh();
        auto const it = lValues.find(key->sText);
        return it == lValues.end() ? nullptr : CFRetain(it->second.value.Get());
    }

    CFArrayRef CopyKeys() {
        std::lock_guard const oLock(mtxDomain);
        Refresh();
        if (lValues.empty())
            return nullptr;
        std::vector<void const*> lKeys;
        lKeys.reserve(lValues.size());
        for (auto const& [units, oEntry] : lValues)
            lKeys.push_back(oEntry.key.Get());
        return CFArrayCreate(nullptr, lKeys.data(), static_cast<CFIndex>(lKeys.size()), &kCFTypeArrayCallBacks);
    }

    void Set(CFStringRef key, CFPropertyListRef value) {
        std::lock_guard const oLock(mtxDomain);
        Refresh();
        cf::Store(lChanges, key, value);
        Apply(key, value);
    }

    bool Synchronize() {
        std::lock_guard const oLock(mtxDomain);
        Refresh();
        if (!lChanges.empty() && !WriteChanges())
            return false;
        return oFile.Now() != PreferenceFile::State::kFailed;
    }

    std::string DamagedFile() {
        std::lock_guard const oLock(mtxDomain);
        Refresh();
        return oFile.Now() == PreferenceFile::State::kDamaged ? oFile.Path() : "";
    }

private:
    bool WriteChanges() {
        PreferenceFile::WriteLock const oLock(oFile);
        if (!oLock.IsHeld())
            return false;
        Refresh();
        if (oFile.Now() == PreferenceFile::State::kFailed || (bDiffers && !oFile.Replace(lValues, oLock)))
            return false;
        lChanges.clear();
        bDiffers = false;
        return true;
    }

    void Refresh() {
        auto lRead = oFile.ReadIfChanged();
        if (!lRead)
            return;
        lValues = std::move(*lRead);
        bDiffers = false;
        for (auto const& [units, oChange] : lChanges)
            Apply(oChange.key.Get(), oChange.value.Get());
    }

    void Apply(CFStringRef key, CFPropertyListRef value) {
        auto const it = lValues.find(key->sText);
        if (it == lValues.end() ? !value : value && CFEqual(it->second.value.Get(), value))
            return;
        bDiffers = true;
        if (value)
            cf::Store(lValues, key, value);
        else
            lValues.erase(it);
    }

    std::mutex mtxDomain; // guards all of it
    PreferenceFile oFile;
    Preferences lValues;   // the file's, changed
    Preferences lChanges;  // since it was last synchronised
    bool bDiffers = false; // whether the changes change anything
};

// Never destroyed: other libraries may set preferences while they are unloaded.
struct Domains {
    std::mutex mtxDomains; // guards all of it
    std::map<std::string, std::unique_ptr<Domain>> lByPath;
    std::string szAnyUserFolder; // a test's, or empty
};

Domains& AllDomains() {
    static Domains* const pDomains = new Domains;
    return *pDomains;
}

// What tells this machine from others that use the same home. Its name may change with every network that it joins.
std::string HostName() {
    std::string szId;
    if (std::ifstream("/etc/machine-id") >> szId && szId.size() == 32 &&
        szId.find_first_not_of("0123456789abcdef") == std::string::npos)
        return szId;
    char szName[256] = "";
    gethostname(szName, sizeof szName - 1);
    szId = szName;
    return szId.empty() || szId.find('/') != std::string::npos ? "localhost" : szId;
}

// The file's name without what follows the host; empty when there can't be one.
std::string BaseName(CFStringRef applicationID) {
    constexpr size_t kMostBytes = 200;
    if (CFEqual(applicationID, kCFPreferencesAnyApplication))
        return ".GlobalPreferences";
    if (CFEqual(applicationID, kCFPreferencesCurrentApplication))
        return program_invocation_short_name;
    std::string const szName = TextOf(applicationID);
    return szName.size() > kMostBytes || szName.find('/') != std::string::npos || szName.find('\0') != std::string::npos
               ? ""
               : szName;
}

Domain* Find(CFStringRef applicationID, CFStringRef userName, CFStringRef hostName) {
    bool const bAnyUser = CFEqual(userName, kCFPreferencesAnyUser);
    bool const bThisHost = CFEqual(hostName, kCFPreferencesCurrentHost);
    std::string const szName = BaseName(applicationID);
    if (szName.empty() || !(bAnyUser || CFEqual(userName, kCFPreferencesCurrentUser)) ||
        !(bThisHost || CFEqual(hostName, kCFPreferencesAnyHost)))
        return nullptr;
    static std::string const& szThisHost = *new std::string(HostName()); // never destroyed, as the domains

    Domains& oAll = AllDomains();
    std::lock_guard const oLock(oAll.mtxDomains);
    std::string szPath = !bAnyUser                      ? HomeFolder() + "/Library/Preferences/"
                         : oAll.szAnyUserFolder.empty() ? "/Library/Preferences/"
                                                        : oAll.szAnyUserFolder + "/";
    szPath += bThisHost ? "ByHost/" + szName + "." + szThisHost : szName;
    szPath += ".plist";
    auto& pDomain = oAll.lByPath[szPath];
    if (!pDomain)
        pDomain = std::make_unique<Domain>(szPath, bAnyUser);
    return pDomain.get();
}

} // namespace

CFPropertyListRef CFPreferencesCopyValue(CFStringRef key, CFStringRef applicationID, CFStringRef userName,
                                         CFStringRef hostName) {
    Domain* const pDomain = Find(applicationID, userName, hostName);
    return pDomain ? pDomain->Copy(key) : nullptr;
}

CFArrayRef CFPreferencesCopyKeyList(CFStringRef applicationID, CFStringRef userName, CFStringRef hostName) {
    Domain* const pDomain = Find(applicationID, userName, hostName);
    return pDomain ? pDomain->CopyKeys() : nullptr;
}

void CFPreferencesSetValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID, CFStringRef userName,
                           CFStringRef hostName) {
    Domain* const pDomain = Find(applicationID, userName, hostName);
    // The copy is null for what no list can hold.
    cf::Held<CFPropertyListRef> const copy(
        value ? CFPropertyListCreateDeepCopy(nullptr, value, kCFPropertyListImmutable) : nullptr);
    if (pDomain && !copy == !value && cf::CanBeKept(key, copy.Get()))
        pDomain->Set(key, copy.Get());
}

Boolean CFPreferencesSynchronize(CFStringRef applicationID, CFStringRef userName, CFStringRef hostName) {
    Domain* const pDomain = Find(applicationID, userName, hostName);
    return pDomain && pDomain->Synchronize();
}

std::string DamagedPreferenceFile(CFStringRef applicationID, CFStringRef userName, CFStringRef hostName) {
    Domain* const pDomain = Find(applicationID, userName, hostName);
    return pDomain ? pDomain->DamagedFile() : "";
}

void PlatformForgetPreferences() {
    Domains& oAll = AllDomains();
    std::lock_guard const oLock(oAll.mtxDomains);
    oAll.lByPath.clear();
}

void PlatformKeepAnyUserPreferencesIn(std::string const& szFolder) {
    Domains& oAll = AllDomains();
    std::lock_guard const oLock(oAll.mtxDomains);
    oAll.szAnyUserFolder = szFolder;
}
