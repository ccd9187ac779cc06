// The driver as its host sees it: through the reference that the factory gave, with a fake host behind it.
#pragma once

#include <CoreAudio/AudioServerPlugIn.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <initializer_list>
#include <mutex>
#include <string>
#include <vector>

// Raw bytes of values, as the host finds them in its buffer.
using Bytes = std::string;
template <class T>
Bytes BytesOf(std::initializer_list<T> lValues) {
    return {reinterpret_cast<char const*>(lValues.begin()), lValues.size() * sizeof(T)};
}
// clang-format off
inline Bytes U(std::initializer_list<UInt32> lValues) { return BytesOf(lValues); }
inline Bytes F(Float32 nValue) { return BytesOf({nValue}); }
inline Bytes D(std::initializer_list<Float64> lValues) { return BytesOf(lValues); }
inline Bytes Ref(CFTypeRef pObject) { return BytesOf({pObject}); }
// clang-format on

constexpr char kGuard = '\xA5'; // what every buffer holds before a call

std::string CodeText(UInt32 nCode);
std::string TakeText(Bytes const& lReference); // of the string that the driver gave; releases it
inline AudioObjectPropertyAddress At(UInt32 nSelector, UInt32 nScope = 'glob', UInt32 nElement = 0) {
    return {nSelector, nScope, nElement};
}

// Remembers what the driver tells it, and keeps its one stored item. Any thread.
class FakeHost : public AudioServerPlugInHostInterface {
public:
    // "2 bxon bdv#": the object and the selectors reported; "change 48000": a configuration change asked for;
    // "store 1": the box's state written.
    using Events = std::vector<std::string>;

    FakeHost();
    ~FakeHost();
    AudioServerPlugInHostRef Ref() const { return this; }

    // What the driver told since the last time, sorted, once everything that it queued to run at once has run, so many
    // were told, and as many reports of the plug-in's devices as there were writes; after ten seconds what there is.
    Events TakeEvents(size_t nCount = 0);
    void Store(CFTypeRef pValue); // takes over the reference
    CFTypeRef Stored() const { return pStored; }

private:
    void Add(std::string szEvent);

    std::mutex mtx;
    std::condition_variable oAdded;
    Events lEvents;
    CFTypeRef pStored = nullptr;
};

struct Answer {
    OSStatus nStatus;
    Bytes lBytes; // empty unless the status is 0
};

// Starts every test from the state of a freshly loaded driver that a host has initialised, without a helper link.
class Driver : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    bool Has(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress) {
        return (*pDriver)->HasProperty(pDriver, nObject, 0, &oAddress);
    }
    // The bytes are the size's own. Fails the test when a size is stored beside an error.
    Answer Size(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress, Bytes const& lQualifier = {});
    // Fails the test when the driver writes past the value, past nBufferSize bytes, or anything at all on an error. The
    // buffer begins with lBuffer; the rest are guard bytes.
    Answer Get(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress, UInt32 nBufferSize,
               Bytes const& lQualifier = {}, Bytes const& lBuffer = {});
    // At an address where only the selector can be right. An empty qualifier is a null one.
    OSStatus Set(AudioObjectID nObject, UInt32 nSelector, Bytes const& lData, Bytes const& lQualifier = {});

    FakeHost oHost;
    AudioServerPlugInDriverRef pDriver = nullptr;
};
