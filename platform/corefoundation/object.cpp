#include "platform/corefoundation/object.h"

#include "platform/corefoundation/string_object.h"
#include "platform/corefoundation/unicode.h"
#include "platform/testing/objects.h"

#include <CoreFoundation/CFString.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

std::atomic<long> nLiveObjects{0};

constexpr char const* kTypeNames[] = {"CFType", "CFString", "CFBoolean",    "CFNumber", "CFUUID",  "CFData",
                                      "CFDate", "CFArray",  "CFDictionary", "CFURL",    "CFBundle"};

char const* NameOf(CFTypeID type) noexcept {
    return type < std::size(kTypeNames) ? kTypeNames[type] : kTypeNames[0];
}

} // namespace

namespace cf {

void Halt(char const* szWhy) noexcept {
    std::fprintf(stderr, "CoreFoundation: %s\n", szWhy);
    std::abort();
}

Object::Object() noexcept {
    nLiveObjects.fetch_add(1, std::memory_order_relaxed);
}

void Object::Release() const noexcept {
    if (nReferences.load(std::memory_order_relaxed) == kImmortal)
        return;
    CFIndex const nBefore = nReferences.fetch_sub(1, std::memory_order_release);
    if (nBefore < 1)
        Halt("an object released more often than retained");
    if (nBefore > 1)
        return;
    // What other threads did to the object before their own release must be seen by its destruction.
    [[maybe_unused]] CFIndex const nNone = nReferences.load(std::memory_order_acquire);
    nLiveObjects.fetch_sub(1, std::memory_order_relaxed);
    Destroy();
}

bool Object::RetainUnlessDying() const noexcept {
    CFIndex nNow = nReferences.load(std::memory_order_relaxed);
    while (nNow > 0 && nNow != kImmortal)
        if (nReferences.compare_exchange_weak(nNow, nNow + 1, std::memory_order_relaxed))
            return true;
    return nNow == kImmortal;
}

std::u16string Object::FormattingText() const {
    return Utf16FromUtf8Lossy(Description());
}

long Object::CountLive() noexcept {
    return nLiveObjects.load(std::memory_order_relaxed);
}

std::string Object::Head() const {
    char szHead[64];
    std::snprintf(szHead, sizeof szHead, "<%s %p>", NameOf(TypeOf()), static_cast<void const*>(this));
    return szHead;
}

} // namespace cf

long PlatformCountLiveObjects() {
    return cf::Object::CountLive();
}

CFAllocatorRef const kCFAllocatorDefault = nullptr;
// Only its address means something.
CFAllocatorRef const kCFAllocatorNull = reinterpret_cast<CFAllocatorRef>(&kCFAllocatorNull);

CFTypeRef CFRetain(CFTypeRef object) {
    cf::Of(object).Retain();
    return object;
}

void CFRelease(CFTypeRef object) {
    cf::Of(object).Release();
}

CFIndex CFGetRetainCount(CFTypeRef object) {
    return cf::Of(object).References();
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    return cf::Of(object).TypeOf();
}

Boolean CFEqual(CFTypeRef first, CFTypeRef second) {
    cf::Object const& oFirst = cf::Of(first);
    cf::Object const& oSecond = cf::Of(second);
    return first == second || (oFirst.TypeOf() == oSecond.TypeOf() && oFirst.Equals(oSecond));
}

CFHashCode CFHash(CFTypeRef object) {
    return cf::Of(object).Hash();
}

CFStringRef CFCopyDescription(CFTypeRef object) {
    return cf::MakeString(cf::Utf16FromUtf8Lossy(object ? cf::Of(object).Description() : "(null)"));
}

CFStringRef CFCopyTypeIDDescription(CFTypeID type) {
    return cf::MakeString(cf::Utf16FromUtf8Lossy(NameOf(type)));
}

void CFShow(CFTypeRef object) {
    std::string szText = "(null)";
    if (auto const text = cf::As<CFStringRef>(object, cf::kTypeString))
        szText = cf::Utf8Lossy(text->sText);
    else if (object)
        szText = cf::Of(object).Description();
    szText += '\n';
    // Not through stdio's buffer, so that texts of several threads and processes stay whole.
    [[maybe_unused]] ssize_t const nWritten = write(STDERR_FILENO, szText.data(), szText.size());
}
