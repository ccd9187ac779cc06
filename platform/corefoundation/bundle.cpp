#include "platform/corefoundation/containers.h"
#include "platform/corefoundation/string_object.h"
#include "platform/corefoundation/unicode.h"
#include "platform/corefoundation/url_object.h"

#include <CoreFoundation/CFBundle.h>
#include <CoreFoundation/CFPropertyList.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <mutex>
#include <sys/stat.h>
#include <vector>

using cf::Held;

struct __CFBundle final : cf::Object {
    __CFBundle(std::string path, Held<CFDictionaryRef> theInfo, std::string program = "") noexcept
        : szPath(std::move(path)), szProgram(std::move(program)), info(std::move(theInfo)) {}

    CFTypeID TypeOf() const noexcept override { return cf::kTypeBundle; }
    std::string Description() const override { return Head() + "{path = " + szPath + "}"; }

    bool Load() noexcept;
    void Unload() noexcept;
    bool IsLoaded() noexcept;
    void* Symbol(CFStringRef name) noexcept;

    std::string const szPath;    // absolute, links resolved, no "/" at the end
    std::string const szProgram; // of the main bundle, the program that runs; else empty
    Held<CFDictionaryRef> const info;

private:
    void Destroy() const noexcept override;

    // Recursive: loading runs the executable's initialisers, which may ask for their own bundle.
    std::recursive_mutex mtxLoad;
    void* pLoaded = nullptr; // dlopen's, under mtxLoad
};

namespace {

// The living bundles in the order of their creation, held weakly. Leaked: bundles may be released at exit.
struct Registry {
    std::mutex mtx;
    std::vector<__CFBundle*> lBundles;

    static Registry& Shared() noexcept {
        static auto& oRegistry = *new Registry;
        return oRegistry;
    }
};

bool Exists(std::string const& szPath, mode_t kind = 0) noexcept {
    struct stat status;
    return stat(szPath.c_str(), &status) == 0 && (kind == 0 || (status.st_mode & S_IFMT) == kind);
}

std::string RealPath(std::string const& szPath) {
    char szReal[PATH_MAX];
    return realpath(szPath.c_str(), szReal) ? szReal : "";
}

Held<CFDictionaryRef> ReadInfo(std::string const& szBundlePath) noexcept {
    Held<CFURLRef> const url(cf::MakeFileUrl(szBundlePath + "/Contents/Info.plist", false));
    CFDataRef bytes = nullptr;
    CFURLCreateDataAndPropertiesFromResource(nullptr, url.Get(), &bytes, nullptr, nullptr, nullptr);
    Held<CFDataRef> const data(bytes);
    Held<CFPropertyListRef> list(
        data ? CFPropertyListCreateWithData(nullptr, data.Get(), kCFPropertyListImmutable, nullptr, nullptr) : nullptr);
    if (cf::IsOfType(list.Get(), cf::kTypeDictionary))
        return Held<CFDictionaryRef>(static_cast<CFDictionaryRef>(list.Yield()));
    return Held<CFDictionaryRef>(CFDictionaryCreate(nullptr, nullptr, nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                    &kCFTypeDictionaryValueCallBacks));
}

CFStringRef InfoString(CFBundleRef bundle, CFStringRef key) noexcept {
    return cf::As<CFStringRef>(CFDictionaryGetValue(bundle->info.Get(), key), cf::kTypeString);
}

// "" when there is none. A name with a "/" would lead out of the bundle's own folder.
std::string ExecutablePath(CFBundleRef bundle) {
    if (!bundle->szProgram.empty())
        return bundle->szProgram;
    CFStringRef const name = InfoString(bundle, kCFBundleExecutableKey);
    std::string const szName = name ? cf::Utf8Lossy(name->sText) : "";
    if (szName.empty() || szName.find('/') != szName.npos)
        return "";
    std::string const szPath = bundle->szPath + "/Contents/MacOS/" + szName;
    return Exists(szPath, S_IFREG) ? szPath : "";
}

CFBundleRef MakeMainBundle() {
    std::string const szProgram = RealPath("/proc/self/exe");
    if (szProgram.empty())
        return nullptr;
    std::string szFolder = szProgram.substr(0, std::max<size_t>(szProgram.rfind('/'), 1));
    constexpr std::string_view kInside = "/Contents/MacOS";
    if (szFolder.ends_with(kInside))
        szFolder.resize(szFolder.size() - kInside.size());
    return new __CFBundle(szFolder, ReadInfo(szFolder), szProgram);
}

bool IsPlainName(std::string const& szName) noexcept {
    return !szName.empty() && szName.find('\0') == szName.npos && szName.front() != '/' &&
           ("/" + szName + "/").find("/../") == std::string::npos;
}

} // namespace

bool __CFBundle::Load() noexcept {
    std::lock_guard const lock(mtxLoad);
    if (pLoaded)
        return true;
    std::string const szExecutable = ExecutablePath(this);
    if (szExecutable.empty()) {
        std::fprintf(stderr, "CoreFoundation: no executable in %s\n", szPath.c_str());
        return false;
    }
    pLoaded = dlopen(szExecutable.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!pLoaded)
        std::fprintf(stderr, "CoreFoundation: %s\n", dlerror());
    return pLoaded != nullptr;
}

