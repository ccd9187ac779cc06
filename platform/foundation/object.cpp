#include "platform/posix/thread_end.h"
#include "platform/testing/foundation.h"

#include <Foundation/NSAutoreleasePool.h>
#include <Foundation/NSData.h>
#include <Foundation/NSObject.h>

#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace {

std::atomic<long> nLiveObjects{0};

// The references that a thread owes, all its pools' in one list: each pool knows where its own begin.
struct Owed {
    std::vector<NSObject*> lObjects;

    void PayDownTo(std::size_t nFirst) {
        // What a dealloc autoreleases comes behind, and is paid too.
        for (std::size_t n = nFirst; n < lObjects.size(); ++n)
            lObjects[n]->release();
        lObjects.resize(nFirst);
    }
};

constinit thread_local Owed* pOwed = nullptr;

// Made anew for what another of the thread's ends autoreleases after this one, and paid again then.
Owed& ThisThreads() {
    static platform::ThreadEnd const oEnd([](void*) {
        pOwed->PayDownTo(0);
        delete std::exchange(pOwed, nullptr);
    });
    if (!pOwed) {
        pOwed = new Owed;
        oEnd.Arrange(pOwed);
    }
    return *pOwed;
}

} // namespace

long PlatformCountLiveNSObjects() {
    return nLiveObjects;
}

NSObject::NSObject() noexcept {
    nLiveObjects.fetch_add(1, std::memory_order_relaxed);
}

NSObject::~NSObject() {
    nLiveObjects.fetch_sub(1, std::memory_order_relaxed);
}

NSObject* NSObject::retain() noexcept {
    nReferences.fetch_add(1, std::memory_order_relaxed);
    return this;
}

void NSObject::release() noexcept {
    if (nReferences.fetch_sub(1, std::memory_order_acq_rel) == 1)
        dealloc();
}

NSObject* NSObject::autorelease() {
    ThisThreads().lObjects.push_back(this);
    return this;
}

unsigned long NSObject::retainCount() const noexcept {
    return nReferences.load(std::memory_order_relaxed);
}

bool NSObject::respondsToSelector(char const*) const noexcept {
    return false;
}

void NSObject::dealloc() {
    delete this;
}

NSAutoreleasePool::NSAutoreleasePool() noexcept : nFirst(ThisThreads().lObjects.size()) {}

NSAutoreleasePool::~NSAutoreleasePool() {
    ThisThreads().PayDownTo(nFirst);
}

NSData* NSData::dataWithBytes(void const* bytes, unsigned long length) {
    std::unique_ptr<unsigned char[]> pCopy(new (std::nothrow) unsigned char[length]);
    if (!pCopy)
        return nullptr;
    std::memcpy(pCopy.get(), bytes, length);
    auto* const pData = new NSData(std::move(pCopy), length);
    pData->autorelease();
    return pData;
}
