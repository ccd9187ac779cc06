// The owner of one reference to a CoreFoundation object.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

// Releases its object when it is destroyed or given another. `Ref` is the object's type, CFStringRef for one. Holds
// null as well. One thread at a time.
template <class Ref>
class LCFOwner {
public:
    constexpr LCFOwner() noexcept = default;
    // Takes over the reference that a function with Create or Copy in its name gave.
    explicit LCFOwner(Ref pToTake) noexcept : pObject(pToTake) {}
    LCFOwner(LCFOwner&& oOther) noexcept : pObject(std::exchange(oOther.pObject, nullptr)) {}
    LCFOwner& operator=(LCFOwner oOther) noexcept {
        std::swap(pObject, oOther.pObject);
        return *this;
    }
    ~LCFOwner() {
        if (pObject)
            CFRelease(pObject);
    }

    Ref Get() const noexcept { return pObject; }
    explicit operator bool() const noexcept { return pObject; }

private:
    Ref pObject = nullptr;
};
