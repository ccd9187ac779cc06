// What the CoreFoundation tests share: a fixture that proves that nothing leaked, and short ways to strings.
#pragma once

#include "platform/testing/objects.h"

#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>

#include <string>

struct CoreFoundation : testing::Test {
    ~CoreFoundation() override { EXPECT_EQ(nBefore, PlatformCountLiveObjects()) << "objects leaked"; }
    long const nBefore = PlatformCountLiveObjects();
};

// Releases what a Create or Copy function gave.
template <class Ref>
class Owned {
public:
    Owned(Ref toAdopt) : object(toAdopt) {} // not explicit: Owned<CFURLRef> const url = CFURLCreate...
    ~Owned() {
        if (object)
            CFRelease(object);
    }
    Owned(Owned const&) = delete;
    Owned& operator=(Owned const&) = delete;
    operator Ref() const { return object; }

private:
    Ref object;
};

using OwnedString = Owned<CFStringRef>;

inline CFStringRef MakeString(std::string const& utf8) {
    return CFStringCreateWithBytes(nullptr, reinterpret_cast<UInt8 const*>(utf8.data()),
                                   static_cast<CFIndex>(utf8.size()), kCFStringEncodingUTF8, false);
}

// UTF-8 of the text, "(null)" of none.
inline std::string Text(CFStringRef text) {
    if (!text)
        return "(null)";
    std::string out(static_cast<size_t>(CFStringGetLength(text)) * 3 + 1, '\0');
    if (!CFStringGetCString(text, out.data(), static_cast<CFIndex>(out.size()), kCFStringEncodingUTF8))
        return "(not UTF-8)";
    out.resize(out.find('\0'));
    return out;
}

inline std::string TextOf(OwnedString const& text) {
    return Text(text);
}

inline CFNumberRef MakeNumber(SInt64 n) {
    return CFNumberCreate(nullptr, kCFNumberSInt64Type, &n);
}
inline CFNumberRef MakeNumber(double d) {
    return CFNumberCreate(nullptr, kCFNumberDoubleType, &d);
}
