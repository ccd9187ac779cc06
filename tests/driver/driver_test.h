// The driver as its host sees it: through the reference that the factory gave, with a fake host behind it.
#pragma once

#include "tests/driver/fake_host.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

// Raw bytes of values, as the host finds them in its buffer.
using Bytes = std::string;
template <class T>
Bytes BytesOf(std::initializer_list<T> lValues) {
    return {reinterpret_cast<char const*>(lValues.begin()), lValues.size() * sizeof(T)};
}
inline Bytes U(std::initializer_list<UInt32> lValues) {
    return BytesOf(lValues);
}
inline Bytes F(Float32 nValue) {
    return BytesOf({nValue});
}
inline Bytes D(std::initializer_list<Float64> lValues) {
    return BytesOf(lValues);
}
inline Bytes Ref(CFTypeRef pObject) {
    return BytesOf({pObject});
}

constexpr char kGuard = '\xA5'; // what every buffer holds before a call

struct Answer {
    OSStatus nStatus;
    Bytes lBytes; // empty unless the status is 0
};

// Starts every test from the state of a freshly loaded driver that a host has initialised, without a helper link.
class Driver : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    bool Has(AudioObjectID nObject, AudioObjectPropertyAddress const& oAddress);
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

inline AudioObjectPropertyAddress At(UInt32 nSelector, UInt32 nScope = 'glob', UInt32 nElement = 0) {
    return {nSelector, nScope, nElement};
}

// The text of the string that the driver gave; releases it.
std::string TakeText(Bytes const& lReference);
