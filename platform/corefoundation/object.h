// What every CoreFoundation object is made of: a type, a count of references, and how it compares and reads.
#pragma once

#include <CoreFoundation/CFBase.h>

#include <atomic>
#include <string>
#include <utility>

namespace cf {

enum Type : CFTypeID {
    kTypeString = 1,
    kTypeBoolean,
    kTypeNumber,
    kTypeUuid,
    kTypeData,
    kTypeDate,
    kTypeArray,
    kTypeDictionary,
    kTypeUrl,
    kTypeBundle,
};

// Prints the words to standard error and aborts: the caller has broken a rule that the OS traps on.
[[noreturn]] void Halt(char const* szWhy) noexcept;

// The only base of every object, so that an object's address is its Object's. Leaves are final, trivially destructible
// when constants of them exist (no exit-time destructor may take a constant away), and freed by Destroy.
class Object {
public:
    struct Immortal {};

    Object(Object const&) = delete;
    Object& operator=(Object const&) = delete;

    // Any thread. Immortal objects are not counted, so that constants that every thread uses share no written line.
    void Retain() const noexcept {
        if (nReferences.load(std::memory_order_relaxed) != kImmortal)
            nReferences.fetch_add(1, std::memory_order_relaxed);
    }
    void Release() const noexcept;
    // For whoever keeps weak pointers under a lock: false when the last reference has gone and Destroy is on its way.
    bool RetainUnlessDying() const noexcept;
    CFIndex References() const noexcept { return nReferences.load(std::memory_order_relaxed); }

    virtual CFTypeID TypeOf() const noexcept = 0;
    // `other` is of the same type.
    virtual bool Equals(Object const& other) const noexcept { return this == &other; }
    virtual CFHashCode Hash() const noexcept { return reinterpret_cast<CFHashCode>(this) >> 4; }
    // UTF-8, for people.
    virtual std::string Description() const = 0;
    // What %@ prints.
    virtual std::u16string FormattingText() const;

    // Mortal objects that are alive, process-wide.
    static long CountLive() noexcept;

protected:
    Object() noexcept;
    constexpr explicit Object(Immortal) noexcept : nReferences(kImmortal) {}
    ~Object() = default;

    // "<CFType 0x1234>"
    std::string Head() const;

private:
    static constexpr CFIndex kImmortal = __LONG_MAX__;

    virtual void Destroy() const noexcept = 0;

    mutable std::atomic<CFIndex> nReferences{1};
};

inline Object const& Of(CFTypeRef object) noexcept {
    if (!object)
        Halt("a null object where one is needed");
    return *static_cast<Object const*>(object);
}

// The object as a T when it is one; null is none.
template <class Ref>
Ref As(CFTypeRef object, Type type) noexcept {
    return object && Of(object).TypeOf() == type ? static_cast<Ref>(object) : nullptr;
}

inline bool IsOfType(CFTypeRef object, Type type) noexcept {
    return object && Of(object).TypeOf() == type;
}

// Owns one reference.
template <class Ref>
class Held {
public:
    Held() noexcept = default;
    explicit Held(Ref toAdopt) noexcept : object(toAdopt) {}
    Held(Held&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    Held& operator=(Held&& other) noexcept {
        std::swap(object, other.object);
        return *this;
    }
    ~Held() {
        if (object)
            CFRelease(object);
    }
    static Held Retaining(Ref toRetain) noexcept {
        if (toRetain)
            CFRetain(toRetain);
        return Held(toRetain);
    }

    Ref Get() const noexcept { return object; }
    // The reference becomes the caller's.
    Ref Yield() noexcept { return std::exchange(object, nullptr); }
    explicit operator bool() const noexcept { return object != nullptr; }

private:
    Ref object = nullptr;
};

} // namespace cf
