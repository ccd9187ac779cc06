// What the compiler of the OS's object language does by itself: variables that hold a reference, and errors that are
// looked at. Not a header of the OS; on the target its two names are what the language has.
#pragma once

#include <Foundation/NSObject.h>

#include <utility>

typedef unsigned long NSUInteger;

// What went wrong: an errno, 0 for nothing. Differs from the OS: a value, not an object.
struct NSError {
    int code = 0;
};

// A strong variable: holds one reference. Made from a pointer it takes over the reference that came with it; Retain
// adds one. One thread at a time.
template <class T>
class NSStrong {
public:
    NSStrong() = default;
    explicit NSStrong(T* pToTake) : pObject(pToTake) {}
    static NSStrong Retain(T* pToShare) {
        if (pToShare)
            pToShare->retain();
        return NSStrong(pToShare);
    }
    NSStrong(NSStrong const& oOther) : NSStrong(Retain(oOther.pObject)) {}
    NSStrong(NSStrong&& oOther) noexcept : pObject(std::exchange(oOther.pObject, nullptr)) {}
    NSStrong& operator=(NSStrong oOther) noexcept {
        std::swap(pObject, oOther.pObject);
        return *this;
    }
    ~NSStrong() {
        if (pObject)
            pObject->release();
    }

    T* get() const { return pObject; }
    T* operator->() const { return pObject; }
    explicit operator bool() const { return pObject; }

private:
    T* pObject = nullptr;
};