void __CFBundle::Unload() noexcept {
    std::lock_guard const lock(mtxLoad);
    if (pLoaded)
        dlclose(std::exchange(pLoaded, nullptr));
}

bool __CFBundle::IsLoaded() noexcept {
    std::lock_guard const lock(mtxLoad);
    return pLoaded != nullptr;
}

void* __CFBundle::Symbol(CFStringRef name) noexcept {
    std::lock_guard const lock(mtxLoad);
    return name && Load() ? dlsym(pLoaded, cf::Utf8Lossy(name->sText).c_str()) : nullptr;
}

void __CFBundle::Destroy() const noexcept {
    {
        auto& oRegistry = Registry::Shared();
        std::lock_guard const lock(oRegistry.mtx);
        std::erase(oRegistry.lBundles, this);
    }
    delete this;
}

CFStringRef const kCFBundleIdentifierKey = CFSTR("CFBundleIdentifier");
CFStringRef const kCFBundleExecutableKey = CFSTR("CFBundleExecutable");
CFStringRef const kCFBundleNameKey = CFSTR("CFBundleName");
CFStringRef const kCFBundleVersionKey = CFSTR("CFBundleVersion");

CFTypeID CFBundleGetTypeID() {
    return cf::kTypeBundle;
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef bundleUrl) {
    auto const path = cf::FilePath(bundleUrl);
    std::string const szReal = path ? RealPath(*path) : "";
    if (szReal.empty() || !Exists(szReal, S_IFDIR))
        return nullptr;
    auto& oRegistry = Registry::Shared();
    auto const Living = [&]() -> CFBundleRef {
        for (auto* pBundle : oRegistry.lBundles)
            if (pBundle->szPath == szReal && pBundle->RetainUnlessDying())
                return pBundle;
        return nullptr;
    };
    {
        std::lock_guard const lock(oRegistry.mtx);
        if (CFBundleRef const bundle = Living())
            return bundle;
    }
    // The file is read without the lock; whoever was first meanwhile wins.
    Held<CFBundleRef> made(new __CFBundle(szReal, ReadInfo(szReal)));
    CFBundleRef winner = nullptr;
    {
        std::lock_guard const lock(oRegistry.mtx);
        winner = Living();
        if (!winner)
            oRegistry.lBundles.push_back(winner = made.Yield());
    }
    return winner;
}

CFBundleRef CFBundleGetMainBundle() {
    static CFBundleRef const bundle = MakeMainBundle();
    return bundle;
}

CFBundleRef CFBundleGetBundleWithIdentifier(CFStringRef identifier) {
    auto& oRegistry = Registry::Shared();
    std::lock_guard const lock(oRegistry.mtx);
    for (auto* pBundle : oRegistry.lBundles) {
        CFStringRef const own = CFBundleGetIdentifier(pBundle);
        if (identifier && own && pBundle->References() > 0 && CFEqual(own, identifier))
            return pBundle;
    }
    return nullptr;
}

CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle) {
    return bundle->info.Get();
}

CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key) {
    return CFDictionaryGetValue(bundle->info.Get(), key);
}

CFStringRef CFBundleGetIdentifier(CFBundleRef bundle) {
    return InfoString(bundle, kCFBundleIdentifierKey);
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle) {
    return cf::MakeFileUrl(bundle->szPath, true);
}

CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle) {
    std::string const szExecutable = ExecutablePath(bundle);
    return szExecutable.empty() ? nullptr : cf::MakeFileUrl(szExecutable, false);
}

CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle) {
    return cf::MakeFileUrl(bundle->szPath + "/Contents/Resources", true);
}

CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef resourceName, CFStringRef resourceType,
                                 CFStringRef subDirName) {
    std::string szName = resourceName ? cf::Utf8Lossy(resourceName->sText) : "";
    if (resourceType && !resourceType->sText.empty())
        szName += "." + cf::Utf8Lossy(resourceType->sText);
    if (subDirName && !subDirName->sText.empty())
        szName = cf::Utf8Lossy(subDirName->sText) + "/" + szName;
    if (!IsPlainName(szName))
        return nullptr;
    std::string const szPath = bundle->szPath + "/Contents/Resources/" + szName;
    return Exists(szPath) ? cf::MakeFileUrl(szPath, Exists(szPath, S_IFDIR)) : nullptr;
}

Boolean CFBundleLoadExecutable(CFBundleRef bundle) {
    return bundle->Load();
}

Boolean CFBundleLoadExecutableAndReturnError(CFBundleRef bundle, CFErrorRef* error) {
    if (error)
        *error = nullptr;
    return bundle->Load();
}

Boolean CFBundleIsExecutableLoaded(CFBundleRef bundle) {
    return bundle->IsLoaded();
}

void CFBundleUnloadExecutable(CFBundleRef bundle) {
    bundle->Unload();
}

void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef functionName) {
    return bundle->Symbol(functionName);
}

void* CFBundleGetDataPointerForName(CFBundleRef bundle, CFStringRef symbolName) {
    return bundle->Symbol(symbolName);
}
